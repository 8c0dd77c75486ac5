// SPDX-License-Identifier: Apache-2.0
#include <fmt/core.h>

#include <algorithm>
#include <iterator>
#include <unordered_map>

#include "base/utf8.h"
#include "exchange/json_parser.h"
#include "exchange/sink.h"
#include "model/json.h"
#include "model/state.h"

namespace tarnctl {
namespace {

// The objects and arrays that are open.
enum class Level { outside, root, document, tables, table, records };

class JsonReader : public JsonEvents {
 public:
    JsonReader(Input &input, const ReadOptions &options, Sink &sink)
        : input_(input), options_(options), sink_(sink) {}

    void finish() const {
        if (!complete_) fail("expected {\"tarnbase\": {\"format\": 1, \"tables\": [...]}}");
    }

    // Returns false for values that are read as a whole.
    bool opens(bool array) override {
        switch (level_) {
            case Level::outside:
                return enter(!array, Level::root, "an object");
            case Level::root:
                return member_ == "tarnbase" && enter(!array, Level::document, "an object");
            case Level::document:
                if (member_ == "tables" && !has_format_) fail("expected `format` before `tables`");
                return member_ == "tables" && enter(array, Level::tables, "an array");
            case Level::tables:
                begin_table();
                return enter(!array, Level::table, "an object");
            case Level::table:
                if (member_ != "records") return false;
                if (array) open_table();
                return enter(array, Level::records, "an array");
            default:
                return false;
        }
    }

    void closes() override {
        if (level_ == Level::document) complete_ = has_tables_;
        if (level_ == Level::table && !open_) fail("expected `records`, an array");
        level_ = static_cast<Level>(static_cast<int>(level_) - 1);
    }

    void member(const std::string &name) override { member_ = name; }

    void value(JsonView json, const JsonLines &lines) override {
        if (level_ == Level::records) {
            sink_.take(place(lines.begin),
                       [&](Draft &draft, std::string &where) { build(json, lines, draft, where); });
            return;
        }
        at_line([&] { take_member(json); });
    }

    [[noreturn]] void fail(const std::string &text) const override {
        throw wrong(place(input_.line()), text);
    }

 private:
    std::string place(uint64_t line) const { return fmt::format("{}:{}", input_.name(), line); }

    bool enter(bool fits, Level level, std::string_view expected) {
        if (!fits) fail(fmt::format("{}: expected {}", member_, expected));
        level_ = level;
        if (level == Level::tables) has_tables_ = true;
        return true;
    }

    // Adds the line to errors of the document.
    template <class Function>
    void at_line(Function function) {
        try {
            function();
        } catch (const Failure &failure) {
            if (failure.code() != Exit::data) throw;
            fail(failure.what());
        }
    }

    // An unknown member.
    void unknown_member(const std::vector<std::string_view> &known) const {
        if (!options_.lenient) throw no_such(Exit::data, "member", one_line(member_), known);
    }

    void take_member(JsonView json) {
        if (level_ == Level::root) unknown_member({"tarnbase"});
        else if (level_ == Level::document) take_format(json);
        else if (level_ == Level::table) take_table_member(json);
        else
            throw Failure(Exit::data, level_ == Level::tables ? "expected a table, an object"
                                                              : "expected {\"tarnbase\": ...}");
    }

    void take_format(JsonView json) {
        if (member_ == "tables") throw Failure(Exit::data, "tables: expected an array");
        if (member_ != "format") {
            unknown_member({"format", "tables"});
            return;
        }
        if (!json.equals(format_version))
            throw Failure(Exit::data, fmt::format("format: expected {}, not {}{}", format_version,
                                                  json.dump(), advice_on_version(json.dump())));
        has_format_ = true;
    }

    void begin_table() {
        head_ = {};
        named_ = open_ = false;
    }

    void take_table_member(JsonView json) {
        if (member_ == "table") take_type(json);
        else if (member_ == "name") take_name(json);
        else if (member_ == "id") take_id(json);
        else if (member_ == "records") throw Failure(Exit::data, "records: expected an array");
        else unknown_member({"table", "name", "id", "records"});
    }

