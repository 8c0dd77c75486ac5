// SPDX-License-Identifier: Apache-2.0
#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <string>
#include <vector>

#include "exchange/sink.h"
#include "exchange/xml_parser.h"
#include "exchange/xml_text.h"
#include "exchange/xml_writer.h"
#include "model/json.h"
#include "model/state.h"

namespace tarnctl {
namespace {

template <class Number>
bool parse(std::string_view text, Number &number) {
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end && !text.empty();
}

template <class Number>
Number number_of(std::string_view name, std::string_view text, Number smallest, Number largest) {
    Number number{};
    if (!parse(text, number) || number < smallest || number > largest)
        throw Failure(Exit::data, fmt::format("{}: expected a number from {} to {}, not `{}`", name,
                                              smallest, largest, text));
    return number;
}

// Fills an object from an element.
struct Target {
    kel_handle *handle;
    uint32_t tx_id;
    void *object;
    const ReadOptions &options;
    uint64_t &line;  // of what is being read
};

void refuse_text(const XmlElement &element, std::string_view expected) {
    if (element.has_no_text()) return;
    throw Failure(Exit::data, fmt::format("`{}`: expected {}, not text", element.name(), expected));
}

void refuse_children(const XmlElement &element, std::string_view name) {
    for (const XmlElement child : element.children())
        throw Failure(Exit::data,
                      fmt::format("{}: expected text, not the element `{}`", name, child.name()));
}

bool is_escaped(const XmlElement &element) {
    const auto escaped = element.attribute("escaped");
    if (!escaped || *escaped == "false") return false;
    if (*escaped == "true") return true;
    throw Failure(Exit::data, fmt::format("`{}`: escaped: expected true or false", element.name()));
}

void set_enumeration(Value &value, const XmlElement &element) {
    if (is_escaped(element)) {
        refuse_children(element, value.name());
        return value.restore_number(
            number_of<uint32_t>(value.name(), element.text(), 0, UINT32_MAX));
    }
    refuse_text(element, "an enumerator's element");
    std::vector<std::string_view> names;
    for (const XmlElement child : element.children()) names.push_back(child.name());
    if (names.size() != 1)
        throw Failure(Exit::data, fmt::format("{}: expected the element of one enumerator of {}",
                                              value.name(), value.field().enumeration->name));
    value.set_text(names.front());
}

void set_leaf(const Target &target, const Path &path, const XmlElement &element, uint32_t index) {
    Value value(target.handle, target.tx_id, target.object, path);
    if (!value.present())
        throw Failure(Exit::data,
                      fmt::format("{}: the object's variant is too old to have it", value.name()));
    if (value.field().kind == Kind::enumeration) {
        set_enumeration(value, element);
        return;
    }
    refuse_children(element, value.name());
    if (value.field().kind == Kind::vstring && is_escaped(element))
        return value.set_text(unescape_unfit(element.text(), value.name()));
    if (!value.is_whole_array()) {
        value.set_text(element.text());
        return;
    }
    if (index >= path.leaf().elements)
        throw Failure(Exit::data, fmt::format("{}: the array has {} elements", value.name(),
                                              path.leaf().elements));
    const std::string name = fmt::format("{}[{}]", value.name(), index);
    value.set_number(number_of<uint32_t>(name, element.text(), 0, 255), index);
}

const Field *field_of(const Structure &structure, const XmlElement &element,
                      const ReadOptions &options, std::size_t last) {
    const Field *field = find_field(structure, element.name(), last);
    if (field != nullptr || options.lenient) return field;
    std::vector<std::string_view> names;
    for (const Field &each : structure.fields) names.push_back(each.name);
    throw no_such(Exit::data, fmt::format("field of {}", structure.name), element.name(), names);
}

// `seen` counts the elements of each field.
void check_lengths(const Structure &structure, const std::vector<uint32_t> &seen) {
    for (std::size_t i = 0; i < seen.size(); ++i) {
        const Field &field = structure.fields[i];
        if (field.elements == 0 || seen[i] == 0 || seen[i] == field.elements) continue;
        throw Failure(Exit::data, fmt::format("{}: expected {} elements, not {}", field.name,
                                              field.elements, seen[i]));
    }
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as structures nest
void set_fields(const Target &target, const Structure &structure, Path &path,
                const XmlElement &element) {
    refuse_text(element, "elements of fields");
    std::vector<uint32_t> seen(structure.fields.size());
    std::size_t last = 0;
    for (const XmlElement child : element.children()) {
        target.line = child.line();
        const Field *field = field_of(structure, child, target.options, last);
        if (field == nullptr) continue;
        last = static_cast<std::size_t>(field - structure.fields.data());
        const uint32_t index = seen[last]++;
        path.fields.push_back(field);
        path.whole_array = field->kind == Kind::array;
        if (index > 0 && !path.whole_array)
            throw Failure(Exit::data, fmt::format("{}: it is given twice", path.text()));
        if (field->structure != nullptr) set_fields(target, *field->structure, path, child);
        else set_leaf(target, path, child, index);
        path.fields.pop_back();
    }
    target.line = element.line();
    check_lengths(structure, seen);
}

// "num_conns=2 minute[5]=1"
void set_state(Draft &draft, void *object, const Structure &structure, std::string_view name,
               std::string_view text) {
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = std::min(rest.find(' '), rest.size());
        const std::string_view item = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (item.empty()) continue;
        const std::size_t equals = item.find('=');
        if (equals == std::string_view::npos)
            throw Failure(Exit::data,
                          fmt::format("{}: expected `FIELD=FLAG`, not `{}`", name, item));
        const auto flag = number_of<uint32_t>(name, item.substr(equals + 1), 0, 255);
        set_state_flag(draft.handle(), draft.tx_id(), object, structure,
                       std::string(item.substr(0, equals)), static_cast<uint8_t>(flag));
    }
}

class XmlReader {
 public:
    XmlReader(Input &input, const ReadOptions &options, Sink &sink)
        : input_(input), options_(options), sink_(sink), parser_(input) {}

