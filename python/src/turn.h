/// @file turn.h  What one thread reads no other one may read.
#ifndef RTK_PYTHON_TURN_H
#define RTK_PYTHON_TURN_H

#include <pybind11/pybind11.h>

#include <atomic>

namespace rtk_python {

/// A call of a reader. Python's lock does not keep calls apart: it is let go while a reader reads.
class turn_t {
public:
    /// @throws pybind11::value_error when another thread has its turn
    explicit turn_t(std::atomic<bool>& busy) : busy_(busy)
    {
        if (busy_.exchange(true)) throw pybind11::value_error("it is being read by another thread");
    }
    ~turn_t() { busy_ = false; }
    turn_t(const turn_t&) = delete;
    turn_t& operator=(const turn_t&) = delete;

private:
    std::atomic<bool>& busy_;
};

}   // namespace rtk_python

#endif
