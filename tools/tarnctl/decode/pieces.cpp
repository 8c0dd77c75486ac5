// SPDX-License-Identifier: Apache-2.0
#include "decode/pieces.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstring>

#include "base/hex.h"
#include "decode/decoder.h"
#include "exchange/frames.h"
#include "tarnbase/runtime.h"

namespace tarnctl {
namespace {

using frames::luid_size;

constexpr std::size_t jump_size = 4;

std::string flags_text(uint8_t flags) {
    std::string text;
    if ((flags & OBJ_STATE_TRACKED) != 0) text += "state bytes follow the fields";
    if ((flags & OBJ_RA_DATA) != 0)
        text += fmt::format("{}trace correlation follows", text.empty() ? "" : ", ");
    return text.empty() ? "none" : text;
}

}  // namespace

std::vector<Piece> Decoder::run(const Form &form) {
    while (!in_.done()) {
        try {
            if (form.kind == Form::Kind::document) document();
            else if (form.kind == Form::Kind::frames) frame(form.table);
            else if (form.kind == Form::Kind::keys) key(*form.table);
            else object(*form.structure);
        } catch (const Stuck &) {
            in_.ascend_to(0);
            in_.limit(SIZE_MAX);
            in_.take_unknown(SIZE_MAX, "not read", true);
        }
    }
    return in_.take_pieces();
}

// A record: message header, LUID, data object, key object.
void Decoder::frame(const Table *table) {
    const std::size_t start = in_.at();
    const uint64_t marker = in_.peek_number(1, "marker");
    if (marker != KEL_MESSAGE_MARKER) {
        in_.problem("marker", fmt::format("is {}, not {}: no record starts here", marker,
                                          KEL_MESSAGE_MARKER));
        throw Stuck{};
    }
    in_.heading("record", "");
    in_.descend();
    in_.take(1, "marker", std::to_string(marker));
    const Bytes filler = in_.peek(6, "filler");
    const bool filled =
        std::all_of(filler.begin(), filler.end(), [](uint8_t b) { return b == 255; });
    in_.take(6, "filler", filled ? "" : "expected 255 each", !filled);
    const bool tracked = in_.peek_number(1, "state tracking") != 0;
    in_.take(1, "state tracking", tracked ? "on" : "off");
    in_.take(4, "stamp", std::to_string(in_.peek_number(4, "stamp")));
    const uint64_t length = in_.peek_number(4, "length");
    const bool sound =
        length >= frames::frame_header_size && length <= in_.left() + (in_.at() - start);
    in_.take(
        4, "length",
        sound ? std::to_string(length)
              : fmt::format("{}, but {} bytes are there", length, in_.left() + (in_.at() - start)),
        !sound);
    in_.peek(11, "zero");
    in_.take(11, "zero", "");
    const std::size_t end = sound ? start + static_cast<std::size_t>(length) : SIZE_MAX;
    const std::size_t before = in_.limit(end);
    if (sound) {
        bounded_content(table, end);
        in_.limit(before);
        in_.ascend_to(0);
        return;
    }
    content(table);
    in_.ascend_to(0);
}

void Decoder::content(const Table *forced) {
    const Table *table = luid(forced);
    if (table == nullptr) throw Stuck{};
    object(*table->type);
    if (table->key_type != nullptr) object(*table->key_type);
}

// The bytes of a record's length. After a problem in them the next record is read.
void Decoder::bounded_content(const Table *forced, std::size_t end) {
    try {
        content(forced);
    } catch (const Stuck &) {
        in_.take_unknown(end, "not read", true);
    }
    in_.take_unknown(end, "after the record's objects", false);
}

const Table *Decoder::luid(const Table *forced) {
    const Bytes bytes = in_.peek(luid_size, "table");
    const auto known = std::find_if(
        catalogue.tables.begin(), catalogue.tables.end(),
        [&](const Table *each) { return std::memcmp(each->luid, bytes.data(), luid_size) == 0; });
    const Table *named = known == catalogue.tables.end() ? nullptr : *known;
    if (forced != nullptr && named != forced)
        in_.take(luid_size, "table",
                 fmt::format("{}, read as {}", named == nullptr ? "unknown LUID" : named->name,
                             forced->name));
    else if (named == nullptr)
        in_.take(luid_size, "table",
                 fmt::format("no table has the LUID {}",
                             hex_of({reinterpret_cast<const char *>(bytes.data()), bytes.size()})),
                 true);
    else in_.take(luid_size, "table", std::string(named->name));
    return forced != nullptr ? forced : named;
}

void Decoder::object(const Structure &structure) {
    in_.heading(std::string(structure.name), "");
    in_.descend();
    const auto variant = static_cast<int8_t>(in_.peek_number(1, "variant"));
    in_.take(1, "variant", std::to_string(variant));
    const auto flags = static_cast<uint8_t>(in_.peek_number(1, "flags"));
    in_.take(1, "flags", flags_text(flags));
    if ((flags & OBJ_RA_DATA) != 0) {
        in_.take(8, "trace uuid", std::to_string(in_.peek_number(8, "trace uuid")));
        in_.take(1, "trace mark", std::to_string(in_.peek_number(1, "trace mark")));
    }
    const std::size_t base = in_.at();
    const auto jump = static_cast<int32_t>(in_.peek_number(jump_size, "jump"));
    // A jump backwards is ignored: reading goes on after the fields.
    const bool bounded = jump >= static_cast<int32_t>(jump_size);
    const bool beyond = bounded && static_cast<std::size_t>(jump) > in_.left();
    in_.take(jump_size, "jump",
             beyond ? fmt::format("{}, beyond the end", jump) : std::to_string(jump),
             beyond || jump < 0);
    if (variant >= 0) body(structure, variant, (flags & OBJ_STATE_TRACKED) != 0);
    if (bounded)
        in_.take_unknown(std::min(base + static_cast<std::size_t>(jump), in_.at() + in_.left()),
                         fmt::format("fields that {} hasn't here", structure.name), false);
    in_.ascend();
}

void Decoder::body(const Structure &structure, int variant, bool tracked) {
    for (const Field &each : structure.fields) {
        if (each.first_variant > variant) return;
        field(each);
        if (!tracked) continue;
        const std::string state = fmt::format("{} state", each.name);
        in_.take(1, state, std::to_string(in_.peek_number(1, state)));
        if (each.kind == Kind::array) array(state, each.elements);
    }
}

void Decoder::field(const Field &field) {
    const std::string name(field.name);
    switch (field.kind) {
        case Kind::structure: {
            in_.heading(name, "");
            in_.descend();
            object(*field.structure);
            in_.ascend();
            return;
        }
        case Kind::array:
            return array(name, field.elements);
        case Kind::enumeration:
            return enumeration(field);
        default:
            break;
    }
    if (const ObjectType *type = object_type(field)) return value(field, *type);
    number(field);
}

void Decoder::number(const Field &field) {
    const std::string name(field.name);
    const std::size_t size = field.facts().wire;
    const uint64_t value = in_.peek_number(size, name);
    if (field.kind == Kind::boolean)
        return in_.take(size, name, value != 0 ? "true" : "false", value > 1);
    if (field.is_signed()) {
        const std::size_t unused = 64 - 8 * size;
        const auto extended = static_cast<int64_t>(value << unused) >> unused;
        return in_.take(size, name, std::to_string(extended));
    }
    in_.take(size, name, std::to_string(value));
}

// The internal value is the enumerator's index.
void Decoder::enumeration(const Field &field) {
    const std::string name(field.name);
    const auto variant = static_cast<int8_t>(in_.peek_number(1, name));
    in_.take(1, fmt::format("{} variant", name), std::to_string(variant));
    const uint64_t place = in_.peek_number(4, name);
    const auto &enumerators = field.enumeration->enumerators;
    if (place < enumerators.size()) return in_.take(4, name, std::string(enumerators[place].name));
    in_.take(4, name, fmt::format("{}, no enumerator of {}", place, field.enumeration->name), true);
}

// An object of a value type: a number, if its form has one, and bytes.
void Decoder::value(const Field &field, const ObjectType &type) {
    const std::string name(field.name);
    std::size_t length = field.facts().wire;
    if (!type.wire.number.empty()) {
        const uint64_t number = in_.peek_number(length, name);
        const auto rest = type.wire.rest(number);
        in_.take(length, fmt::format("{} {}", name, type.wire.number),
                 rest ? std::to_string(number)
                      : fmt::format("{}, expected {}", number, type.wire.expected),
                 !rest);
        if (!rest) throw Stuck{};
        length = *rest;
    }
    const std::string text = type.wire.text(in_.peek(length, name));
    if (length > 0) in_.take(length, name, text);
    else in_.heading(name, text);
}

void Decoder::array(const std::string &name, std::size_t count) {
    for (std::size_t i = 0; i < count; i += row_) {
        const std::size_t length = std::min(row_, count - i);
        const std::string range = fmt::format("{}[{}..{}]", name, i, i + length - 1);
        std::string values;
        for (const uint8_t byte : in_.peek(length, range))
            values += fmt::format("{}{}", values.empty() ? "" : " ", byte);
        in_.take(length, range, values);
    }
}

// The key field's form, or that of the key object.
void Decoder::key(const Table &table) {
    if (table.key_type != nullptr) return object(*table.key_type);
    field(*table.key_field);
}

std::vector<Piece> take_apart(Bytes bytes, const Form &form, std::size_t row) {
    return Decoder(bytes, row).run(form);
}

}  // namespace tarnctl
