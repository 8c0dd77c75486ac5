// SPDX-License-Identifier: Apache-2.0
// The schema notation. A file is a sequence of lines; `#` starts a comment. An
// item starts at the left margin, its members are indented below it:
//
//   file        = { module | include | order | structure | enumeration | table
//                   | objects | notification }
//
//   module      = "module" name [text]                  module file only, first
//   include     = "include" path                        module file only
//   order       = "order"                               module file only
//                   { name }                            structures, then enumerations
//
//   structure   = "structure" name text [ "counters" | "time" ]
//                                                       a time: seconds, then nanoseconds
//                   [identity] { field } { variant }
//   field       = type [ "[" number "]" ] name text
//                 [ "unit" text ]                     of a number, where it is fixed
//                 [ measure ]
//   measure     = "counter" [text]                    of a number: it only grows, or begins again
//               | "gauge" [text]                      of a number, a boolean or an enumeration
//               | "label" [text]                      not of an array or a structure
//               | "plain"                             it is none of these
//                 the text is the measure's name, if that isn't the field's; "" is allowed in a
//                 structure that others contain: the measure has the name of their field
//                 by default numbers, booleans and enumerations are gauges, numbers of a
//                 structure with "counters" are counters, and everything else is plain
//   variant     = "variant" number                      1, 2, ... in order
//                   { field }
//                 each may say how many field numbers are valid up to it, if that
//                 is not the number of its fields:
//                   "numbers" number
//
//   enumeration = "enumeration" name text
//                   [identity] { name number [text] }   the values without a gap
//
//   table       = "table" name "of" structure [text]
//                   "key" field | "key" "structure" structure
//                   identity                            the luid is required
//                   [ "record_luid" luid ] [ "record_digest" digest ]
//                   [ "mib" number name ]               its place in the generated MIB
//                   { "object" name path }              the field follows a standard's object
//                   { "notify" name path }              what rises with each such event
//
//   objects     = "objects" name text                   a table of a standard MIB, its OID
//                   "index" name
//                   { name number syntax [ number number ] }
//                 the syntax is "integer", "unsigned", "counter", "truth", "text", "mac",
//                 "address" or "address_type"; two numbers limit integers, and a text's length
//
//   notification = "notification" name number text
//
//   identity    = [ "luid" luid ] [ "digest" digest ]   32 hexadecimal digits each
//
// A type is one of those in frame/kinds.h (u_int32, kel_vstring, ip_address, ...), an
// enumeration or a structure; `u_int8[N]` is an array.
#include "parser.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "lexer.h"

namespace tarnc {
namespace {

using Kind = Token::Kind;

constexpr const char *measures[] = {"counter", "gauge", "label", "plain"};

// Thrown to skip a line whose error has been reported.
struct BadLine {};

// Takes a line's tokens one after the other.
class Cursor {
 public:
    Cursor(const Line &line, Diagnostics &diagnostics) : line_(line), diagnostics_(diagnostics) {}

    bool done() const { return at_ == line_.tokens.size(); }
    bool at(Kind kind) const { return !done() && line_.tokens[at_].kind == kind; }
    bool at(const char *word) const { return at(Kind::word) && line_.tokens[at_].text == word; }
    Place place() const { return done() ? line_.end : line_.tokens[at_].place; }

    // Passes over a token that was tested already.
    const Token &skip() { return line_.tokens[at_++]; }

    const Token &take(Kind kind, const std::string &expected) {
        if (!at(kind)) fail(expected);
        return line_.tokens[at_++];
    }

    Name name(const std::string &expected) {
        const Token &token = take(Kind::word, expected);
        const bool plain = token.text.find_first_of("./-") == std::string::npos;
        if (!plain || (token.text[0] >= '0' && token.text[0] <= '9')) {
            --at_;
            fail(expected);
        }
        return {token.text, token.place};
    }

    syntax::Number number(const std::string &expected) {
        const Token &token = take(Kind::number, expected);
        if (token.text.size() > 9) {
            diagnostics_.report(token.place, "number too great", "at most 999999999");
            throw BadLine{};
        }
        return {std::stoull(token.text), token.place};
    }

    // A hexadecimal identity may look like a number or a word.
    Name hexadecimal(const std::string &expected) {
        const Token &token = at(Kind::number) ? skip() : take(Kind::word, expected);
        return {token.text, token.place};
    }

    std::string text(const std::string &expected) { return take(Kind::text, expected).text; }

    void end() {
        if (!done()) fail("the end of the line");
    }

