// SPDX-License-Identifier: Apache-2.0
#include "model/json.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "base/hex.h"
#include "cli/utf8.h"
#include "model/state.h"
#include "tarnbase/embedded.h"

namespace tarnctl {
namespace {

// Doubles represent all integers up to this one exactly.
constexpr uint64_t largest_exact = uint64_t{1} << 53U;

Json json_of_number(const Field &field, uint64_t number) {
    if (field.kind == Kind::boolean) return number != 0;
    if (field.kind == Kind::enumeration) {
        const Enumerator *found = enumerator_of(*field.enumeration, static_cast<uint32_t>(number));
        if (found != nullptr) return found->name;
    }
    if (field.is_signed()) return json_of_integer(static_cast<int64_t>(number));
    return json_of_integer(number);
}

Path path_of(const Field &field) { return {{&field}, 0, field.kind == Kind::array}; }

void *inner_object(const Field &field, kel_handle *handle, uint32_t tx_id, void *object) {
    uint32_t err = 0;
    return field.call.get(handle, tx_id, object, 0, &err);
}

Json json_of_object(kel_handle *handle, void *object, const Structure &structure) {
    if (object == nullptr) return nullptr;
    const int8_t variant = static_cast<kel_object *>(object)->variant;
    Json members = Json::object();
    for (const Field &field : structure.fields) {
        if (field.first_variant > variant) break;
        if (field.structure != nullptr)
            members.set(field.name,
                        json_of_object(handle, inner_object(field, handle, KEL_TX_NONE, object),
                                       *field.structure));
        else members.set(field.name, json_of(Value(handle, KEL_TX_NONE, object, path_of(field))));
    }
    return members;
}

[[noreturn]] void expected(std::string_view name, std::string_view what, JsonView found) {
    std::string text = found.dump();
    constexpr std::size_t longest = 60;
    if (text.size() > longest) text = text.substr(0, longest) + "...";
    throw Failure(Exit::data, fmt::format("{}: expected {}, not {}", name, what, text));
}

bool is_decimal(std::string_view text) {
    const std::size_t digits = text.starts_with('-') ? 1 : 0;
    return text.size() > digits && text.find_first_not_of("0123456789", digits) == text.npos;
}

// As json.dump().
std::string text_of_integer(JsonView json) {
    const std::optional<uint64_t> number = json.unsigned_number();
    return number ? std::to_string(*number) : std::to_string(*json.signed_number());
}

// Most numbers are set as they are; the others go through text, whose reader checks the ranges.
void set_scalar(Value &value, JsonView json) {
    const Kind kind = value.field().kind;
    if (value.field().is_number()) {
        if (const std::optional<uint64_t> number = json.unsigned_number())
            return value.set_integer(*number);
    }
    if (kind == Kind::boolean && !json.boolean()) expected(value.name(), "true or false", json);
    const std::optional<std::string_view> text = json.string();
    const bool is_name = text && kind == Kind::enumeration;
    if (is_name || (text && value.field().is_integer() && is_decimal(*text))) {
        value.set_text(*text);
        return;
    }
    if (kind != Kind::boolean && !json.is_integer())
        expected(value.name(), kind == Kind::enumeration ? "an enumerator's name" : "a number",
                 json);
    // An object that was never set can hold a number that no enumerator has, and may keep it.
    if (kind == Kind::enumeration && json.unsigned_number() == value.number()) return;
    value.set_text(kind == Kind::boolean ? json.dump() : text_of_integer(json));
}

void set_array(Value &value, JsonView json) {
    const uint32_t elements = value.field().elements;
    if (!json.is_array() || json.size() != elements)
        expected(value.name(), fmt::format("an array of {} numbers", elements), json);
    uint32_t i = 0;
    for (const JsonView &element : json.elements()) {
        const std::optional<uint64_t> number = element.unsigned_number();
        if (!number || *number > 255)
            expected(fmt::format("{}[{}]", value.name(), i), "a number from 0 to 255", element);
        value.set_number(*number, i++);
    }
}

void set_object(Value &value, const ObjectType &type, JsonView json) {
    if (const auto text = json.string()) return value.set_text(*text);
    if (value.field().kind == Kind::vstring) {
        if (const auto bytes = bytes_of_json(json, value.name())) return value.set_text(*bytes);
    } else if (json.is_null()) {
        return value.set_text("");
    }
    expected(value.name(), type.expected_json, json);
}

[[noreturn]] void refuse_field(const Structure &structure, std::string_view name) {
    std::vector<std::string_view> names;
    for (const Field &field : structure.fields) names.push_back(field.name);
    throw no_such(Exit::data, fmt::format("field of {}", structure.name), name, names);
}

// Sets the leaves of one object, each by its path from there.
struct FieldSetter {
    kel_handle *handle;
    uint32_t tx_id;
    void *object;
    JsonReading &reading;
    Path path;

