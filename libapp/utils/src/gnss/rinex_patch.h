// In-place patching of header lines: the texts keep the length of what they replace.
#ifndef RTK_RINEX_PATCH_H
#define RTK_RINEX_PATCH_H

#include <cstdio>
#include <string_view>

#include "rinex_text.h"

namespace rinex {

/// Overwrites what follows the first header line with this label. Deliberate: a header without the label
/// is patched behind "END OF HEADER". A stream without either is left alone.
void patch_after(std::FILE* fp, const char* label, const text_t& text);

}   // namespace rinex

#endif
