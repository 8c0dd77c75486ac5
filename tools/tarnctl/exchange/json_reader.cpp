// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "base/hex.h"
#include "base/utf8.h"
#include "exchange/json_parser.h"
#include "exchange/sink.h"
#include "model/state.h"

namespace tarnctl {
namespace {

// Where the document is: the objects and arrays that are open around what comes next.
enum class Level { outside, root, document, tables, table, records };

class JsonReader : public JsonEvents {
 public:
    JsonReader(Input &input, const ReadOptions &options, Sink &sink)
        : input_(input), options_(options), sink_(sink) {}

    void finish() const {
        if (!complete_) fail("expected {\"tarnbase\": {\"format\": 1, \"tables\": [...]}}");
    }

    // Values that the frame of the document doesn't open itself come whole.
    bool opens(bool array) override {
        switch (level_) {
            case Level::outside:
                return enter(!array, Level::root, "an object");
            case Level::root:
                return member_ == "tarnbase" && enter(!array, Level::document, "an object");
            case Level::document:
                if (member_ == "tables" && !has_format_)
                    fail("expected `format` ahead of `tables`");
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

    void value(const Json &json, const JsonLines &lines) override {
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

    // What is wrong with the document is told with the line.
    template <class Function>
    void at_line(Function function) {
        try {
            function();
        } catch (const Failure &failure) {
            if (failure.code() != Exit::data) throw;
            fail(failure.what());
        }
    }

    // A member that nobody knows.
    void stranger(const std::vector<std::string_view> &known) const {
        if (!options_.lenient) throw no_such(Exit::data, "member", one_line(member_), known);
    }

    void take_member(const Json &json) {
        if (level_ == Level::root) stranger({"tarnbase"});
        else if (level_ == Level::document) take_format(json);
        else if (level_ == Level::table) take_table_member(json);
        else
            throw Failure(Exit::data, level_ == Level::tables ? "expected a table, an object"
                                                              : "expected {\"tarnbase\": ...}");
    }

    void take_format(const Json &json) {
        if (member_ == "tables") throw Failure(Exit::data, "tables: expected an array");
        if (member_ != "format") {
            stranger({"format", "tables"});
            return;
        }
        if (json != format_version)
            throw Failure(Exit::data, fmt::format("format: expected {}, not {}{}", format_version,
                                                  json.dump(), advice_on_version(json.dump())));
        has_format_ = true;
    }

    void begin_table() {
        head_ = {};
        named_ = open_ = false;
    }

    void take_table_member(const Json &json) {
        if (member_ == "table") take_type(json);
        else if (member_ == "name") take_name(json);
        else if (member_ == "id") take_id(json);
        else if (member_ == "records") throw Failure(Exit::data, "records: expected an array");
        else stranger({"table", "name", "id", "records"});
    }

    void take_type(const Json &json) {
        if (!json.is_string()) throw Failure(Exit::data, "table: expected a table's name");
        head_.table = &table_in_document(json.get<std::string>());
    }

    void take_name(const Json &json) {
        const bool is_hex =
            json.is_object() && json.size() == 1 && json.contains("hex") && json["hex"].is_string();
        if (json.is_string()) head_.name = json.get<std::string>();
        else if (is_hex) head_.name = bytes_of_hex(json["hex"].get<std::string>(), "name");
        else throw Failure(Exit::data, "name: expected a string or {\"hex\": \"00ff\"}");
        named_ = true;
    }

    void take_id(const Json &json) {
        if (!json.is_number_unsigned()) throw Failure(Exit::data, "id: expected a number");
        head_.id = json.get<uint64_t>();
        named_ = true;
    }

    void open_table() {
        if (head_.table == nullptr || !named_)
            fail("expected `table` and `name` (or `id`) ahead of `records`");
        if (open_) fail("records: it is given twice");
        open_ = true;
        at_line([&] { sink_.begin_table(head_); });
    }

    const Json *member_of(const Json &json, const char *name) const {
        const auto found = json.find(name);
        return found == json.end() ? nullptr : &*found;
    }

    static int64_t number_of(const Json &json, std::string_view name, int64_t smallest,
                             int64_t largest) {
        const bool fits = json.is_number_integer() &&
                          (!json.is_number_unsigned() || json.get<uint64_t>() <= INT64_MAX) &&
                          json.get<int64_t>() >= smallest && json.get<int64_t>() <= largest;
        if (!fits)
            throw Failure(Exit::data, fmt::format("{}: expected a number from {} to {}", name,
                                                  smallest, largest));
        return json.get<int64_t>();
    }

    RecordHead head_of(const Json &json) const {
        RecordHead head;
        if (const Json *tenant = member_of(json, "tenant"))
            head.tenant = static_cast<uint16_t>(number_of(*tenant, "tenant", 0, 65535));
        if (const Json *source = member_of(json, "source"))
            head.source = static_cast<uint8_t>(number_of(*source, "source", 0, 255));
        if (const Json *variant = member_of(json, "variant"))
            head.variant = static_cast<int>(number_of(*variant, "variant", -128, 127));
        if (const Json *pending = member_of(json, "pending")) {
            if (!pending->is_boolean())
                throw Failure(Exit::data, "pending: expected true or false");
            head.pending = pending->get<bool>();
        }
        head.tracked = json.contains("state") || json.contains("key_state");
        return head;
    }

    void check_members(const Json &json, const Table &table, const JsonLines &lines,
                       std::string &where) const {
        if (!json.is_object()) throw Failure(Exit::data, "expected a record, an object");
        std::vector<std::string_view> known{"tenant", "source",    "pending", "variant",
                                            "state",  "key_state", "key",     "fields"};
        if (table.key_type == nullptr) std::erase(known, "key");
        for (const auto &[name, member] : json.items()) {
            if (options_.lenient || std::find(known.begin(), known.end(), name) != known.end())
                continue;
            where = place(lines.of(name));
            throw no_such(Exit::data, "member of a record", name, known);
        }
    }

    void build(const Json &json, const JsonLines &lines, Draft &draft, std::string &where) const {
        const Table &table = draft.table();
        check_members(json, table, lines, where);
        draft.begin(head_of(json));
        const Json *fields = member_of(json, "fields");
        if (fields == nullptr) throw Failure(Exit::data, "expected `fields`");
        if (!fields->is_null())
            fill(json, "fields", "state", draft, draft.make_object(), *table.type, lines, where);
        if (table.key_type != nullptr && json.contains("key"))
            fill(json, "key", "key_state", draft, draft.make_key_object(), *table.key_type, lines,
                 where);
    }

    void fill(const Json &json, const std::string &member, const char *state, Draft &draft,
              void *object, const Structure &structure, const JsonLines &lines,
              std::string &where) const {
        JsonReading reading{options_.lenient, true, ""};
        try {
            set_fields_from_json(draft.handle(), draft.tx_id(), object, structure, json[member],
                                 reading);
        } catch (const Failure &) {
            where = place(lines.of(reading.path.empty() ? member : member + "." + reading.path));
            throw;
        }
        const Json *flags = member_of(json, state);
        if (flags == nullptr) return;
        where = place(lines.of(state));
        if (!flags->is_object())
            throw Failure(Exit::data, fmt::format("{}: expected an object", state));
        for (const auto &[path, flag] : flags->items())
            set_state_flag(draft.handle(), draft.tx_id(), object, structure, path,
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