    void set_leaf(JsonView json) const {
        Value value(handle, tx_id, object, path);
        if (!value.present())
            throw Failure(Exit::data, fmt::format("{}: the object's variant is too old to have it",
                                                  value.name()));
        if (reading.any_number && value.field().kind == Kind::enumeration) {
            const std::optional<uint64_t> number = json.unsigned_number();
            if (number && *number <= UINT32_MAX)
                return value.restore_number(static_cast<uint32_t>(*number));
        }
        set_from_json(value, json);
    }
};

// NOLINTNEXTLINE(misc-no-recursion): as deep as structures nest
void set_members(FieldSetter &setter, const Structure &structure, JsonView json) {
    std::vector<std::string_view> &names = setter.reading.names;
    if (!json.is_object())
        expected(names.empty() ? std::string(structure.name) : setter.reading.path(),
                 fmt::format("an object with the fields of {}", structure.name), json);
    names.emplace_back();
    std::size_t next = 0;
    for (const auto &[name, member] : json.members()) {
        names.back() = name;
        const Field *const field = find_field(structure, name, next);
        if (field == nullptr && setter.reading.lenient) continue;
        if (field == nullptr) refuse_field(structure, name);
        next = static_cast<std::size_t>(field - structure.fields.data()) + 1;
        setter.path.fields.push_back(field);
        setter.path.whole_array = field->kind == Kind::array;
        if (field->structure != nullptr) set_members(setter, *field->structure, member);
        else setter.set_leaf(member);
        setter.path.fields.pop_back();
    }
    names.pop_back();
}

// The member of an object's state flags; nothing for an object without.
void add_state(Json &json, const char *name, kel_handle *handle, void *object,
               const Structure &structure) {
    if (!is_tracked(object)) return;
    Json flags = Json::object();
    for (const auto &[path, flag] : state_flags_of(handle, object, structure))
        flags.set(path, flag);
    json.set(name, flags);
}

}  // namespace

Json json_of_bytes(std::string_view bytes) {
    if (cli::is_utf8(bytes)) return bytes;
    return {{"hex", hex_of(bytes)}};
}

std::optional<std::string> bytes_of_json(JsonView json, std::string_view name) {
    if (const auto text = json.string()) return std::string(*text);
    const std::optional<JsonView> hex = json.size() == 1 ? json.find("hex") : std::nullopt;
    const auto digits = hex ? hex->string() : std::nullopt;
    if (!digits) return std::nullopt;
    return bytes_of_hex(*digits, name);
}

Json json_of_object_text(const Field &field, std::string_view text) {
    if (field.kind == Kind::vstring) return json_of_bytes(text);
    return text.empty() ? Json() : Json(text);
}

Json json_of_integer(uint64_t number) {
    return number > largest_exact ? Json(std::to_string(number)) : Json(number);
}

Json json_of_integer(int64_t number) {
    const auto largest = static_cast<int64_t>(largest_exact);
    return number > largest || number < -largest ? Json(std::to_string(number)) : Json(number);
}

Json json_of(const Value &value) {
    if (!value.present()) return nullptr;
    if (object_type(value.field()) != nullptr)
        return json_of_object_text(value.field(), value.text());
    if (value.is_whole_array()) return value.elements();
    return json_of_number(value.field(), value.number());
}

Json json_of(const Record &record) {
    const Table &table = *record.table;
    void *object = table.object(record.handle, KEL_TX_NONE, record.record);
    void *key = table.key_type == nullptr
                    ? nullptr
                    : table.key_object(record.handle, KEL_TX_NONE, record.record);
    Json json = {{"tenant", record.tenant()}, {"source", record.src()}};
    if (record.is_pending()) json.set("pending", true);
    const int top = top_variant(*table.type);
    const int variant = object == nullptr ? top : static_cast<kel_object *>(object)->variant;
    if (variant != top) json.set("variant", variant);
    add_state(json, "state", record.handle, object, *table.type);
    if (table.key_type != nullptr) {
        add_state(json, "key_state", record.handle, key, *table.key_type);
        json.set("key", json_of_object(record.handle, key, *table.key_type));
    }
    json.set("fields", json_of_object(record.handle, object, *table.type));
    return json;
}

std::string JsonReading::path() const {
    std::string path;
    for (const std::string_view name : names) {
        if (!path.empty()) path += '.';
        path += name;
    }
    return path;
}

void set_from_json(Value &value, JsonView json) {
    if (const ObjectType *type = object_type(value.field())) set_object(value, *type, json);
    else if (value.is_whole_array()) set_array(value, json);
    else set_scalar(value, json);
}

void set_fields_from_json(kel_handle *handle, uint32_t tx_id, void *object,
                          const Structure &structure, JsonView json, JsonReading &reading) {
    FieldSetter setter{handle, tx_id, object, reading, {}};
    set_members(setter, structure, json);
}

}  // namespace tarnctl
