#pragma once

#include <memory>
#include <utility>

namespace aht {

class function_wrapper {
    struct base {
        virtual ~base() = default;
        virtual void call() = 0;
    };
    template <class F>
    struct holder final : base {
        explicit holder(F&& f) : function(std::move(f)) {}
        void call() override { function(); }
        F function;
    };
    std::unique_ptr<base> held;

public:
    function_wrapper() = default;
    template <class F>
    function_wrapper(F&& f) : held(new holder<F>(std::move(f)))
    {}
    function_wrapper(function_wrapper&&) = default;
    function_wrapper& operator=(function_wrapper&&) = default;
    void operator()() { held->call(); }
};

using task_type = function_wrapper;   // a task is its wrapper here

}   // namespace aht
