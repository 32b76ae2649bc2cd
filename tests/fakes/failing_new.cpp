#include "failing_new.h"

#include <cstdlib>
#include <new>

static thread_local long g_left = -1;
static thread_local bool g_failed = false;

void fail_allocation(long after)
{
    g_left = after;
    g_failed = false;
}

bool allocation_failed()
{
    return g_failed;
}

void* operator new(std::size_t size)
{
    g_failed = g_failed || g_left == 0;
    if (g_left >= 0 && g_left-- == 0) throw std::bad_alloc();
    if (void* block = std::malloc(size)) return block;
    throw std::bad_alloc();
}
void operator delete(void* block) noexcept
{
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}
