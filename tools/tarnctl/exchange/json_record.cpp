// SPDX-License-Identifier: Apache-2.0
#include "exchange/json_record.h"

#include <fmt/core.h>

#include <algorithm>
#include <vector>

#include "base/failure.h"
#include "exchange/object_members.h"
#include "model/json.h"
#include "model/state.h"

namespace tarnctl {
namespace {

int64_t number_of(JsonView json, std::string_view name, int64_t smallest, int64_t largest) {
    const std::optional<int64_t> number = json.signed_number();
    if (!number || *number < smallest || *number > largest)
        throw Failure(Exit::data,
                      fmt::format("{}: expected a number from {} to {}", name, smallest, largest));
    return *number;
}

uint8_t flag_of(JsonView json, std::string_view name) {
    return static_cast<uint8_t>(number_of(json, name, 0, 255));
}

RecordHead head_of(JsonView json) {
    RecordHead head;
    if (const auto tenant = json.find("tenant"))
        head.tenant = static_cast<uint16_t>(number_of(*tenant, "tenant", 0, 65535));
    if (const auto source = json.find("source"))
        head.source = static_cast<uint8_t>(number_of(*source, "source", 0, 255));
    if (const auto variant = json.find("variant"))
        head.variant = static_cast<int>(number_of(*variant, "variant", -128, 127));
    if (const auto pending = json.find("pending")) {
        if (!pending->boolean()) throw Failure(Exit::data, "pending: expected true or false");
        head.pending = *pending->boolean();
    }
    head.tracked = json.find("state") || json.find("key_state");
    return head;
}

constexpr std::string_view known_members[] = {"tenant", "source",    "pending", "variant",
                                              "state",  "key_state", "key",     "fields"};

bool is_known(std::string_view member) {
    return std::find(std::begin(known_members), std::end(known_members), member) !=
           std::end(known_members);
}

class RecordReader {
 public:
    RecordReader(const JsonRecord &record, const JsonRecordForm &form, Draft &draft,
                 Sink::Place &where)
        : record_(record), form_(form), draft_(draft), where_(where) {}

    void read() {
        const Table &table = draft_.table();
        check_members(table);
        draft_.begin(head_of(record_.json));
        const auto fields = record_.json.find("fields");
        if (!fields && !form_.is_yang) throw Failure(Exit::data, "expected `fields`");
        if (fields && !fields->is_null())
            fill(*fields, data_members, draft_.make_object(), *table.type);
        const auto key = table.key_type == nullptr ? std::nullopt : record_.json.find("key");
        if (key) fill(*key, key_members, draft_.make_key_object(), *table.key_type);
    }

 private:
    void at(const std::string &member) { where_ = record_.place(record_.lines.of(member)); }

    void check_members(const Table &table) {
        if (!record_.json.is_object()) throw Failure(Exit::data, "expected a record, an object");
        const bool has_key = table.key_type != nullptr;
        for (const auto &[name, member] : record_.json.members()) {
            if (form_.lenient || (is_known(name) && (has_key || name != "key"))) continue;
            at(std::string(name));
            std::vector<std::string_view> known(std::begin(known_members), std::end(known_members));
            if (!has_key) std::erase(known, "key");
            throw no_such(Exit::data, "member of a record", name, known);
        }
    }

    void fill(JsonView json, const ObjectMembers &members, void *object,
              const Structure &structure) {
        JsonReading reading{form_.lenient, true, {}};
        try {
            set_fields_from_json(draft_.handle(), draft_.tx_id(), object, structure, json, reading);
        } catch (const Failure &) {
            at(reading.names.empty() ? members.fields
                                     : fmt::format("{}.{}", members.fields, reading.path()));
            throw;
        }
        const auto flags = record_.json.find(members.state);
        if (!flags) return;
        at(members.state);
        const auto set_flag = [&](std::string_view path, uint8_t flag) {
            set_state_flag(draft_.handle(), draft_.tx_id(), object, structure, std::string(path),
                           flag);
        };
        if (form_.is_yang) read_flag_list(*flags, members.state, set_flag);
        else read_flag_object(*flags, members.state, set_flag);
    }

    template <class Set>
    static void read_flag_object(JsonView json, std::string_view name, Set set) {
        if (!json.is_object())
            throw Failure(Exit::data, fmt::format("{}: expected an object", name));
        for (const auto &[path, flag] : json.members()) set(path, flag_of(flag, name));
    }

    template <class Set>
    static void read_flag_list(JsonView json, std::string_view name, Set set) {
        const auto expected = [name] {
            return Failure(Exit::data,
                           fmt::format("{}: expected a list of {{\"path\", \"flag\"}}", name));
        };
        if (!json.is_array()) throw expected();
        for (const JsonView &each : json.elements()) {
            const auto path = each.find("path");
            const auto flag = each.find("flag");
            if (!path || !path->string() || !flag) throw expected();
            set(*path->string(), flag_of(*flag, name));
        }
    }

    const JsonRecord &record_;
    const JsonRecordForm &form_;
    Draft &draft_;
    Sink::Place &where_;
};

}  // namespace

void read_json_record(const JsonRecord &record, const JsonRecordForm &form, Draft &draft,
                      Sink::Place &where) {
    RecordReader(record, form, draft, where).read();
}

}  // namespace tarnctl
