/// @file column.h  Columns that grow while a log is read, and become arrays without a copy.
#ifndef RTK_PYTHON_COLUMN_H
#define RTK_PYTHON_COLUMN_H

#include <pybind11/numpy.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

#include "room.h"

namespace rtk_python {

namespace py = pybind11;

template <typename T>
class column_t {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    column_t() = default;
    column_t(column_t&& other) noexcept : rows_(std::move(other.rows_)), size_(std::exchange(other.size_, 0)) {}
    column_t& operator=(column_t&& other) noexcept
    {
        rows_ = std::move(other.rows_);
        std::swap(size_, other.size_);
        return *this;
    }
    ~column_t() = default;

    /// Room for n more; they count as written.
    /// @throws std::bad_alloc
    T* extend(std::size_t n)
    {
        if (n > PTRDIFF_MAX / sizeof(T) - size_) throw std::bad_alloc();
        rows_.grow((size_ + n) * sizeof(T));
        T* const first = static_cast<T*>(rows_.at()) + size_;
        size_ += n;
        return first;
    }
    /// Room for so many in all, of which none counts as written.
    void reserve(std::size_t n) { rows_.grow(std::min(n, PTRDIFF_MAX / 4 / sizeof(T)) * sizeof(T)); }

    void add(const T& value) { *extend(1) = value; }

    /// Takes the last ones back.
    void drop(std::size_t n) { size_ -= n; }

    std::size_t size() const { return size_; }

    /// Its contents as an array, which has them alone.
    /// @param type   what numpy is to take an element for
    /// @param width  elements of a row; 0: the array has one dimension
    py::array array(const py::dtype& type, py::ssize_t width = 0)
    {
        rows_.grow(sizeof(T));   // some address
        auto rows = std::make_unique<room_t>(std::move(rows_));
        void* const first = rows->at();
        const py::capsule owner(rows.get(), [](void* owned) { delete static_cast<room_t*>(owned); });
        static_cast<void>(rows.release());
        const auto n = static_cast<py::ssize_t>(std::exchange(size_, 0));
        constexpr auto kBytes = static_cast<py::ssize_t>(sizeof(T));
        if (width == 0) return {type, {n}, {kBytes}, first, owner};
        return {type, {n, width}, {kBytes, kBytes / width}, first, owner};
    }
    py::array array() { return array(py::dtype::of<T>()); }

private:
    room_t rows_;
    std::size_t size_ = 0;
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
