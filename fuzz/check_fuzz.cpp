// RINEX files against the rules: whatever the bytes are, findings stand in lines that the file has, and few are handed
// on. Input: size of the pieces, 0: one piece; file.
#include "fuzz.h"
#include "rinex/check_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    bytes_t input(data, size);
    const std::size_t piece = take<std::uint8_t>(input);
    const auto lines = static_cast<std::uint64_t>(std::count(input.begin(), input.end(), '\n')) +
                       input.size() / rinex::byte_lines_t::kLongest + 1;   // longer lines come in pieces
    rinex::byte_lines_t source([&](char* to, std::size_t n) {
        n = std::min({n, piece == 0 ? n : piece, input.size()});
        if (n != 0) std::memcpy(to, input.data(), n);
        input = input.subspan(n);
        return n;
    });
    std::size_t handed_on = 0;
    rinex::findings_t findings(
        [&](const rinex::finding_t& finding) {
            ++handed_on;
            FUZZ_CHECK(finding.line >= 1 && finding.line <= lines + 2 && finding.column >= 1);
        },
        2);
    rinex::file_summary_t summary;
    const bool is_rinex = rinex::check_file(source, findings, summary);
    FUZZ_CHECK(handed_on <= 2 * rinex::rules().size() && (is_rinex || handed_on == 0));
    return 0;
}
