/// @file fuzz_input.h  Values out of the bytes of a fuzz input; behind its end everything is 0.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

class fuzz_input_t {
public:
    fuzz_input_t(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

    template <typename T>
    T get()
    {
        T value{};
        const auto bytes = rest_.first(std::min(sizeof value, rest_.size()));
        if (!bytes.empty()) std::memcpy(&value, bytes.data(), bytes.size());
        rest_ = rest_.subspan(bytes.size());
        return value;
    }

    std::uint8_t byte() { return get<std::uint8_t>(); }
    bool flag() { return (byte() & 1) != 0; }

    /// Fills an array, without a NUL if the input has none.
    template <typename T, std::size_t N>
    void fill(T (&array)[N])
    {
        for (T& element : array) element = get<T>();
    }

    bool empty() const { return rest_.empty(); }
    std::span<const std::uint8_t> rest() const { return rest_; }

private:
    std::span<const std::uint8_t> rest_;
};

#endif
