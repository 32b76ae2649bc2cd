#include "dump/dump_reader.h"

#include <algorithm>
#include <cstring>

#include "phg_records.h"

namespace kvx {
namespace {

constexpr std::size_t kHeader = sizeof(LogKvx_tag);
constexpr std::size_t kShort = 4096;   // a payload whose checksum is had directly

LogKvx_tag header_at(const std::uint8_t* bytes)
{
    LogKvx_tag head;
    std::memcpy(&head, bytes, sizeof head);
    return head;
}

}   // namespace

const char* dump_damage_text(dump_damage_t damage)
{
    switch (damage) {
        case dump_damage_t::none:
            return "none";
        case dump_damage_t::no_sync:
            return "no record starts here";
        case dump_damage_t::bad_header:
            return "bad header";
        case dump_damage_t::bad_length:
            return "bad length";
        case dump_damage_t::bad_checksum:
            return "bad checksum";
        case dump_damage_t::unknown_type:
            return "unknown type";
        case dump_damage_t::torn:
            return "torn at the end";
    }
    return "";
}

dump_reader_t::dump_reader_t(Source source, std::size_t piece)
    : source_(std::move(source)), piece_(piece), window_(4 * piece)
{
    checksums_.restart(0);
}

// Holds at least n bytes, unless the file has fewer left.
bool dump_reader_t::fill(std::size_t n)
{
    if (held() >= n) return true;
    if (begin_ + std::max(n, piece_) > window_.size()) {
        std::memmove(window_.data(), front(), held());
        end_ = held();
        begin_ = 0;
        checksums_.restart(0);
        if (n + piece_ > window_.size()) window_.resize(n + piece_);   // n is bounded by the longest record
    }
    while (held() < n && !at_end_) {
        const std::size_t got = source_(window_.data() + end_, std::min(piece_, window_.size() - end_));
        end_ += got;
        at_end_ = got == 0;
    }
    return held() >= n;
}

void dump_reader_t::skip(std::size_t n)
{
    begin_ += n;
    offset_ += n;
}

// Skips at least one byte, up to one that a record may start with.
void dump_reader_t::find_sync()
{
    for (skip(1); fill(1); skip(held())) {
        const void* found = std::memchr(front(), phg::kDumpSync[0], held());
        if (found == nullptr) continue;
        skip(static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - front()));
        return;
    }
}

// What the bytes held are: a record, or why not. The length is trusted only after it has been looked at.
dump_damage_t dump_reader_t::check()
{
    const bool whole_header = fill(kHeader);
    if (std::memcmp(front(), phg::kDumpSync, std::min(sizeof phg::kDumpSync, held())) != 0)
        return dump_damage_t::no_sync;
    if (!whole_header) return dump_damage_t::torn;
    const LogKvx_tag head = header_at(front());
    const dump_damage_t damage = check_header(head);
    if (damage != dump_damage_t::none) return damage;
    if (!fill(kHeader + head.length)) return dump_damage_t::torn;
    if (!checksum_agrees(head)) return dump_damage_t::bad_checksum;
    const dump_type_t* type = dump_type(head.type);
    if (type == nullptr) return dump_damage_t::unknown_type;
    return type->length_of(front() + kHeader) == head.length ? dump_damage_t::none : dump_damage_t::bad_length;
}

dump_damage_t dump_reader_t::check_header(const LogKvx_tag& head)
{
    if (head.reserved != 0) return dump_damage_t::bad_header;
    const dump_type_t* type = dump_type(head.type);
    if (head.length == 0 || head.length > kMaxDumpPayload) return dump_damage_t::bad_length;
    return type != nullptr && !type->may_have(head.length) ? dump_damage_t::bad_length : dump_damage_t::none;
}

bool dump_reader_t::checksum_agrees(const LogKvx_tag& head)
{
    const std::size_t payload = begin_ + kHeader;
    if (head.length <= kShort) return dump_checksum(window_.data() + payload, head.length) == head.crc;
    return checksums_.of({window_.data(), 0, end_}, payload, payload + head.length) == head.crc;
}

bool dump_reader_t::next(dump_item_t& item)
{
    skip(pending_);
    pending_ = 0;
    if (!fill(1)) return false;

    item = {check(), offset_, 0, nullptr, nullptr, 0};
    dump_damage_t here = item.damage;
    if (here == dump_damage_t::none || here == dump_damage_t::unknown_type) {
        const LogKvx_tag head = header_at(front());
        item.type = dump_type(head.type);
        item.payload = front() + kHeader;
        item.length = head.length;
        item.bytes = pending_ = kHeader + head.length;
        return true;
    }
    do {
        find_sync();
    } while (fill(1) && (here = check(), here != dump_damage_t::none && here != dump_damage_t::unknown_type));
    item.bytes = offset_ - item.offset;
    // A length that points behind the end, with more records before that, is a wrong length and no torn end.
    if (item.damage == dump_damage_t::torn && fill(1)) item.damage = dump_damage_t::bad_length;
    return true;
}

}   // namespace kvx