    void read() {
        const auto root = parser_.next();
        const std::string_view name = root ? root->name() : "";
        const uint64_t line = root ? root->line() : 0;
        if (name != "tarnbase")
            parser_.fail(line, fmt::format("expected the root element `tarnbase`, not `{}`", name));
        at_line(line, [&] {
            check_attributes(*root, {"format"});
            const std::string_view format = needed(*root, "format");
            if (format != std::to_string(format_version))
                throw Failure(Exit::data,
                              fmt::format("expected format=\"{}\", not \"{}\"{}", format_version,
                                          format, advice_on_version(format)));
        });
        while (const auto element = parser_.next()) read_table(*element);
        parser_.finish();
    }

 private:
    // Adds the line to errors of the document.
    template <class Function>
    void at_line(uint64_t line, Function function) {
        try {
            function();
        } catch (const Failure &failure) {
            if (failure.code() != Exit::data) throw;
            parser_.fail(line, failure.what());
        }
    }

    void check_attributes(const XmlElement &element,
                          std::initializer_list<std::string_view> known) const {
        if (options_.lenient) return;
        for (std::size_t i = 0; i < element.attributes(); ++i) {
            const std::string_view name = element.attribute_name(i);
            if (std::find(known.begin(), known.end(), name) != known.end()) continue;
            throw no_such(Exit::data, fmt::format("attribute of `{}`", element.name()), name,
                          {known.begin(), known.end()});
        }
    }

    // False if it is unknown and was skipped.
    bool expect_element(const XmlElement &element, std::string_view name) {
        if (element.name() == name) return true;
        if (!options_.lenient)
            parser_.fail(element.line(),
                         fmt::format("expected the element `{}`, not `{}`", name, element.name()));
        parser_.take_inside();
        return false;
    }

    static std::string_view needed(const XmlElement &element, std::string_view name) {
        const auto value = element.attribute(name);
        if (!value)
            throw Failure(Exit::data,
                          fmt::format("`{}`: expected the attribute `{}`", element.name(), name));
        return *value;
    }

    void read_table(const XmlElement &element) {
        if (!expect_element(element, "table")) return;
        at_line(element.line(), [&] { begin_table(element); });
        while (const auto record = parser_.next()) {
            if (!expect_element(*record, "record")) continue;
            parser_.take_inside();
            sink_.take(place_of(record->line()), [&](Draft &draft, Sink::Place &where) {
                uint64_t line = record->line();
                try {
                    build(*record, draft, line);
                } catch (const Failure &) {
                    where = place_of(line);
                    throw;
                }
                where = place_of(line);
            });
        }
    }

