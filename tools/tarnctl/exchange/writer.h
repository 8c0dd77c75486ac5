// SPDX-License-Identifier: Apache-2.0
//
// Writers of documents with the records of a store, in one of four forms. docs/formats.md
// describes the forms.
#ifndef TARNCTL_EXCHANGE_WRITER_H
#define TARNCTL_EXCHANGE_WRITER_H

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "exchange/format.h"
#include "model/instance.h"
#include "model/record.h"

namespace tarnctl {

// Writes a document; holds no more than a record in memory.
class Writer {
 public:
    Writer() = default;
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;
    virtual ~Writer() = default;

    virtual void begin_table(const Instance &instance) = 0;
    // A record of the current table. Failure `data` that names table, record and field if the form
    // can't represent the record.
    virtual void write(const Record &record) = 0;
    virtual void end_table() = 0;
    // Once, after the last table.
    virtual void end() = 0;
};

// The sizes of the buffer for a record's form, which is doubled as needed.
inline constexpr std::size_t first_buffer = 65536;
inline constexpr std::size_t largest_buffer = std::size_t{1} << 30U;

// The treatment of records that a form can't represent. Only XML and YANG have such records.
struct Unfit {
    // Write them, and names of tables, escaped (xml_escape.h). In XML only.
    bool escape = false;
    // Or else called with the error of one, which is left out; if it is empty, the first one ends
    // the export.
    std::function<void(const std::string &)> skip;
};

// The form that is asked for, or that of the output's suffix, or JSON without a suffix. Failure
// `usage` for another suffix.
Format chosen_format(const std::optional<Format> &format, const std::string &output);

// A writer of the form; it writes the beginning of the document to `out`.
std::unique_ptr<Writer> make_writer(Format format, std::ostream &out, Unfit unfit = {});

}  // namespace tarnctl

#endif
