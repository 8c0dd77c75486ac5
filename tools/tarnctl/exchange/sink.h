// SPDX-License-Identifier: Apache-2.0
//
// The receiver of a document's records, and the readers.
#ifndef TARNCTL_EXCHANGE_SINK_H
#define TARNCTL_EXCHANGE_SINK_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/failure.h"
#include "exchange/draft.h"
#include "exchange/format.h"
#include "exchange/input.h"

namespace tarnctl {

// The table of records, as a document names it.
struct TableHead {
    const Table *table = nullptr;
    std::string name;
    std::optional<uint64_t> id;  // in place of the name

    std::string full_name() const;
};

// An error in a document, with its place: "net.xml:17: tbl_ldap_conn: ...".
Failure wrong(const std::string &place, const std::string &text);

class Sink {
 public:
    // The place in the document, for messages: only they make its text.
    using Place = std::function<std::string()>;
    // Fills in a draft. It keeps `place` up to date.
    using Build = std::function<void(Draft &draft, Place &place)>;

    Sink() = default;
    Sink(const Sink &) = delete;
    Sink &operator=(const Sink &) = delete;
    virtual ~Sink() = default;

    virtual void begin_table(const TableHead &head) = 0;
    // A record of the current table, which begins at `place`.
    virtual void take(const Place &place, const Build &build) = 0;
};

struct ReadOptions {
    bool lenient = false;  // unknown elements, members and attributes are skipped
};

// Reads a document. Failure `data` that names the place.
void read_document(Input &input, Format format, const ReadOptions &options, Sink &sink);
void read_xml(Input &input, const ReadOptions &options, Sink &sink);
void read_json(Input &input, const ReadOptions &options, Sink &sink);
void read_yang_json(Input &input, const ReadOptions &options, Sink &sink);
void read_frames(Input &input, const ReadOptions &options, Sink &sink);

// A table by its name in a document. Failure `data` with a suggestion.
const Table &table_in_document(const std::string &name);

}  // namespace tarnctl

#endif
