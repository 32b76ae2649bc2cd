#include "report/time_bins.h"

#include <gtest/gtest.h>

#include <random>

using kvx::report::folded;
using kvx::report::time_bins_t;

namespace {

struct span_t {
    std::int64_t count = 0, first = 0, last = 0;
    span_t& operator+=(const span_t& o)
    {
        if (count == 0) first = o.first;
        if (o.count > 0) last = o.last;
        count += o.count;
        return *this;
    }
};

}   // namespace

TEST(TimeBins, KeepEveryEpochInTheBinOfItsTime)
{
    std::mt19937_64 random(7);
    for (int round = 0; round < 50; ++round) {
        std::vector<span_t> spans(time_bins_t::kBins);
        time_bins_t bins([&](bool upper) { spans = folded(spans, upper); });
        std::int64_t time = 1'400'000'000'000 + round, n = 0;
        for (; n < 5000; ++n) {
            time += static_cast<std::int64_t>(random() % (1 + (random() % 4 << random() % 20)));
            if (n % 1000 == 999) time -= static_cast<std::int64_t>(random() % 100'000'000);   // the clock was set back
            const std::size_t bin = bins.at(time);
            ASSERT_LT(bin, time_bins_t::kBins);
            spans[bin] += {1, time, time};
        }
        for (std::size_t bin = 0; bin < spans.size(); ++bin) {
            n -= spans[bin].count;
            if (spans[bin].count == 0) continue;
            EXPECT_LE(bins.begin_of(bin), spans[bin].first);
            EXPECT_GT(bins.begin_of(bin + 1), spans[bin].last);
        }
        EXPECT_EQ(0, n);
    }
}
