#include "failing_new.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

// Every block has its size in front of it and a guard behind it, which a write beyond its end destroys.
static constexpr std::size_t kHead = 16;
static constexpr std::uint64_t kGuard = 0xB0B1B2B3B4B5B6B7;

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
    auto* const block = static_cast<char*>(std::malloc(kHead + size + sizeof kGuard));
    if (block == nullptr) throw std::bad_alloc();
    std::memcpy(block, &size, sizeof size);
    std::memcpy(block + kHead + size, &kGuard, sizeof kGuard);
    return block + kHead;
}

// Of these the sanitizers have their own, which ask no other.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](std::size_t size)
{
    return operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept
{
    return operator new(size, nothrow);
}

void operator delete(void* object) noexcept
{
    if (object == nullptr) return;
    char* const block = static_cast<char*>(object) - kHead;
    std::size_t size;
    std::memcpy(&size, block, sizeof size);
    if (std::memcmp(block + kHead + size, &kGuard, sizeof kGuard) != 0) std::abort();
    std::free(block);
}
void operator delete(void* object, std::size_t) noexcept
{
    operator delete(object);
}
void operator delete[](void* object) noexcept
{
    operator delete(object);
}
void operator delete[](void* object, std::size_t) noexcept
{
    operator delete(object);
}
