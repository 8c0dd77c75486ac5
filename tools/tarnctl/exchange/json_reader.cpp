// SPDX-License-Identifier: Apache-2.0
#include <fmt/core.h>

#include <charconv>
#include <optional>

#include "cli/utf8.h"
#include "exchange/json_parser.h"
#include "exchange/json_record.h"
#include "exchange/sink.h"
#include "model/json.h"

namespace tarnctl {
namespace {

// The objects and arrays that are open.
enum class Level { outside, root, document, tables, table, records };

// How the two forms in JSON differ (json_writer.h, yang_writer.h).
struct Dialect {
    std::string_view root;      // member with the document
    std::string_view tables;    // member of the document with the tables
    std::string_view expected;  // the beginning
    bool is_yang;
};
constexpr Dialect plain{"tarnbase", "tables", "{\"tarnbase\": {\"format\": 1, \"tables\": [...]}}",
                        false};
constexpr Dialect yang{"tarnbase:tables", "table", "{\"tarnbase:tables\": {\"table\": [...]}}",
                       true};

// A number, or in YANG's form its digits.
std::optional<uint64_t> id_of(JsonView json) {
    const auto text = json.string();
    if (!text) return json.unsigned_number();
    uint64_t id = 0;
    const auto [stop, error] = std::from_chars(text->data(), text->data() + text->size(), id);
    const bool is_whole = error == std::errc() && stop == text->data() + text->size();
    return is_whole ? std::optional(id) : std::nullopt;
}

class JsonReader : public JsonEvents {
 public:
    JsonReader(Input &input, const ReadOptions &options, const Dialect &dialect, Sink &sink)
        : input_(input),
          options_(options),
          dialect_(dialect),
          sink_(sink),
          has_format_(dialect.is_yang) {}

    void finish() const {
        if (!complete_) fail(fmt::format("expected {}", dialect_.expected));
    }

    // Returns false for values that are read as a whole.
    bool opens(bool array) override {
        switch (level_) {
            case Level::outside:
                return enter(!array, Level::root, "an object");
            case Level::root:
                return member_ == dialect_.root && enter(!array, Level::document, "an object");
            case Level::document:
                if (member_ != dialect_.tables) return false;
                if (!has_format_) fail("expected `format` before `tables`");
                return enter(array, Level::tables, "an array");
            case Level::tables:
                begin_table();
                return enter(!array, Level::table, "an object");
            case Level::table:
                if (!is_records()) return false;
                if (array) open_table();
                return enter(array, Level::records, "an array");
            default:
                return false;
        }
    }

    void closes() override {
        if (level_ == Level::document) complete_ = has_tables_;
        if (level_ == Level::table && !open_)
            fail(dialect_.is_yang ? "expected the records, an array named as the table's type"
                                  : "expected `records`, an array");
        level_ = static_cast<Level>(static_cast<int>(level_) - 1);
    }

    void member(const std::string &name) override { member_ = name; }

    void value(JsonView json, const JsonLines &lines) override {
        if (level_ == Level::records) {
            sink_.take(place_of(lines.begin), [&](Draft &draft, Sink::Place &where) {
                const JsonRecord record{json, lines,
                                        [this](uint64_t line) { return place_of(line); }};
                read_json_record(record, {options_.lenient, dialect_.is_yang}, draft, where);
            });
            return;
        }
        at_line([&] { take_member(json); });
    }

    [[noreturn]] void fail(const std::string &text) const override {
        throw wrong(place(input_.line()), text);
    }

 private:
    std::string place(uint64_t line) const { return fmt::format("{}:{}", input_.name(), line); }
    Sink::Place place_of(uint64_t line) const {
        return [this, line] { return place(line); };
    }

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

    // Whether the member of a table is its records: in YANG's form the table's type is their name.
    bool is_records() const {
        if (!dialect_.is_yang) return member_ == "records";
        return member_ != "name" && member_ != "id" &&
               (!options_.lenient || catalogue.table(member_) != nullptr);
    }

    // An unknown member.
    void unknown_member(const std::vector<std::string_view> &known) const {
        if (!options_.lenient) throw no_such(Exit::data, "member", cli::one_line(member_), known);
    }

    void take_member(JsonView json) {
        if (level_ == Level::root) unknown_member({dialect_.root});
        else if (level_ == Level::document) take_format(json);
        else if (level_ == Level::table) take_table_member(json);
        else
            throw Failure(Exit::data, level_ == Level::tables
                                          ? "expected a table, an object"
                                          : fmt::format("expected {{\"{}\": ...}}", dialect_.root));
    }

    void take_format(JsonView json) {
        if (member_ == dialect_.tables)
            throw Failure(Exit::data, fmt::format("{}: expected an array", member_));
        if (member_ != "format" || dialect_.is_yang) {
            unknown_member({dialect_.is_yang ? "" : "format", dialect_.tables});
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
        if (member_ == "table" && !dialect_.is_yang) take_type(json);
        else if (member_ == "name") take_name(json);
        else if (member_ == "id") take_id(json);
        else if (is_records())
            throw Failure(Exit::data, fmt::format("{}: expected an array", member_));
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
        head_.id = id_of(json);
        if (!head_.id) throw Failure(Exit::data, "id: expected a number");
        named_ = true;
    }

    void open_table() {
        if (dialect_.is_yang) at_line([&] { head_.table = &table_in_document(member_); });
        if (head_.table == nullptr || !named_)
            fail("expected `table` and `name` (or `id`) before `records`");
        if (open_) fail("records: it is given twice");
        open_ = true;
        at_line([&] { sink_.begin_table(head_); });
    }

    Input &input_;
    const ReadOptions &options_;
    const Dialect &dialect_;
    Sink &sink_;
    Level level_ = Level::outside;
    std::string member_;
    TableHead head_;
    bool has_format_;
    bool has_tables_ = false;
    bool complete_ = false;
    bool named_ = false;
    bool open_ = false;
};

void read(Input &input, const ReadOptions &options, const Dialect &dialect, Sink &sink) {
    JsonReader reader(input, options, dialect, sink);
    parse_json(input, reader);
    reader.finish();
}

}  // namespace

void read_json(Input &input, const ReadOptions &options, Sink &sink) {
    read(input, options, plain, sink);
}

void read_yang_json(Input &input, const ReadOptions &options, Sink &sink) {
    read(input, options, yang, sink);
}

}  // namespace tarnctl
