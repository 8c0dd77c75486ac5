// SPDX-License-Identifier: Apache-2.0
#include "exchange/yang_writer.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "cli/utf8.h"
#include "exchange/object_members.h"
#include "exchange/unfit.h"
#include "exchange/xml_text.h"
#include "model/json.h"
#include "model/state.h"

namespace tarnctl {
namespace {

constexpr std::string_view other_forms = "JSON and frames can, or `tarnctl export` with --skip";

bool has_64_bits(const Field &field) {
    return field.kind == Kind::u_int64 || field.kind == Kind::int64;
}

bool is_empty_address(const Value &value) {
    return value.field().kind == Kind::address && value.text().empty();
}

Json yang_json_of(const Value &value) {
    return has_64_bits(value.field()) ? Json(value.text()) : json_of(value);
}

// The members of an object, from `path` on.
Json members_of(kel_handle *handle, void *object, const Structure &structure, Path &path) {
    Json members = Json::object();
    for (const Field &field : structure.fields) {
        path.fields.push_back(&field);
        path.whole_array = field.kind == Kind::array;
        if (field.structure != nullptr) {
            members.set(field.name, members_of(handle, object, *field.structure, path));
        } else {
            const Value value(handle, KEL_TX_NONE, object, path);
            if (value.present() && !is_empty_address(value))
                members.set(field.name, yang_json_of(value));
        }
        path.fields.pop_back();
    }
    return members;
}

void add_object(Json &json, const ObjectMembers &names, const Record &record, void *object,
                const Structure &structure) {
    if (object == nullptr) return;
    if (is_tracked(object)) {
        Json flags = Json::array();
        for (const auto &[path, flag] : state_flags_of(record.handle, object, structure))
            flags.add({{"path", path}, {"flag", flag}});
        json.set(names.state, flags);
    }
    Path path;
    json.set(names.fields, members_of(record.handle, object, structure, path));
}

Json yang_json_of(const Record &record) {
    const Table &table = *record.table;
    Json json = {{"tenant", record.tenant()}, {"source", record.src()}};
    if (record.is_pending()) json.set("pending", true);
    if (table.key_type != nullptr)
        add_object(json, key_members, record,
                   table.key_object(record.handle, KEL_TX_NONE, record.record), *table.key_type);
    void *object = table.object(record.handle, KEL_TX_NONE, record.record);
    if (object == nullptr) return json;
    const int variant = static_cast<kel_object *>(object)->variant;
    if (variant != top_variant(*table.type)) json.set("variant", variant);
    add_object(json, data_members, record, object, *table.type);
    return json;
}

}  // namespace

YangWriter::YangWriter(std::ostream &out, Unfit unfit) : out_(out), unfit_(std::move(unfit)) {
    out_ << R"({"tarnbase:tables":{"table":[)";
}

void YangWriter::begin_table(const Instance &instance) {
    table_ = cli::one_line(instance.full_name());
    Json head = Json::object();
    if (instance.block->open_mode != KEL_OPEN_BY_NAME) {
        head.set("id", std::to_string(instance.block->table_id));
    } else if (first_unfit_for_xml(instance.name()) == std::string::npos) {
        head.set("name", instance.name());
    } else {
        throw Failure(Exit::data, fmt::format("{}: YANG can't represent the table's name; {}",
                                              table_, other_forms));
    }
    std::string text = head.dump();
    text.pop_back();  // the brace: the records follow, one by one
    out_ << (first_table_ ? "\n" : ",\n") << text << fmt::format(",\"{}\":[", instance.table->name);
    first_table_ = false;
    first_record_ = true;
}

void YangWriter::write(const Record &record) {
    if (const auto field = unfit_field(record)) {
        const std::string objection = objection_to(record, *field, "YANG", table_);
        if (!unfit_.skip) throw Failure(Exit::data, fmt::format("{}; {}", objection, other_forms));
        unfit_.skip(objection);
        return;
    }
    out_ << (first_record_ ? "\n" : ",\n") << yang_json_of(record).dump();
    first_record_ = false;
}

void YangWriter::end_table() { out_ << "\n]}"; }

void YangWriter::end() { out_ << "\n]}}\n"; }

}  // namespace tarnctl
