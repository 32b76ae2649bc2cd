/// @file observation_source.h  The epochs of an observation file with the text in which they stand.
#ifndef KVX_OBSERVATION_SOURCE_H
#define KVX_OBSERVATION_SOURCE_H

#include <memory>
#include <string>
#include <vector>

#include "common/rinex_file.h"
#include "revise/time_scale.h"
#include "rinex/line_tape.h"
#include "rinex/read_observations.h"
#include "rinex/version_names.h"

namespace kvx {

/// An epoch or event. It owns its text, so that it can wait.
struct source_epoch_t {
    static constexpr std::size_t kField = 16;   // columns of a value

    rinex::read_epoch_t read;
    std::int64_t time = 0;             ///< GPS time (ms); without one of its own that of the epoch before
    std::uint64_t sequence = 0;        ///< of the epochs of the run, from 1; of an event, of the epoch before it
    std::size_t input = 0;             ///< which source
    int version = 0;                   ///< of the source
    bool faulty = false;               ///< not all of it could be read
    std::string text;                  ///< its lines, a LF behind each
    std::vector<std::size_t> begins;   ///< of the lines, and the end
    std::shared_ptr<const rinex::type_names_t> types;    ///< of its values; of an event, from it on
    std::shared_ptr<const rinex::type_names_t> before;   ///< of what stands in front of it

    std::string_view line(std::uint64_t number) const   ///< without LF; empty when it is not there
    {
        const std::uint64_t at = number - read.line;
        if (number < read.line || at + 1 >= begins.size()) return {};
        return std::string_view(text).substr(begins[at], begins[at + 1] - begins[at] - 1);
    }

    /// The columns of a satellite's value, as far as its line reaches.
    std::string_view field(const rinex::read_satellite_t& satellite, std::size_t i) const
    {
        constexpr std::size_t kRow = 5;
        if (version >= 300) return rinex_cut(line(satellite.line), 3 + kField * i);
        return rinex_cut(line(satellite.line + i / kRow), kField * (i % kRow));
    }

    /// The lines of a satellite, with LF.
    std::string_view rows(const rinex::read_satellite_t& satellite) const
    {
        constexpr std::size_t kRow = 5;
        const std::size_t n = version >= 300 || satellite.count == 0 ? 1 : (satellite.count + kRow - 1) / kRow;
        const std::uint64_t at = satellite.line - read.line;
        if (at + n >= begins.size()) return {};
        return std::string_view(text).substr(begins[at], begins[at + n] - begins[at]);
    }

    std::size_t values() const;   ///< how many there are

private:
    static std::string_view rinex_cut(std::string_view line, std::size_t at)
    {
        return at < line.size() ? line.substr(at, kField) : std::string_view();
    }
};

/// Errors of the inputs of a run.
struct faults_t {
    static constexpr std::size_t kTold = 5;

    std::uint64_t count = 0;
    std::vector<std::string> first;   ///< "file:line: what"

    void add(const std::string& text)
    {
        if (first.size() < kTold) first.push_back(text);
        ++count;
    }
};

/// Reads an observation file once.
class observation_source_t {
public:
    /// @param faults  must outlive this
    /// @throws error_t when it cannot be read or is another kind of file
    observation_source_t(const std::string& path, std::size_t input, faults_t& faults);

    /// The next epoch or event; what the object held is overwritten.
    /// @return false behind the last one
    /// @throws error_t at an interrupt
    bool next(source_epoch_t& epoch);

    rinex_file_t& file() { return file_; }
    const rinex::file_header_t& header() const { return file_.header(); }

    /// See header_lines().
    const std::vector<std::string>& header_lines() const { return header_lines_; }

    /// The types that the header lists.
    const std::shared_ptr<const rinex::type_names_t>& listed() const { return listed_; }

private:
    void take_text(source_epoch_t& epoch);
    void follow_types(source_epoch_t& epoch);

    faults_t& faults_;
    rinex::line_tape_t tape_;
    rinex_file_t file_;
    rinex::observation_reader_t reader_;
    std::size_t input_;
    time_scale_t scale_;
    std::vector<std::string> header_lines_;
    std::shared_ptr<const rinex::type_names_t> listed_, types_;
    std::int64_t time_ = 0;
};

}   // namespace kvx

#endif
