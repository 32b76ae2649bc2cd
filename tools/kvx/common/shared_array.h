/// @file shared_array.h  Memory that a process shares with those that it forks.
#ifndef KVX_SHARED_ARRAY_H
#define KVX_SHARED_ARRAY_H

#include <sys/mman.h>

#include <cstddef>
#include <new>
#include <type_traits>

namespace kvx {

/// Objects that begin as zeros. Who may be under way at once uses std::atomic_ref, or holds a lock.
template <typename T>
class shared_array_t {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    /// @throws std::bad_alloc
    explicit shared_array_t(std::size_t size)
        : size_(size),
          memory_(mmap(nullptr, bytes(), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0))
    {
        if (memory_ == MAP_FAILED) throw std::bad_alloc();
    }
    ~shared_array_t() { munmap(memory_, bytes()); }
    shared_array_t(const shared_array_t&) = delete;
    shared_array_t& operator=(const shared_array_t&) = delete;

    std::size_t size() const { return size_; }
    T& operator[](std::size_t i) { return static_cast<T*>(memory_)[i]; }
    const T& operator[](std::size_t i) const { return static_cast<const T*>(memory_)[i]; }
    T* begin() { return static_cast<T*>(memory_); }
    T* end() { return begin() + size_; }

private:
    std::size_t bytes() const { return (size_ == 0 ? 1 : size_) * sizeof(T); }

    std::size_t size_;
    void* memory_;
};

}   // namespace kvx

#endif