    [[noreturn]] void fail(const std::string &expected) {
        const std::string wrong =
            done() ? "the line ends" : "found '" + line_.tokens[at_].text + "'";
        diagnostics_.report(place(), wrong, expected);
        throw BadLine{};
    }

 private:
    const Line &line_;
    Diagnostics &diagnostics_;
    std::size_t at_ = 0;
};

class Parser {
 public:
    Parser(syntax::Schema &schema, Diagnostics &diagnostics)
        : schema_(schema), diagnostics_(diagnostics) {}

    void file(const std::string &path, const Place &from, bool is_module);

 private:
    enum class Section { none, order, structure, enumeration, table, objects, skipped };

    void line(const Line &line);
    void item(Cursor &cursor);
    void module(Cursor &cursor);
    void include(Cursor &cursor);
    void order(Cursor &cursor);
    void structure(Cursor &cursor);
    void enumeration(Cursor &cursor);
    void table(Cursor &cursor);
    void objects(Cursor &cursor);
    void notification(Cursor &cursor);
    void member(Cursor &cursor);
    void structure_member(Cursor &cursor);
    void field_notes(Cursor &cursor, syntax::Field &field);
    void enumeration_member(Cursor &cursor);
    void table_member(Cursor &cursor);
    void key_line(Cursor &cursor, syntax::Table &table);
    bool mib_line(Cursor &cursor, syntax::Table &table);
    void objects_member(Cursor &cursor);
    bool identity_line(Cursor &cursor, syntax::Identity &identity, const char *luid,
                       const char *digest);
    void require_module_file(const Cursor &cursor, const char *line);

