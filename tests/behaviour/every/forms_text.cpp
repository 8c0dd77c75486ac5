// SPDX-License-Identifier: Apache-2.0
#include <cerrno>

#include "tarnbase/embedded.h"
#include "tests/behaviour/every/forms.h"
#include "tests/behaviour/every/values.h"

namespace tarn::test {

namespace {

constexpr u32 no_space = EMSGSIZE;

std::string replaced(const std::string &text, char character, const std::string &by) {
    std::string result;
    for (const char each : text) result += each == character ? by : std::string(1, each);
    return result;
}

// A value of a kind that print and XML represent alike.
std::string plain_text(const Field &field, u32 seed) {
    if (field.kind == FieldKind::address) {
        const ip_address address = address_value(field, seed);
        char text[64];
        return ip_address_text(&address, text, sizeof text);
    }
    const u64 value = plain_value(field, seed);
    if (field.kind == FieldKind::boolean) return value != 0 ? "true" : "false";
    if (!is_signed(field.kind)) return std::to_string(value);
    return field.kind == FieldKind::int32 ? std::to_string(static_cast<std::int32_t>(value))
                                          : std::to_string(static_cast<std::int64_t>(value));
}

const char *enumerator_name(const Field &field, u32 seed) {
    const Enumeration &type = *field.enumeration;
    return type.enumerators[plain_value(field, seed) - type.first_user_value].name;
}

}  // namespace

// ---- Text ---------------------------------------------------------------------------

bool TextForm::fits(std::size_t length) {
    if (length <= space_ - text.size()) return true;
    if (err == 0) err = no_space;
    return false;
}

// Of an object or an enumeration: continues after an error.
void TextForm::frame(const std::string &piece) {
    if (fits(piece.size())) text += piece;
}

void TextForm::value(const std::string &piece) {
    if (err == 0) frame(piece);
}

void TextForm::field(const Filled &filled, const Field &field, u32 indent) {
    const std::string blanks(indent, ' ');
    if (field.kind == FieldKind::structure) {
        object(filled.inside(field), indent, field.name);
    } else if (field.kind == FieldKind::enumeration) {
        if (err != 0) return;
        frame(blanks);
        frame(std::string(field.name) + "@" + field.enumeration->name + ":");
        frame(std::string(enumerator_name(field, filled.seed)) + "\n");
    } else if (field.kind == FieldKind::array) {
        u32 index = 0;
        for (const u8 element : array_value(field, filled.seed)) {
            value(blanks + field.name + "[" + std::to_string(index++) +
                  "]: " + std::to_string(element) + "\n");
        }
    } else if (field.kind == FieldKind::vstring) {
        const std::string quoted = replaced(text_value(field, filled.seed), '"', "\\\"");
        value(blanks + field.name + ": \"" + quoted + "\"\n");
    } else {
        value(blanks + field.name + ": " + plain_text(field, filled.seed) + "\n");
    }
}

void TextForm::object(const Filled &filled, u32 indent, const std::string &name) {
    if (err != 0) return;
    frame(std::string(indent, ' '));
    frame(name + "@" + filled.type.name + ": {\n");
    for (u32 i = 0; i < filled.type.field_count; ++i) {
        if (filled.type.fields[i].first_variant > filled.variant) return;
        field(filled, filled.type.fields[i], indent + 2);
    }
    frame(std::string(indent, err == 0 ? filler_ : any));
    frame("}\n");
}

// ---- XML ----------------------------------------------------------------------------

void XmlForm::piece(const std::string &piece) {
    if (err != 0) return;
    if (piece.size() <= space_ - text.size()) {
        text += piece;
    } else {
        err = no_space;
    }
}

// An element that was started is always closed.
void XmlForm::closing(const std::string &name) {
    const std::string tag = "</" + name + ">\n";
    if (tag.size() <= space_ - text.size()) {
        text += tag;
    } else if (err == 0) {
        err = no_space;
    }
}

namespace {

std::string opening(const std::string &name, u8 flag) {
    return "<" + name + (flag == 0 ? "" : " state=\"" + std::to_string(flag) + "\"") + ">";
}

std::string element(const std::string &name, u8 flag, const std::string &text) {
    return opening(name, flag) + text + "</" + name + ">\n";
}

std::string escaped(std::string text) {
    text = replaced(text, '&', "&amp;");
    text = replaced(text, '<', "&lt;");
    text = replaced(text, '>', "&gt;");
    return replaced(text, '"', "&quot;");
}

}  // namespace

void XmlForm::field(const Filled &filled, const Field &field) {
    const u8 flag = filled.block == nullptr ? u8{0} : filled.block[field.state];
    if (field.kind == FieldKind::structure) {
        object(filled.inside(field), field.name, flag);
    } else if (field.kind == FieldKind::enumeration) {
        if (err != 0) return;
        piece(opening(field.name, 0) + "\n");
        piece("<" + std::string(enumerator_name(field, filled.seed)) + "/>");
        closing(field.name);
    } else if (field.kind == FieldKind::array) {
        u32 position = field.state;
        for (const u8 value : array_value(field, filled.seed)) {
            ++position;
            piece(element(field.name, filled.block == nullptr ? u8{0} : filled.block[position],
                          std::to_string(value)));
        }
    } else if (field.kind == FieldKind::vstring) {
        piece(element(field.name, flag, escaped(text_value(field, filled.seed))));
    } else {
        piece(element(field.name, flag, plain_text(field, filled.seed)));
    }
}

void XmlForm::object(const Filled &filled, const std::string &name, u8 flag) {
    if (err != 0) return;
    piece(opening(name, flag) + "\n");
    for (u32 i = 0; i < filled.type.field_count; ++i) {
        if (filled.type.fields[i].first_variant <= filled.variant) {
            field(filled, filled.type.fields[i]);
        }
    }
    closing(name);
}

}  // namespace tarn::test
