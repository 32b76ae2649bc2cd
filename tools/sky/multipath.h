/// @file multipath.h  Code multipath: errors of the pseudoranges that come and go within minutes.
#ifndef SKY_MULTIPATH_H
#define SKY_MULTIPATH_H

#include <cstdint>

namespace sky {

/// Each signal has two waves of its own, with periods of two to six minutes. They fit whole into half an hour: over any
/// such time the mean is 0 and the RMS the one that was asked for.
class multipath_t {
public:
    /// @param rms  m
    multipath_t(double rms, std::uint64_t seed) : rms_(rms), seed_(seed) {}

    /// Error of a pseudorange.
    ///
    /// @param signal  number that tells the signal from all others, of all satellites; below 2^32
    /// @param t       s, not negative
    /// @return m
    double at(std::uint64_t signal, double t) const;

private:
    double rms_;
    std::uint64_t seed_;
};

}   // namespace sky

#endif
