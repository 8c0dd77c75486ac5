// SPDX-License-Identifier: Apache-2.0
#include "model/value.h"

#include <fmt/core.h>
#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <limits>

#include "base/failure.h"
#include "cli/suggestion.h"
#include "tarnbase/embedded.h"

namespace tarnctl {
namespace {

std::vector<std::string_view> names_of(const Structure &structure) {
    std::vector<std::string_view> names;
    for (const Field &field : structure.fields) names.push_back(field.name);
    return names;
}

Failure bad_path(std::string_view text, std::string_view problem) {
    return Failure(Exit::usage, fmt::format("`{}`: {}", text, problem));
}

// "5" of "minute[5]"; takes the index off `name`.
uint32_t take_index(std::string_view &name, std::string_view text) {
    const std::size_t open = name.find('[');
    const std::string_view digits = name.substr(open + 1, name.size() - open - 2);
    uint32_t index = 0;
    const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), index);
    if (!name.ends_with(']') || digits.empty() || error != std::errc() ||
        stop != digits.data() + digits.size())
        throw bad_path(text, "expected a number between `[` and `]`");
    name = name.substr(0, open);
    return index;
}

void check_leaf(const Path &path, std::string_view text, bool indexed) {
    const Field &leaf = path.leaf();
    if (leaf.structure != nullptr)
        throw bad_path(text,
                       fmt::format("a {} isn't a single value; name one of its fields, as `{}.{}`",
                                   leaf.type, text, leaf.structure->fields.front().name));
    if (indexed && leaf.kind != Kind::array) throw bad_path(text, "the field is no array");
    if (indexed && path.index >= leaf.elements)
        throw bad_path(text, fmt::format("the array has elements 0 to {}", leaf.elements - 1));
}

void add_leaves(const Structure &structure, Path path, std::vector<Path> &leaves) {
    for (const Field &field : structure.fields) {
        path.fields.push_back(&field);
        path.whole_array = field.kind == Kind::array;
        if (field.structure != nullptr) add_leaves(*field.structure, path, leaves);
        else leaves.push_back(path);
        path.fields.pop_back();
    }
}

// Of a value type.
constexpr std::size_t largest_object = [] {
    std::size_t largest = 0;
    for (const auto &each : tarnbase::all_kinds)
        largest = std::max<std::size_t>(largest, each.size);
    return largest;
}();

// Of a plain value. One of an object, as a boolean has it, is a u_int32.
unsigned bits_of(Kind kind) {
    const auto &facts = tarnbase::facts_of(kind);
    const bool is_stored_plainly = tarnbase::is_number(kind) || kind == Kind::array;
    return 8 * (is_stored_plainly ? facts.size : sizeof(uint32_t));
}

uint64_t largest(Kind kind) {
    const unsigned unused = 64 - bits_of(kind) + (tarnbase::is_signed(kind) ? 1 : 0);
    return std::numeric_limits<uint64_t>::max() >> unused;
}

int64_t smallest(Kind kind) {
    return tarnbase::is_signed(kind) ? -static_cast<int64_t>(largest(kind)) - 1 : 0;
}

std::string range_of(Kind kind) {
    return fmt::format("a number from {} to {}", smallest(kind), largest(kind));
}

// The whole text as a number, after 0x in hexadecimal.
template <class Number>
bool parse(std::string_view text, Number &number) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal) text.remove_prefix(2);
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, hexadecimal ? 16 : 10);
    return error == std::errc() && stop == end && !text.empty();
}

// Whether a path's text is the name of its field.
bool is_field_name(const Path &path) {
    return path.fields.size() == 1 && (path.leaf().kind != Kind::array || path.whole_array);
}

