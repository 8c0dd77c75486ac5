// SPDX-License-Identifier: Apache-2.0
//
// A listing of records in one of its forms:
//
//   automatic
//          a table, or a list where a row doesn't fit the screen
//   table  aligned columns; on a screen too narrow for all of them some are left out
//   list   a record as lines of a field and its value
//   text   the records' own text form
//   xml    the document that export writes, of this table's records
//   json   the same as JSON; with chosen columns an array of objects with these as members
//   csv    RFC 4180, with the titles in the first line
//
// Groups are a table, CSV, or as JSON an array of objects with the titles as members.
#ifndef TARNCTL_LISTING_LISTING_H
#define TARNCTL_LISTING_LISTING_H

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "listing/columns.h"
#include "listing/selection.h"
#include "model/instance.h"
#include "terminal/screen.h"

namespace tarnctl {

enum class Form { automatic, table, list, text, xml, json, csv };

struct Listing {
    Instance instance;
    Selection selection;
    Form form = Form::automatic;
    std::vector<ListingColumn> columns;  // chosen ones; empty: those that suit the form
};

// Listings of several tables have the tables' names before their lines, and are one document; a
// JSON object that isn't a record has its table as the member "table". CSV is of one table only.
void print_listings(std::ostream &out, const std::vector<Listing> &listings, const Screen &screen);
// A listing of one record, as JSON the record's object without an array.
void print_record(std::ostream &out, const Listing &listing, const Screen &screen);

}  // namespace tarnctl

#endif
