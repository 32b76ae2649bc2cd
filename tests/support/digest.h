/// @file digest.h  Digests of results, compared with those kept in data/digests.txt. They tell that something changed,
/// not whether it is right: that was shown when they were taken, by golden files and by laws.
#ifndef TESTS_DIGEST_H
#define TESTS_DIGEST_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <string>

/// A number of 64 bits for any sequence of bytes, the same on every machine.
class Digest {
public:
    Digest& bytes(const void* data, std::size_t n)
    {
        const auto* p = static_cast<const char*>(data);
        for (; n >= sizeof(std::uint64_t); n -= sizeof(std::uint64_t), p += sizeof(std::uint64_t))
            mix(p, sizeof(std::uint64_t));
        if (n > 0) mix(p, n);
        return *this;
    }
    template <typename... T>
    Digest& values(T... value)
    {
        (bytes(&value, sizeof value), ...);
        return *this;
    }
    Digest& text(const std::string& s) { return values(s.size()).bytes(s.data(), s.size()); }

    std::uint64_t value() const { return m_state; }

private:
    void mix(const char* p, std::size_t n)
    {
        std::uint64_t word = 0;
        std::memcpy(&word, p, n);
        m_state = (m_state ^ word) * 0x9E3779B97F4A7C15u;
        m_state ^= m_state >> 32;
    }
    std::uint64_t m_state = 1;
};

/// Compares with data/digests.txt; with RTK_UTILS_UPDATE_GOLDEN=1 that is written anew.
/// Names hold no blanks.
inline void expect_digest(const std::string& name, const Digest& digest)
{
    static constexpr char kPath[] = RTK_UTILS_TEST_DATA "/digests.txt";
    static std::map<std::string, std::uint64_t> kept = [] {
        std::map<std::string, std::uint64_t> all;
        std::ifstream file(kPath);
        std::string key;
        for (std::uint64_t value; file >> key >> std::hex >> value;) all[key] = value;
        return all;
    }();
    if (std::getenv("RTK_UTILS_UPDATE_GOLDEN") != nullptr) {
        kept[name] = digest.value();
        std::ofstream file(kPath);
        for (const auto& [key, value] : kept) file << key << ' ' << std::hex << value << '\n';
    }
    EXPECT_EQ(kept[name], digest.value()) << name;
}

#endif
