// SPDX-License-Identifier: Apache-2.0
#include "exchange/sink.h"

#include <fmt/core.h>

#include "model/json.h"

namespace tarnctl {

std::string TableHead::full_name() const {
    if (id) return fmt::format("{}#{}", table->name, *id);
    return fmt::format("{}:{}", table->name, name);
}

Failure wrong(const std::string &place, const std::string &text) {
    return Failure(Exit::data, place + ": " + text);
}

const Table &table_in_document(const std::string &name) {
    if (const Table *table = catalogue.table(name)) return *table;
    std::vector<std::string_view> names;
    for (const Table *table : catalogue.tables) names.push_back(table->name);
    throw no_such(Exit::data, "table", name, names);
}

void read_document(Input &input, Format format, const ReadOptions &options, Sink &sink) {
    if (format == Format::xml) read_xml(input, options, sink);
    else if (format == Format::json) read_json(input, options, sink);
    else if (format == Format::yang_json) read_yang_json(input, options, sink);
    else read_frames(input, options, sink);
}

}  // namespace tarnctl
