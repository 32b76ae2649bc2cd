/// @file expander.h  Compressed bytes on their way in.
#ifndef KVX_EXPANDER_H
#define KVX_EXPANDER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

namespace kvx {

/// Expands what a source brings. What has come is expanded at once, so that a sender who flushes is read as he sends.
class expander_t {
public:
    /// Writes up to n bytes, as many as there are, and returns how many; 0 at the end.
    using source_t = std::function<std::size_t(std::uint8_t* to, std::size_t n)>;

    expander_t() = default;
    virtual ~expander_t() = default;
    expander_t(const expander_t&) = delete;
    expander_t& operator=(const expander_t&) = delete;

    /// At least one byte and at most n; 0 at the end of what can be expanded.
    /// @throws std::bad_alloc
    virtual std::size_t read_some(std::uint8_t* to, std::size_t n) = 0;

    virtual std::size_t in_hand() const = 0;   ///< bytes taken from the source and not used up

    /// What is wrong with the file, known at its end; empty: nothing.
    const std::string& damage() const { return damage_; }

protected:
    std::string damage_;
};

/// Bytes that tell how a file is compressed.
inline constexpr std::size_t kMostMagicBytes = 4;

/// Whether a file that begins so may be compressed, once its first bytes are all known.
bool may_be_compressed(std::span<const std::uint8_t> head);

/// What expands a file that begins so; nullptr: it is plain.
/// @param head  its first bytes, which the source gives no more
std::unique_ptr<expander_t> make_expander(expander_t::source_t source, std::span<const std::uint8_t> head);

}   // namespace kvx

#endif
