// SPDX-License-Identifier: Apache-2.0
//
// The options that show, find and get share.
#ifndef TARNCTL_LISTING_OPTIONS_H
#define TARNCTL_LISTING_OPTIONS_H

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "cli/command.h"
#include "listing/listing.h"

namespace tarnctl {

struct FormOptions {
    Form form = Form::automatic;
    bool json = false;
    std::vector<std::string> columns;
};

// --format, by default as it stands in `options`; --json, --columns
void add_form_options(cli::Command &command, FormOptions &options);
// Which records a listing has, in which order, and whether it has groups of them: --sort,
// --group-by, --aggregate, --tenant, --source, --shadows, --pending,
// --no-pending, --limit, --offset, --reverse.
void add_selection_options(cli::Command &command, SelectionOptions &options);

// The form and the columns that the options choose. Failure `usage` where they contradict.
void apply(const FormOptions &options, Listing &listing);
// The listing of a table that the options ask for. Failure `usage` where they contradict.
Listing make_listing(const Store &store, const std::string &table,
                     const SelectionOptions &selection, const FormOptions &form);

// Prints on standard output, through the pager where there is one. On a terminal everything is
// made before anything is shown: whoever reads page by page must not read records that another
// process destroys meanwhile.
void print_paged(const std::function<void(std::ostream &, const Screen &)> &print);

}  // namespace tarnctl

#endif
