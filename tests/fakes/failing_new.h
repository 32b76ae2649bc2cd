/// @file failing_new.h  Lets an allocation of this thread fail, and ends the program that has written beyond one;
/// failing_new.cpp replaces operator new for both.
#ifndef FAILING_NEW_H
#define FAILING_NEW_H

/// The allocation of this thread after so many fails, once; -1: none.
void fail_allocation(long after);
bool allocation_failed();   ///< since the last fail_allocation

/// Runs an operation again and again, with its first, second, ... allocation failing, until none is left to fail.
///
/// @return number of allocations of the operation
template <class Operation>
int fail_allocations(Operation operation)
{
    for (int nth = 0;; ++nth) {
        fail_allocation(nth);
        operation();
        const bool failed = allocation_failed();
        fail_allocation(-1);
        if (!failed) return nth;
    }
}

#endif
