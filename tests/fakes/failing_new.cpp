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

static void* allocate(std::size_t size) noexcept
{
    if (g_left >= 0 && g_left-- == 0) {
        g_failed = true;
        return nullptr;
    }
    return std::malloc(size);
}

void* operator new(std::size_t size)
{
    void* block = allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return allocate(size);
}
void operator delete(void* block) noexcept
{
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept
{
    std::free(block);
}
