// SPDX-License-Identifier: Apache-2.0
//
// Fills in a draft from the JSON form of a record, that of model/json.h or of YANG (yang_writer.h).
#ifndef TARNCTL_EXCHANGE_JSON_RECORD_H
#define TARNCTL_EXCHANGE_JSON_RECORD_H

#include <cstdint>
#include <functional>

#include "exchange/draft.h"
#include "exchange/json_parser.h"
#include "exchange/sink.h"
#include "json/tree.h"

namespace tarnctl {

struct JsonRecord {
    JsonView json;
    const JsonLines &lines;
    // The place of a line, for messages.
    std::function<Sink::Place(uint64_t line)> place;
};

struct JsonRecordForm {
    bool lenient;  // unknown members are skipped
    bool is_yang;  // state flags are lists, and what is empty may be left out
};

// Failure `data`, with `where` the place of what is wrong.
void read_json_record(const JsonRecord &record, const JsonRecordForm &form, Draft &draft,
                      Sink::Place &where);

}  // namespace tarnctl

#endif
