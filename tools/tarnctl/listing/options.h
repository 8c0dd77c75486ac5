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

// --format, by default the form in `options`; --json; --columns
void add_form_options(cli::Command &command, FormOptions &options);
// The records of a listing, their order and groups: --sort,
// --group-by, --aggregate, --tenant, --source, --shadows, --pending,
// --no-pending, --limit, --offset, --reverse.
void add_selection_options(cli::Command &command, SelectionOptions &options);

// Sets the form and the columns of the options. Failure `usage` if they contradict each other.
void apply(const FormOptions &options, Listing &listing);
// Makes the listing of a table. Failure `usage` if the options contradict each other.
Listing make_listing(const Store &store, const std::string &table,
                     const SelectionOptions &selection, const FormOptions &form);

// Prints on standard output, through the pager if there is one. On a terminal the whole output is
// made first: while a user pages, another process could destroy the records.
void print_paged(const std::function<void(std::ostream &, const Screen &)> &print);

}  // namespace tarnctl

#endif
