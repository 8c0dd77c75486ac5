// SPDX-License-Identifier: Apache-2.0
//
// Documents that hold the records of a store, in one of three forms. docs/formats.md describes
// them for readers in other languages.
#ifndef TARNCTL_EXCHANGE_WRITER_H
#define TARNCTL_EXCHANGE_WRITER_H

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "exchange/format.h"
#include "model/instance.h"
#include "model/record.h"

namespace tarnctl {

// Writes a document from front to back, so that no more than a record is ever held.
class Writer {
 public:
    Writer() = default;
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;
    virtual ~Writer() = default;

    virtual void begin_table(const Instance &instance) = 0;
    // Of the table that was begun. Failure `data` that names table, record and field if the form
    // can't carry the record.
    virtual void write(const Record &record) = 0;
    virtual void end_table() = 0;
    // Once, behind the last table.
    virtual void end() = 0;
};

// What becomes of records that a form can't carry, of which XML alone has any.
struct Unfit {
    // They are written with what it can't carry escaped (xml_escape.h), the names of tables too.
    bool escape = false;
    // Or else called with what is wrong with one, which is left out then; if it is empty, the
    // first one ends the export.
    std::function<void(const std::string &)> skip;
};

// A writer of the form, which has written the beginning of the document to `out`.
std::unique_ptr<Writer> make_writer(Format format, std::ostream &out, Unfit unfit = {});

}  // namespace tarnctl

#endif
