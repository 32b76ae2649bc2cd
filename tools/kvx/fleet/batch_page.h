/// @file batch_page.h  What became of an archive, as a page.
#ifndef KVX_BATCH_PAGE_H
#define KVX_BATCH_PAGE_H

#include <string>

#include "fleet/batch_totals.h"

namespace kvx {

/// A page that needs nothing else.
std::string page_of_batch(const batch_totals_t& totals);

}   // namespace kvx

#endif