    std::string place(uint64_t line) const { return fmt::format("{}:{}", input_.name(), line); }
    Sink::Place place_of(uint64_t line) const {
        return [this, line] { return place(line); };
    }

    void begin_table(const XmlElement &element) {
        check_attributes(element, {"type", "name", "id", "escaped"});
        TableHead head{&table_in_document(std::string(needed(element, "type"))), {}, {}};
        if (const auto id = element.attribute("id"))
            head.id = number_of<uint64_t>("id", *id, 0, UINT64_MAX);
        else head.name = needed(element, "name");
        if (is_escaped(element)) head.name = unescape_unfit(head.name, "name");
        sink_.begin_table(head);
    }

    RecordHead head_of(const XmlElement &element) const {
        check_attributes(element, {"tenant", "source", "pending", "variant", "state", "key_state"});
        RecordHead head;
        if (const auto tenant = element.attribute("tenant"))
            head.tenant = static_cast<uint16_t>(number_of<uint32_t>("tenant", *tenant, 0, 65535));
        if (const auto source = element.attribute("source"))
            head.source = static_cast<uint8_t>(number_of<uint32_t>("source", *source, 0, 255));
        if (const auto variant = element.attribute("variant"))
            head.variant = number_of<int>("variant", *variant, -128, 127);
        if (const auto pending = element.attribute("pending")) {
            if (*pending != "true" && *pending != "false")
                throw Failure(Exit::data, "pending: expected true or false");
            head.pending = *pending == "true";
        }
        head.tracked =
            element.attribute("state").has_value() || element.attribute("key_state").has_value();
        return head;
    }

    void build(const XmlElement &element, Draft &draft, uint64_t &line) const {
        draft.begin(head_of(element));
        const Table &table = draft.table();
        if (!element.has_no_text())
            refuse_text(element, fmt::format("the element `{}`", table.name));
        bool found = false;
        for (const XmlElement child : element.children()) {
            line = child.line();
            if (child.name() == table.name && !found) {
                found = true;
                build_objects(element, child, draft, line);
            } else if (!options_.lenient || child.name() == table.name) {
                throw Failure(Exit::data, fmt::format("expected one element `{}`, not `{}`",
                                                      table.name, child.name()));
            }
        }
        if (!found) throw Failure(Exit::data, fmt::format("expected the element `{}`", table.name));
    }

    void build_objects(const XmlElement &record, const XmlElement &element, Draft &draft,
                       uint64_t &line) const {
        const Table &table = draft.table();
        refuse_text(element, "elements of the record's objects");
        void *object = nullptr;
        void *key = nullptr;
        for (const XmlElement child : element.children()) {
            line = child.line();
            if (child.name() == table.type->name && object == nullptr) {
                object = draft.make_object();
                fill(record, child, draft, object, *table.type, "state", line);
            } else if (table.key_type != nullptr && child.name() == table.key_type->name &&
                       key == nullptr) {
                key = draft.make_key_object();
                fill(record, child, draft, key, *table.key_type, "key_state", line);
            } else if (!options_.lenient) {
                refuse_object(table, child);
            }
        }
    }

    [[noreturn]] static void refuse_object(const Table &table, const XmlElement &child) {
        std::vector<std::string_view> names{table.type->name};
        if (table.key_type != nullptr) names.push_back(table.key_type->name);
        for (const std::string_view name : names) {
            if (child.name() == name)
                throw Failure(Exit::data, fmt::format("`{}`: it is given twice", name));
        }
        throw no_such(Exit::data, fmt::format("object of {}", table.name), child.name(), names);
    }

    void fill(const XmlElement &record, const XmlElement &element, Draft &draft, void *object,
              const Structure &structure, std::string_view state, uint64_t &line) const {
        Path path;
        set_fields({draft.handle(), draft.tx_id(), object, options_, line}, structure, path,
                   element);
        line = record.line();
        if (const auto flags = record.attribute(state))
            set_state(draft, object, structure, state, *flags);
    }

    Input &input_;
    const ReadOptions &options_;
    Sink &sink_;
    XmlParser parser_;
};

}  // namespace

void read_xml(Input &input, const ReadOptions &options, Sink &sink) {
    XmlReader(input, options, sink).read();
}

}  // namespace tarnctl
