// SPDX-License-Identifier: Apache-2.0
//
// A listing as a person reads it: a table or a list (listing.h).
#ifndef TARNCTL_LISTING_LINES_H
#define TARNCTL_LISTING_LINES_H

#include <functional>
#include <ostream>

#include "listing/listing.h"

namespace tarnctl {

// Of one table, in the form automatic, table or list. Groups are a table.
void print_lines(std::ostream &out, const Listing &listing, const Screen &screen);

// The chosen columns, or `suitable` if none were chosen.
std::vector<ListingColumn> columns_or(const Listing &listing, std::vector<ListingColumn> suitable);
// Calls `print` with each record, and shows the progress.
void for_each_with_progress(const std::vector<Record> &records,
                            const std::function<void(const Record &)> &print);

}  // namespace tarnctl

#endif
