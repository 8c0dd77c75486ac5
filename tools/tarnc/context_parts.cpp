// SPDX-License-Identifier: Apache-2.0
#include "context_parts.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "context.h"

namespace tarnc {

Context empty_list() { return Context{Context::type::list}; }

Context flag(bool value) {
    return Context{value ? Context::type::bool_true : Context::type::bool_false};
}

std::string text(std::uint64_t number) { return std::to_string(number); }

std::string quoted(const std::string &text) {
    std::string result;
    for (const char c : text) {
        if (c == '"' || c == '\\') result += '\\';
        result += c;
    }
    return result;
}

std::string descriptor(const Schema &schema, const std::string &symbol, const std::string &name,
                       const std::string &kind, const Identity &identity, const Context &variants,
                       std::size_t count) {
    Context context;
    context.set("symbol", symbol);
    context.set("name", name);
    context.set("module", schema.module);
    context.set("kind", kind);
    context.set("luid", identity.luid);
    context.set("luid_bytes", bytes_of(identity.luid));
    context.set("variants", variants);
    context.set("variant_count", text(count));
    return render("descriptor.cpp", context);
}

Context variant(std::size_t number, std::uint32_t used, std::uint32_t slop) {
    Context context;
    context.set("variant", text(number));
    context.set("used", text(used));
    context.set("usage", "{" + text(number) + ", " + text(used) + ", " + text(slop) + ", 0, 0, 0}");
    return context;
}

Context one_variant(std::size_t number, std::uint32_t used) {
    Context list = empty_list();
    list.push_back(variant(number, used, 0));
    return list;
}

std::string origin(const Schema &schema, const Place &place) {
    const auto folder = std::filesystem::path(schema.files.front()).parent_path();
    return std::filesystem::path(*place.file).lexically_relative(folder).string();
}

std::string bytes_of(const std::string &luid) {
    std::string bytes = "{";
    for (std::size_t i = 0; i + 1 < luid.size(); i += 2) {
        if (i > 0) bytes += i == luid.size() / 2 ? ",\n             " : ", ";
        bytes += "0x" + luid.substr(i, 2);
    }
    return bytes + "}";
}

std::string safe_name(const Schema &schema, const std::string &name) {
    // Keywords of C and C++, and the other arguments of the functions that take
    // one argument a field.
    static const std::set<std::string> taken = {"alignas",    "alignof",   "and",
                                                "asm",        "auto",      "bool",
                                                "break",      "case",      "catch",
                                                "char",       "class",     "compl",
                                                "concept",    "const",     "consteval",
                                                "constexpr",  "constinit", "continue",
                                                "decltype",   "default",   "delete",
                                                "do",         "double",    "else",
                                                "enum",       "explicit",  "export",
                                                "extern",     "false",     "float",
                                                "for",        "friend",    "goto",
                                                "if",         "inline",    "int",
                                                "long",       "mutable",   "namespace",
                                                "new",        "noexcept",  "not",
                                                "nullptr",    "operator",  "or",
                                                "private",    "protected", "public",
                                                "register",   "requires",  "restrict",
                                                "return",     "short",     "signed",
                                                "sizeof",     "static",    "struct",
                                                "switch",     "template",  "this",
                                                "throw",      "true",      "try",
                                                "typedef",    "typeid",    "typename",
                                                "union",      "unsigned",  "using",
                                                "virtual",    "void",      "volatile",
                                                "while",      "xor",       "handle",
                                                "tx_id",      "object",    "err",
                                                "descriptor", "variant",   "created_variant",
                                                "flags"};
    const auto has_name = [&](const auto &item) { return item.name == name; };
    const bool is_type =
        std::any_of(schema.structures.begin(), schema.structures.end(), has_name) ||
        std::any_of(schema.enumerations.begin(), schema.enumerations.end(), has_name);
    return is_type || taken.count(name) != 0 ? name + "_" : name;
}

}  // namespace tarnc
