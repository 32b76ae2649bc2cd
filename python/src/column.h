/// @file column.h  Columns that grow while a log is read, and become arrays without a copy.
#ifndef RTK_PYTHON_COLUMN_H
#define RTK_PYTHON_COLUMN_H

#include <pybind11/numpy.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

namespace rtk_python {

namespace py = pybind11;

/// Room grows in place where the allocator moves pages instead of bytes; what is not written yet takes no memory.
template <typename T>
class column_t {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    /// Room for n more; they count as written.
    /// @throws std::bad_alloc
    T* extend(std::size_t n)
    {
        if (size_ + n > room_) resize(std::max(size_ + n, room_ + room_ / 2));
        T* const first = rows_.get() + size_;
        size_ += n;
        return first;
    }
    void add(const T& value) { *extend(1) = value; }

    /// Takes the last ones back.
    void drop(std::size_t n) { size_ -= n; }

    std::size_t size() const { return size_; }

    /// Its contents as an array, which has them alone.
    /// @param type   what numpy is to take an element for
    /// @param width  elements of a row; 0: the array has one dimension
    py::array array(const py::dtype& type, py::ssize_t width = 0)
    {
        if (size_ < room_ || room_ == 0) resize(std::max<std::size_t>(size_, 1));
        const py::capsule owner(rows_.get(), std::free);
        T* const rows = rows_.release();
        const auto n = static_cast<py::ssize_t>(std::exchange(size_, 0));
        room_ = 0;
        constexpr auto kBytes = static_cast<py::ssize_t>(sizeof(T));
        if (width == 0) return {type, {n}, {kBytes}, rows, owner};
        return {type, {n, width}, {kBytes, kBytes / width}, rows, owner};
    }
    py::array array() { return array(py::dtype::of<T>()); }

private:
    void resize(std::size_t room)
    {
        if (room > PTRDIFF_MAX / sizeof(T)) throw std::bad_alloc();
        void* const moved = std::realloc(rows_.get(), room * sizeof(T));
        if (moved == nullptr) throw std::bad_alloc();
        static_cast<void>(rows_.release());
        rows_.reset(static_cast<T*>(moved));
        room_ = room;
    }

    struct freed_t {
        void operator()(T* rows) const { std::free(rows); }
    };
    std::unique_ptr<T, freed_t> rows_;
    std::size_t size_ = 0, room_ = 0;
};

/// A short text as numpy has it: of so many characters, zeros behind it.
template <std::size_t N>
using text_t = std::array<char32_t, N>;

template <std::size_t N>
text_t<N> text_of(std::string_view text)
{
    text_t<N> characters{};
    std::copy_n(text.begin(), std::min(N, text.size()), characters.begin());
    return characters;
}

template <std::size_t N>
py::array array_of(column_t<text_t<N>>& column)
{
    return column.array(py::dtype("U" + std::to_string(N)));
}

/// GPS time as numpy has it: nanoseconds, as though it were a date. What it cannot hold, from 2262 on, is no time.
inline std::int64_t nanoseconds_of_ticks(std::int64_t ticks)   // see rinex/dates.h
{
    constexpr std::int64_t kEpoch = 315964800'0000000;   // 1980-01-06 since 1970-01-01, ticks
    constexpr std::int64_t kLast = INT64_MAX / 100 - kEpoch;
    return ticks > kLast || ticks < -kEpoch ? INT64_MIN : (ticks + kEpoch) * 100;
}

inline py::array times_of(column_t<std::int64_t>& column)
{
    return column.array(py::dtype("M8[ns]"));
}

}   // namespace rtk_python

#endif