    syntax::Schema &schema_;
    Diagnostics &diagnostics_;
    Section section_ = Section::none;
    bool is_module_ = false;
    std::vector<Name> includes_;
};

void Parser::file(const std::string &path, const Place &from, bool is_module) {
    const auto name = std::make_shared<const std::string>(path);
    if (std::find(schema_.files.begin(), schema_.files.end(), path) != schema_.files.end()) {
        diagnostics_.report(from, path + " is included again", "each file once");
        return;
    }
    std::string content;
    if (!read_file(path, content)) {
        const Place place = from.file ? from : Place{name, 1, 1};
        diagnostics_.report(place, "can't read " + path, "a schema file");
        return;
    }
    schema_.files.push_back(path);
    is_module_ = is_module;
    section_ = Section::none;
    for (const Line &each : read_lines(name, content, diagnostics_)) {
        try {
            line(each);
        } catch (const BadLine &) {
        }
    }
    if (!is_module) return;
    if (!schema_.module)
        diagnostics_.report({name, 1, 1}, "no module line", "'module' and the module's name");
    const auto folder = std::filesystem::path(path).parent_path();
    const std::vector<Name> includes = std::move(includes_);
    for (const Name &each : includes) file((folder / each.text).string(), each.place, false);
}

void Parser::line(const Line &line) {
    Cursor cursor(line, diagnostics_);
    if (line.indented) {
        if (!line.broken) member(cursor);
    } else {
        // If the line is no item, its members are skipped too.
        section_ = Section::skipped;
        if (!line.broken) item(cursor);
    }
}

void Parser::item(Cursor &cursor) {
    const char *const expected =
        "'module', 'include', 'order', 'structure', 'enumeration', 'table', 'objects' or "
        "'notification'";
    if (!cursor.at(Kind::word)) cursor.fail(expected);
    if (cursor.at("module")) return module(cursor);
    if (cursor.at("include")) return include(cursor);
    if (cursor.at("order")) return order(cursor);
    if (cursor.at("structure")) return structure(cursor);
    if (cursor.at("enumeration")) return enumeration(cursor);
    if (cursor.at("table")) return table(cursor);
    if (cursor.at("objects")) return objects(cursor);
    if (cursor.at("notification")) return notification(cursor);
    cursor.fail(expected);
}

void Parser::order(Cursor &cursor) {
    const Place place = cursor.place();
    require_module_file(cursor, "order");
    cursor.skip();
    cursor.end();
    if (schema_.order_place) diagnostics_.report(place, "a second order", "one order");
    schema_.order_place = place;
    section_ = Section::order;
}

void Parser::structure(Cursor &cursor) {
    const Place place = cursor.place();
    cursor.skip();
    section_ = Section::structure;
    syntax::Structure &structure = schema_.structures.emplace_back();
    structure.variants.push_back({{0, place}, {}, {}});
    structure.name = cursor.name("the structure's name");
    structure.meaning = cursor.text("the structure's meaning in double quotes");
    structure.counts = cursor.at("counters");
    structure.is_time = cursor.at("time");
    if (structure.counts || structure.is_time) cursor.skip();
    if (!cursor.done()) cursor.fail("'counters', 'time' or the end of the line");
}

void Parser::enumeration(Cursor &cursor) {
    cursor.skip();
    section_ = Section::enumeration;
    syntax::Enumeration &enumeration = schema_.enumerations.emplace_back();
    enumeration.name = cursor.name("the enumeration's name");
    enumeration.meaning = cursor.text("the enumeration's meaning in double quotes");
    cursor.end();
}

void Parser::table(Cursor &cursor) {
    cursor.skip();
    section_ = Section::table;
    syntax::Table &table = schema_.tables.emplace_back();
    table.name = cursor.name("the table's name");
    if (!cursor.at("of")) cursor.fail("'of' and the structure of the table's objects");
    cursor.skip();
    table.type = cursor.name("the structure of the table's objects");
    if (cursor.at(Kind::text)) table.meaning = cursor.skip().text;
    cursor.end();
}

void Parser::objects(Cursor &cursor) {
    cursor.skip();
    section_ = Section::objects;
    syntax::StandardTable &table = schema_.standard_tables.emplace_back();
    table.name = cursor.name("the name of a table of a standard MIB");
    const Token &oid = cursor.take(Kind::text, "the table's object identifier in double quotes");
    table.oid = {oid.text, oid.place};
    cursor.end();
}

void Parser::notification(Cursor &cursor) {
    cursor.skip();
    section_ = Section::none;
    syntax::Notification &notification = schema_.notifications.emplace_back();
    notification.name = cursor.name("the notification's name");
    notification.number = cursor.number("the notification's number");
    notification.meaning = cursor.text("the notification's meaning in double quotes");
    cursor.end();
}

void Parser::require_module_file(const Cursor &cursor, const char *line) {
    if (is_module_) return;
    diagnostics_.report(cursor.place(), std::string("'") + line + "' in an included file",
                        "it in the module file only");
    throw BadLine{};
}

void Parser::module(Cursor &cursor) {
    require_module_file(cursor, "module");
    const Place place = cursor.skip().place;
    if (schema_.module) {
        diagnostics_.report(place, "a second module line", "one module");
        throw BadLine{};
    }
    section_ = Section::none;
    schema_.module = cursor.name("the module's name");
    if (cursor.at(Kind::text)) schema_.meaning = cursor.skip().text;
    cursor.end();
}

void Parser::include(Cursor &cursor) {
    require_module_file(cursor, "include");
    cursor.skip();
    const Token &path = cursor.take(Kind::word, "the path of a schema file");
    cursor.end();
    section_ = Section::none;
    includes_.push_back({path.text, path.place});
}

void Parser::member(Cursor &cursor) {
    switch (section_) {
        case Section::order:
            schema_.order.push_back(cursor.name("the name of a structure or an enumeration"));
            cursor.end();
            break;
        case Section::structure:
            structure_member(cursor);
            break;
        case Section::enumeration:
            enumeration_member(cursor);
            break;
        case Section::table:
            table_member(cursor);
            break;
        case Section::objects:
            objects_member(cursor);
            break;
        case Section::skipped:
            break;
        case Section::none:
            diagnostics_.report(cursor.place(), "an indented line outside an item",
                                "an item at the left margin");
    }
}

bool Parser::identity_line(Cursor &cursor, syntax::Identity &identity, const char *luid,
                           const char *digest) {
    const bool is_luid = cursor.at(luid);
    if (!is_luid && !cursor.at(digest)) return false;
    const Token line = cursor.skip();
    std::optional<Name> &place = is_luid ? identity.luid : identity.digest;
    if (place) diagnostics_.report(line.place, "a second " + line.text, "one of an item");
    place = cursor.hexadecimal("32 lower-case hexadecimal digits");
    cursor.end();
    return true;
}

void Parser::structure_member(Cursor &cursor) {
    syntax::Structure &structure = schema_.structures.back();
    if (identity_line(cursor, structure.identity, "luid", "digest")) return;
    if (cursor.at("variant")) {
        cursor.skip();
        structure.variants.push_back({cursor.number("the variant's number"), {}, {}});
        return cursor.end();
    }
    if (cursor.at("numbers")) {
        cursor.skip();
        structure.variants.back().field_numbers = cursor.number("the count of field numbers");
        return cursor.end();
    }
    syntax::Field field;
    field.type = cursor.name("a field: its type, its name and its meaning");
    if (cursor.at(Kind::open_bracket)) {
        cursor.skip();
        field.elements = cursor.number("the count of elements");
        cursor.take(Kind::close_bracket, "']'");
    }
    field.name = cursor.name("the field's name");
    field.meaning = cursor.text("the field's meaning in double quotes");
    field_notes(cursor, field);
    structure.variants.back().fields.push_back(std::move(field));
}

void Parser::field_notes(Cursor &cursor, syntax::Field &field) {
    if (cursor.at("unit")) {
        cursor.skip();
        field.unit = {cursor.place(), cursor.text("the unit in double quotes")};
    }
    if (cursor.done()) return;
    const bool is_measure = std::any_of(std::begin(measures), std::end(measures),
                                        [&](const char *each) { return cursor.at(each); });
    if (!is_measure) {
        cursor.fail(std::string(field.unit ? "" : "'unit', ") +
                    "'counter', 'gauge', 'label', 'plain' or the end of the line");
    }
    const Token &word = cursor.skip();
    field.measure = {{word.text, word.place}, {}};
    if (word.text != "plain" && cursor.at(Kind::text))
        field.measure->name = Name{cursor.skip().text, word.place};
    cursor.end();
}

void Parser::enumeration_member(Cursor &cursor) {
    syntax::Enumeration &enumeration = schema_.enumerations.back();
    if (identity_line(cursor, enumeration.identity, "luid", "digest")) return;
    syntax::Enumerator enumerator;
    enumerator.name = cursor.name("an enumerator: its name and its value");
    enumerator.value = cursor.number("the enumerator's value");
    if (cursor.at(Kind::text)) enumerator.meaning = cursor.skip().text;
    cursor.end();
    enumeration.enumerators.push_back(std::move(enumerator));
}

void Parser::table_member(Cursor &cursor) {
    syntax::Table &table = schema_.tables.back();
    if (identity_line(cursor, table.identity, "luid", "digest")) return;
    if (identity_line(cursor, table.record_identity, "record_luid", "record_digest")) return;
    if (mib_line(cursor, table)) return;
    if (!cursor.at("key"))
        cursor.fail(
            "'key', 'luid', 'digest', 'record_luid', 'record_digest', 'mib', 'object' or "
            "'notify'");
    key_line(cursor, table);
}

void Parser::key_line(Cursor &cursor, syntax::Table &table) {
    const Token key = cursor.skip();
    if (table.key) diagnostics_.report(key.place, "a second key", "one key of a table");
    table.keyed_by_structure = cursor.at("structure");
    if (table.keyed_by_structure) cursor.skip();
    table.key =
        cursor.name(table.keyed_by_structure ? "the key structure's name" : "the key field's name");
    cursor.end();
}

bool Parser::mib_line(Cursor &cursor, syntax::Table &table) {
    if (cursor.at("mib")) {
        const Token line = cursor.skip();
        if (table.mib) diagnostics_.report(line.place, "a second mib", "one of a table");
        const syntax::Number number = cursor.number("the table's number in the MIB");
        table.mib = {number, cursor.name("the table's name in the MIB")};
        cursor.end();
        return true;
    }
    const bool is_object = cursor.at("object");
    if (!is_object && !cursor.at("notify")) return false;
    cursor.skip();
    const Name name = cursor.name(is_object ? "the object's name" : "the notification's name");
    const Token &path = cursor.take(Kind::word, "the path of a field");
    (is_object ? table.objects : table.events).push_back({name, {path.text, path.place}});
    cursor.end();
    return true;
}

void Parser::objects_member(Cursor &cursor) {
    syntax::StandardTable &table = schema_.standard_tables.back();
    if (cursor.at("index")) {
        const Token line = cursor.skip();
        if (table.index) diagnostics_.report(line.place, "a second index", "one of a table");
        table.index = cursor.name("the object that is the table's index");
        return cursor.end();
    }
    syntax::StandardColumn &column = table.columns.emplace_back();
    column.name = cursor.name("'index', or an object: its name, its number and its syntax");
    column.number = cursor.number("the object's number");
    column.syntax = cursor.name("the object's syntax");
    if (cursor.done()) return;
    column.low = cursor.number("the least value, or the end of the line");
    column.high = cursor.number("the greatest value");
    cursor.end();
}

}  // namespace

syntax::Schema parse_schema(const std::string &path, Diagnostics &diagnostics) {
    syntax::Schema schema;
    Parser(schema, diagnostics).file(path, {}, true);
    return schema;
}

}  // namespace tarnc
