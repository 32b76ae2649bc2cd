/// @file lock.h  Python's lock: given away while nothing of Python is touched, and taken for a moment.
///
/// A thread that is still at work when the program ends is ended by Python in the call that takes the lock, by
/// unwinding its stack. Nothing here can be unwound in that state; such a thread waits for the process to end instead.
#ifndef RTK_PYTHON_LOCK_H
#define RTK_PYTHON_LOCK_H

#include <pybind11/pybind11.h>
#include <unistd.h>

#include <utility>

namespace rtk_python {

template <typename Take, typename... Arguments>
auto take_lock(Take take, Arguments... arguments) noexcept
{
    try {
        return take(arguments...);
    } catch (...) {   // these calls throw nothing: the stack is being unwound
        for (;;) ::pause();
    }
}

class unlocked_t {
public:
    unlocked_t() : state_(PyEval_SaveThread()) {}
    ~unlocked_t() { take_lock(PyEval_RestoreThread, state_); }
    unlocked_t(const unlocked_t&) = delete;
    unlocked_t& operator=(const unlocked_t&) = delete;

private:
    PyThreadState* state_;
};

class locked_t {
public:
    locked_t() : state_(take_lock(PyGILState_Ensure)) {}
    ~locked_t() { PyGILState_Release(state_); }
    locked_t(const locked_t&) = delete;
    locked_t& operator=(const locked_t&) = delete;

private:
    PyGILState_STATE state_;
};

}   // namespace rtk_python

#endif
