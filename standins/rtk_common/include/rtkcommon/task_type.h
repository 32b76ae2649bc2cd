/// @file task_type.h  What a worker's queue holds.
#ifndef RTKCOMMON_TASK_TYPE_H
#define RTKCOMMON_TASK_TYPE_H

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace aht {

/// Move-only callable without arguments and result, such as a std::packaged_task<void()>. Callables of six pointers'
/// size or less are kept in place.
class function_wrapper {
public:
    function_wrapper() noexcept = default;

    template <class F, class = std::enable_if_t<!std::is_same_v<std::decay_t<F>, function_wrapper>>>
    explicit function_wrapper(F&& callable)
    {
        using callable_t = std::decay_t<F>;
        if constexpr (fits<callable_t>) {
            ::new (static_cast<void*>(m_place)) callable_t(std::forward<F>(callable));
            m_operations = &kInPlace<callable_t>;
        } else {
            ::new (static_cast<void*>(m_place)) callable_t*(new callable_t(std::forward<F>(callable)));
            m_operations = &kOnHeap<callable_t>;
        }
    }

    function_wrapper(function_wrapper&& other) noexcept { take(other); }

    function_wrapper& operator=(function_wrapper&& other) noexcept
    {
        if (this != &other) {
            reset();
            take(other);
        }
        return *this;
    }

    ~function_wrapper() { reset(); }

    explicit operator bool() const noexcept { return m_operations != nullptr; }

    /// Calls what is held; there must be something.
    void operator()() { m_operations->call(m_place); }

private:
    struct operations_t {
        void (*call)(void* place);
        void (*move)(void* from, void* to) noexcept;   // leaves nothing to destroy behind
        void (*destroy)(void* place) noexcept;
    };

    static constexpr std::size_t kRoom = 6 * sizeof(void*), kAlignment = alignof(void*);

    template <class F>   // NOLINTNEXTLINE(misc-redundant-expression): size and alignment are not the same
    static constexpr bool fits = (sizeof(F) <= kRoom) &&
                                 (alignof(F) <= kAlignment) && std::is_nothrow_move_constructible_v<F>;

    template <class F>
    static F& as(void* place) noexcept
    {
        return *std::launder(static_cast<F*>(place));
    }

    template <class F>
    static constexpr operations_t kInPlace = {
        [](void* place) { as<F>(place)(); },
        [](void* from, void* to) noexcept {
            ::new (to) F(std::move(as<F>(from)));
            as<F>(from).~F();
        },
        [](void* place) noexcept { as<F>(place).~F(); },
    };

    template <class F>
    static constexpr operations_t kOnHeap = {
        [](void* place) { (*as<F*>(place))(); },
        [](void* from, void* to) noexcept { ::new (to) F*(as<F*>(from)); },
        [](void* place) noexcept { delete as<F*>(place); },
    };

    void take(function_wrapper& other) noexcept
    {
        if (other.m_operations != nullptr) other.m_operations->move(other.m_place, m_place);
        m_operations = std::exchange(other.m_operations, nullptr);
    }

    void reset() noexcept
    {
        if (const operations_t* held = std::exchange(m_operations, nullptr)) held->destroy(m_place);
    }

    alignas(kAlignment) unsigned char m_place[kRoom];
    const operations_t* m_operations = nullptr;
};

/// One task of a worker.
struct task_type {
    task_type() noexcept = default;
    explicit task_type(function_wrapper wrapper) noexcept : m_function(std::move(wrapper)) {}

    function_wrapper m_function;
};

}   // namespace aht

#endif
