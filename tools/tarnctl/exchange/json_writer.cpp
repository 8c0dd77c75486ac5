// SPDX-License-Identifier: Apache-2.0
#include "exchange/json_writer.h"

#include <fmt/core.h>

#include "model/json.h"

namespace tarnctl {

JsonWriter::JsonWriter(std::ostream &out) : out_(out) {
    out_ << fmt::format("{{\"tarnbase\":{{\"format\":{},\"tables\":[", format_version);
}

void JsonWriter::begin_table(const Instance &instance) {
    Json head = {{"table", instance.table->name}};
    if (instance.block->open_mode == KEL_OPEN_BY_NAME)
        head.set("name", json_of_bytes(instance.name()));
    else head.set("id", instance.block->table_id);
    std::string text = head.dump();
    text.pop_back();  // the brace: the records follow, one by one
    out_ << (first_table_ ? "\n" : ",\n") << text << ",\"records\":[";
    first_table_ = false;
    first_record_ = true;
}

void JsonWriter::write(const Record &record) {
    out_ << (first_record_ ? "\n" : ",\n") << json_of(record).dump();
    first_record_ = false;
}

void JsonWriter::end_table() { out_ << "\n]}"; }

void JsonWriter::end() { out_ << "\n]}}\n"; }

}  // namespace tarnctl
