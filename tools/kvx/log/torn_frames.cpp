#include "log/torn_frames.h"

#include "common/input_file.h"
#include "gnss/log/frame.h"
#include "gnss/log/framing.h"

namespace kvx {

namespace {

// What a frame of those begins with that stand whole in these bytes; all of them when there is none.
std::size_t first_frame(raw_t& frame, const torn_frames_t::bytes_t& bytes)
{
    Initial_raw(&frame, 1);
    const std::uint8_t* at = bytes.data();
    for (int left = static_cast<int>(bytes.size()); left > 0;) {
        const int before = left;
        const korvex::framing_t framing = korvex::frame_block(&frame, at, left);
        at += before - left;
        if (framing == korvex::framing_t::kComplete && korvex::checksum_agrees(frame.buff, frame.len))
            return static_cast<std::size_t>(at - bytes.data()) - static_cast<std::size_t>(frame.len + korvex::kCrcSize);
    }
    return bytes.size();
}

}   // namespace

torn_frames_t::torn_frames_t(const std::vector<std::string>& logs) : frame_(std::make_unique_for_overwrite<raw_t>())
{
    for (const std::string& log : logs) {
        bytes_t bytes(2 * sizeof(raw_t::buff));
        bytes.resize(input_file_t(log).read(bytes.data(), bytes.size()));
        bytes.resize(first_frame(*frame_, bytes));
        if (!bytes.empty() && bytes.size() < sizeof(raw_t::buff)) beginnings_[log] = {std::move(bytes)};
    }
}

std::optional<torn_frames_t::bytes_t> torn_frames_t::completed(const std::uint8_t* half, std::size_t size)
{
    for (auto& [log, beginning] : beginnings_) {
        if (beginning.used) continue;
        bytes_t whole(half, half + size);
        whole.insert(whole.end(), beginning.bytes.begin(), beginning.bytes.end());
        Initial_raw(frame_.get(), 1);
        int left = static_cast<int>(whole.size());
        const bool complete = korvex::frame_block(frame_.get(), whole.data(), left) == korvex::framing_t::kComplete;
        if (!complete || left > 0 || !korvex::checksum_agrees(frame_->buff, frame_->len)) continue;
        beginning.used = true;
        return whole;
    }
    return std::nullopt;
}

std::size_t torn_frames_t::open(const std::string& log)
{
    const auto found = beginnings_.find(log);
    if (found == beginnings_.end()) return 0;
    const std::size_t size = found->second.used ? found->second.bytes.size() : 0;
    beginnings_.erase(found);
    return size;
}

}   // namespace kvx
