/// @file nearest.h  The word that was meant.
#ifndef KVX_NEAREST_H
#define KVX_NEAREST_H

#include <algorithm>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

namespace kvx {

/// Letters to be changed, put in or left out to make one word of the other.
/// @note V. I. Levenshtein, Binary codes capable of correcting deletions, insertions and reversals, 1966.
inline std::size_t edits_between(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = diagonal + (a[i] != b[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

/// The nearest of some words; empty when none is like it.
inline std::string nearest(std::string_view word, const std::vector<std::string>& words)
{
    const std::string* best = nullptr;
    std::size_t fewest = std::max<std::size_t>(2, word.size() / 3) + 1;
    for (const std::string& w : words) {
        const std::size_t edits = edits_between(word, w);
        if (edits < fewest) fewest = edits, best = &w;
    }
    return best == nullptr ? "" : *best;
}

}   // namespace kvx

#endif
