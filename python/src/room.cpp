#include "room.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace rtk_python {

namespace {

constexpr std::size_t kMapped = std::size_t{1} << 20;      // from this size on (bytes)
constexpr std::size_t kLargePage = std::size_t{1} << 21;   // of the processors that are meant
constexpr std::size_t kMostKept = std::size_t{1} << 28;    // bytes

// Mappings that nobody needs any more. Whoever reads one log after the other gets pages that are there already: to
// clear new ones would take a fifth of the time. The system takes them when it needs them.
class kept_t {
public:
    // @return its place and size; null when there is none like it
    std::pair<void*, std::size_t> take(std::size_t bytes)
    {
        const std::unique_lock<std::mutex> lock(mutex_, std::try_to_lock);   // a process that was forked may not get it
        if (!lock) return {};
        const auto fits = [bytes](const auto& room) { return room.second >= bytes && room.second / 2 <= bytes; };
        const auto found = std::find_if(rooms_.begin(), rooms_.end(), fits);
        if (found == rooms_.end()) return {};
        const auto room = *found;
        rooms_.erase(found);
        bytes_ -= room.second;
        return room;
    }

    void give(void* at, std::size_t size) noexcept
    {
        const std::unique_lock<std::mutex> lock(mutex_, std::try_to_lock);
        if (!lock || bytes_ + size > kMostKept || rooms_.size() == kMostRooms || ::madvise(at, size, MADV_FREE) != 0) {
            ::munmap(at, size);
            return;
        }
        rooms_.emplace_back(at, size);
        bytes_ += size;
    }

    kept_t() { rooms_.reserve(kMostRooms); }

private:
    static constexpr std::size_t kMostRooms = 64;

    std::mutex mutex_;
    std::vector<std::pair<void*, std::size_t>> rooms_;
    std::size_t bytes_ = 0;
};

kept_t& kept()
{
    static kept_t* const rooms = new kept_t;   // arrays may outlive everything else
    return *rooms;
}

}   // namespace

room_t::~room_t()
{
    if (size_ < kMapped) {
        std::free(at_);
    } else {
        kept().give(at_, size_);
    }
}

void room_t::grow(std::size_t bytes)
{
    if (bytes <= size_) return;
    if (bytes > PTRDIFF_MAX / 2) throw std::bad_alloc();
    const std::size_t room = std::max(bytes, 2 * size_);
    if (room >= kMapped) return map((room + kLargePage - 1) / kLargePage * kLargePage);
    void* const moved = std::realloc(at_, room);
    if (moved == nullptr) throw std::bad_alloc();
    at_ = moved;
    size_ = room;
}

// A room that is mapped already moves with its pages, and stays one mapping: older kernels move no more than one.
void room_t::map(std::size_t bytes)
{
    if (size_ >= kMapped) {
        void* const moved = ::mremap(at_, size_, bytes, MREMAP_MAYMOVE);
        if (moved == MAP_FAILED) throw std::bad_alloc();
        at_ = moved;
        size_ = bytes;
        return;
    }
    auto [mapped, size] = kept().take(bytes);
    if (mapped == nullptr) {
        size = bytes;
        mapped = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (mapped == MAP_FAILED) throw std::bad_alloc();
        ::madvise(mapped, size, MADV_HUGEPAGE);
    }
    if (at_ != nullptr) {
        std::memcpy(mapped, at_, size_);
        std::free(at_);
    }
    at_ = mapped;
    size_ = size;
}

}   // namespace rtk_python
