/// @file patch.h  In-place patching of header lines: the texts keep the length of what they replace.
#ifndef RTK_RINEX_PATCH_H
#define RTK_RINEX_PATCH_H

#include <cstdio>
#include <string_view>

#include "gnss/rinex/text.h"

namespace rinex {

/// In append mode every write lands at the end: what should replace lines would add them.
bool appends_only(std::FILE* fp);

/// Overwrites what follows the first header line with this label. Deliberate: a header without the label
/// is patched behind "END OF HEADER". A stream without either, or one that cannot be read or only appends, is left
/// alone.
void patch_after(std::FILE* fp, const char* label, const text_t& text);

}   // namespace rinex

#endif