    void take_type(JsonView json) {
        const auto name = json.string();
        if (!name) throw Failure(Exit::data, "table: expected a table's name");
        head_.table = &table_in_document(std::string(*name));
    }

    void take_name(JsonView json) {
        const auto name = bytes_of_json(json, "name");
        if (!name) throw Failure(Exit::data, "name: expected a string or {\"hex\": \"00ff\"}");
        head_.name = *name;
        named_ = true;
    }

    void take_id(JsonView json) {
        head_.id = json.unsigned_number();
        if (!head_.id) throw Failure(Exit::data, "id: expected a number");
        named_ = true;
    }

    void open_table() {
        if (head_.table == nullptr || !named_)
            fail("expected `table` and `name` (or `id`) before `records`");
        if (open_) fail("records: it is given twice");
        open_ = true;
        at_line([&] { sink_.begin_table(head_); });
    }

    static int64_t number_of(JsonView json, std::string_view name, int64_t smallest,
                             int64_t largest) {
        const std::optional<int64_t> number = json.signed_number();
        if (!number || *number < smallest || *number > largest)
            throw Failure(Exit::data, fmt::format("{}: expected a number from {} to {}", name,
                                                  smallest, largest));
        return *number;
    }

    RecordHead head_of(JsonView json) const {
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

    void check_members(JsonView json, const Table &table, const JsonLines &lines,
                       std::string &where) const {
        if (!json.is_object()) throw Failure(Exit::data, "expected a record, an object");
        std::vector<std::string_view> known{"tenant", "source",    "pending", "variant",
                                            "state",  "key_state", "key",     "fields"};
        if (table.key_type == nullptr) std::erase(known, "key");
        for (const auto &[name, member] : json.members()) {
            if (options_.lenient || std::find(known.begin(), known.end(), name) != known.end())
                continue;
            where = place(lines.of(std::string(name)));
            throw no_such(Exit::data, "member of a record", name, known);
        }
    }

    void build(JsonView json, const JsonLines &lines, Draft &draft, std::string &where) const {
        const Table &table = draft.table();
        check_members(json, table, lines, where);
        draft.begin(head_of(json));
        const auto fields = json.find("fields");
        if (!fields) throw Failure(Exit::data, "expected `fields`");
        if (!fields->is_null())
            fill(json, *fields, "fields", "state", draft, draft.make_object(), *table.type, lines,
                 where);
        const auto key = table.key_type == nullptr ? std::nullopt : json.find("key");
        if (key)
            fill(json, *key, "key", "key_state", draft, draft.make_key_object(), *table.key_type,
                 lines, where);
    }

    void fill(JsonView record, JsonView json, const std::string &member, const char *state,
              Draft &draft, void *object, const Structure &structure, const JsonLines &lines,
              std::string &where) const {
        JsonReading reading{options_.lenient, true, ""};
        try {
            set_fields_from_json(draft.handle(), draft.tx_id(), object, structure, json, reading);
        } catch (const Failure &) {
            where = place(lines.of(reading.path.empty() ? member : member + "." + reading.path));
            throw;
        }
        const auto flags = record.find(state);
        if (!flags) return;
        where = place(lines.of(state));
        if (!flags->is_object())
            throw Failure(Exit::data, fmt::format("{}: expected an object", state));
        for (const auto &[path, flag] : flags->members())
            set_state_flag(draft.handle(), draft.tx_id(), object, structure, std::string(path),
                           static_cast<uint8_t>(number_of(flag, state, 0, 255)));
    }

    Input &input_;
    const ReadOptions &options_;
    Sink &sink_;
    Level level_ = Level::outside;
    std::string member_;
    TableHead head_;
    bool has_format_ = false;
    bool has_tables_ = false;
    bool complete_ = false;
    bool named_ = false;
    bool open_ = false;
};

}  // namespace

void read_json(Input &input, const ReadOptions &options, Sink &sink) {
    JsonReader reader(input, options, sink);
    parse_json(input, reader);
    reader.finish();
}

}  // namespace tarnctl
