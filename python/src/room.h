/// @file room.h  Memory that grows without its contents being copied.
#ifndef RTK_PYTHON_ROOM_H
#define RTK_PYTHON_ROOM_H

#include <cstddef>
#include <utility>

namespace rtk_python {

/// Small room is the allocator's; large room is mapped by itself, in large pages where the system has them, and moves
/// to where there is more by its pages. What is not written yet takes no memory.
class room_t {
public:
    room_t() = default;
    room_t(room_t&& other) noexcept : at_(std::exchange(other.at_, nullptr)), size_(std::exchange(other.size_, 0)) {}
    room_t& operator=(room_t&& other) noexcept
    {
        std::swap(at_, other.at_);
        std::swap(size_, other.size_);
        return *this;
    }
    ~room_t();

    void* at() const { return at_; }
    std::size_t size() const { return size_; }   ///< bytes

    /// Room for at least so many bytes, those that are there included.
    /// @throws std::bad_alloc; what is there stays
    void grow(std::size_t bytes);

private:
    void map(std::size_t bytes);

    void* at_ = nullptr;
    std::size_t size_ = 0;
};

}   // namespace rtk_python

#endif