bool same_word(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace

std::string Path::text() const {
    std::string text;
    for (const Field *field : fields) {
        if (!text.empty()) text += '.';
        text += field->name;
    }
    if (leaf().kind == Kind::array && !whole_array) text += fmt::format("[{}]", index);
    return text;
}

Path parse_path(const Structure &structure, std::string_view text) {
    Path path;
    const Structure *inside = &structure;
    bool indexed = false;
    for (std::string_view rest = text;;) {
        const std::size_t dot = rest.find('.');
        std::string_view name = rest.substr(0, dot);
        indexed = name.find('[') != std::string_view::npos;
        if (indexed) path.index = take_index(name, text);
        const Field *field = inside == nullptr ? nullptr : inside->find(name);
        if (field == nullptr) {
            if (inside == nullptr) throw bad_path(text, "the value in front of `.` has no fields");
            Failure failure = no_such(Exit::usage, fmt::format("field of {}", inside->name), name,
                                      names_of(*inside));
            throw failure;
        }
        path.fields.push_back(field);
        inside = field->structure;
        if (dot == std::string_view::npos) break;
        rest.remove_prefix(dot + 1);
    }
    path.whole_array = path.leaf().kind == Kind::array && !indexed;
    check_leaf(path, text, indexed);
    return path;
}

std::vector<Path> leaves_of(const Structure &structure) {
    std::vector<Path> leaves;
    add_leaves(structure, {}, leaves);
    return leaves;
}

const Field *find_field(const Structure &structure, std::string_view name, std::size_t first) {
    for (const Field &field : structure.fields.subspan(first)) {
        if (field.name == name) return &field;
    }
    return structure.find(name);
}

int top_variant(const Structure &structure) {
    int top = 0;
    for (const Field &field : structure.fields) top = std::max(top, field.first_variant);
    return top;
}

const Enumerator *enumerator_of(const Enumeration &enumeration, uint32_t value) {
    for (const Enumerator &each : enumeration.enumerators) {
        if (each.value == value) return &each;
    }
    return nullptr;
}

std::vector<std::string_view> short_names(const Enumeration &enumeration) {
    const std::string_view first = enumeration.enumerators.front().name;
    std::size_t shared = first.size();
    for (const Enumerator &each : enumeration.enumerators) {
        const auto [a, b] =
            std::mismatch(first.begin(), first.end(), each.name.begin(), each.name.end());
        shared = std::min(shared, static_cast<std::size_t>(a - first.begin()));
    }
    // Whole words only; a single enumerator has no prefix.
    shared = enumeration.enumerators.size() == 1 ? 0 : first.substr(0, shared).rfind('_') + 1;
    std::vector<std::string_view> names;
    for (const Enumerator &each : enumeration.enumerators)
        names.push_back(each.name.substr(shared));
    return names;
}

Value::Value(kel_handle *handle, uint32_t tx_id, void *object, const Path &path)
    : handle_(handle),
      tx_id_(tx_id),
      object_(object),
      field_(&path.leaf()),
      name_(is_field_name(path) ? std::string() : path.text()),
      index_(path.index),
      whole_array_(path.whole_array) {
    for (std::size_t i = 0; i + 1 < path.fields.size() && object_ != nullptr; ++i) {
        uint32_t err = 0;
        object_ = path.fields[i]->call.get(handle, tx_id, object_, 0, &err);
        if (err != EIDRM) need(err, name());
    }
    if (object_ != nullptr &&
        static_cast<const kel_object *>(object_)->variant < field_->first_variant)
        object_ = nullptr;
}

uint64_t Value::number(uint32_t index) const {
    uint32_t err = 0;
    const uint64_t number =
        field_->call.get_value(handle_, tx_id_, object_, whole_array_ ? index : index_, &err);
    need(err, name());
    return number;
}

const void *Value::object() const {
    uint32_t err = 0;
    const void *object = field_->call.get(handle_, tx_id_, object_, 0, &err);
    need(err, name());
    return object;
}

std::string_view Value::bytes() const {
    uint32_t length = 0;
    const char *bytes = kel_vstring_bytes(static_cast<const kel_vstring *>(object()), &length);
    return {bytes, length};
}

std::vector<uint8_t> Value::elements() const {
    std::vector<uint8_t> elements(field_->elements);
    for (uint32_t i = 0; i < field_->elements; ++i) elements[i] = static_cast<uint8_t>(number(i));
    return elements;
}

std::string Value::number_text(uint64_t number) const {
    if (field_->kind == Kind::boolean) return number != 0 ? "true" : "false";
    if (field_->kind == Kind::enumeration) {
        const Enumerator *found =
            enumerator_of(*field_->enumeration, static_cast<uint32_t>(number));
        if (found != nullptr) return std::string(found->name);
    }
    return field_->is_signed() ? std::to_string(static_cast<int64_t>(number))
                               : std::to_string(number);
}

std::string Value::text() const {
    if (const ObjectType *type = object_type(*field_)) return type->text(object());
    if (!whole_array_) return number_text(number());
    std::string text;
    for (const uint8_t element : elements())
        text += fmt::format("{}{}", text.empty() ? "" : " ", element);
    return text;
}

void Value::expected(std::string_view text, std::string_view what) const {
    throw Failure(Exit::data, fmt::format("{}: expected {}, not `{}`", name(), what, text));
}

uint64_t Value::parsed_enumerator(std::string_view text) const {
    const Enumeration &enumeration = *field_->enumeration;
    const std::vector<std::string_view> brief = short_names(enumeration);
    std::vector<std::string_view> names;
    for (std::size_t i = 0; i < brief.size(); ++i) {
        const Enumerator &each = enumeration.enumerators[i];
        if (same_word(text, each.name) || same_word(text, brief[i])) return each.value;
        names.insert(names.end(), {each.name, brief[i]});
    }
    uint32_t value = 0;
    if (parse(text, value) && enumerator_of(enumeration, value) != nullptr) return value;
    const auto near = cli::nearest(text, names);
    expected(text, near ? fmt::format("an enumerator of {}, perhaps `{}`", enumeration.name, *near)
                        : fmt::format("an enumerator of {}, such as `{}`, or its number",
                                      enumeration.name, enumeration.enumerators.front().name));
}

uint64_t Value::parsed_number(std::string_view text) const {
    if (field_->kind == Kind::enumeration) return parsed_enumerator(text);
    if (field_->kind == Kind::boolean) {
        if (text == "true" || text == "1") return 1;
        if (text == "false" || text == "0") return 0;
        expected(text, "true or false");
    }
    uint64_t number = 0;
    int64_t below_zero = 0;
    if (parse(text, number) && number <= largest(field_->kind)) return number;
    if (text.starts_with('-') && parse(text, below_zero) && below_zero >= smallest(field_->kind))
        return static_cast<uint64_t>(below_zero);
    expected(text, range_of(field_->kind));
}

void Value::set_array_text(std::string_view text) {
    std::vector<uint64_t> numbers;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = std::min(rest.find(' '), rest.size());
        if (end > 0) numbers.push_back(parsed_number(rest.substr(0, end)));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    if (numbers.size() != field_->elements)
        throw Failure(Exit::data,
                      fmt::format("{}: expected {} numbers with blanks between them, not {}",
                                  name(), field_->elements, numbers.size()));
    for (uint32_t i = 0; i < field_->elements; ++i) set_number(numbers[i], i);
}

// Parses before it changes the store.
void Value::set_object_text(const ObjectType &type, std::string_view text) {
    alignas(8) unsigned char source[largest_object];
    if (!type.parse(text, source)) expected(text, type.expected);
    uint32_t err = 0;
    field_->call.set(handle_, tx_id_, object_, source, &err);
    need(err, name());
}

void Value::set_text(std::string_view text) {
    if (const ObjectType *type = object_type(*field_)) set_object_text(*type, text);
    else if (whole_array_) set_array_text(text);
    else set_number(parsed_number(text));
}

void Value::set_number(uint64_t number, uint32_t index) {
    uint32_t err = 0;
    field_->call.set_value(handle_, tx_id_, object_, whole_array_ ? index : index_, number, &err);
    need(err, name());
}

void Value::set_integer(uint64_t number) {
    if (number > largest(field_->kind)) expected(std::to_string(number), range_of(field_->kind));
    set_number(number);
}

// Unsigned differences are right for negative numbers too: both wrap at 2^64.
void Value::add(uint64_t amount) {
    const uint64_t now = number();
    if (amount > largest(field_->kind) - now)
        throw Failure(Exit::data, fmt::format("{}: {} + {} is above {}, the largest value", name(),
                                              number_text(now), amount, largest(field_->kind)));
    set_number(now + amount);
}

void Value::subtract(uint64_t amount) {
    const uint64_t now = number();
    if (amount > now - static_cast<uint64_t>(smallest(field_->kind)))
        throw Failure(Exit::data, fmt::format("{}: {} - {} is below {}, the smallest value", name(),
                                              number_text(now), amount, smallest(field_->kind)));
    set_number(now - amount);
}

void Value::restore_number(uint32_t number) {
    if (enumerator_of(*field_->enumeration, number) != nullptr) {
        set_number(number);
        return;
    }
    uint32_t err = 0;
    auto *object =
        static_cast<kel_enum_object *>(field_->call.get(handle_, tx_id_, object_, 0, &err));
    need(err, name());
    handle_->write_log_hook(handle_->arena, &object->value, sizeof object->value, tx_id_);
    object->value = number;
}

}  // namespace tarnctl
