// Compact RINEX of any bytes: what is expanded before the first fault is made compact and expanded again, and is the
// same. RINEX 2 may have come with flags beside blank values, which are not written.
#include <rinex/crinex_compress.h>
#include <rinex/crinex_expand.h>
#include <rinex/line_error.h>

#include "fuzz.h"

namespace {

// @return the RINEX lines up to the first fault
std::string expanded(std::string_view compact)
{
    std::string rinex;
    rinex::byte_lines_t lines([&](char* to, std::size_t n) {
        const std::size_t got = compact.copy(to, n);
        compact.remove_prefix(got);
        return got;
    });
    rinex::crinex_expander_t expander(lines);
    try {
        for (std::string_view line; expander.next(line);) rinex.append(line) += '\n';
    } catch (const rinex::line_error_t&) {
    }
    return rinex;
}

}   // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string rinex = expanded({reinterpret_cast<const char*>(data), size});
    std::string compact;
    rinex::crinex_compressor_t compressor([&](std::string_view text) { compact += text; }, "", "");
    try {
        for (std::size_t at = 0, end = 0; at < rinex.size(); at = end + 1) {
            end = rinex.find('\n', at);
            compressor.put({rinex.data() + at, end - at});
        }
        compressor.finish();
    } catch (const rinex::line_error_t& e) {
        const std::string what = e.what();
        FUZZ_CHECK(rinex.empty() || what == "the file ends in its header" || what.starts_with("flags beside a blank"));
        return 0;
    }
    FUZZ_CHECK(expanded(compact) == rinex);
    return 0;
}
