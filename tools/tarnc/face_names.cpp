// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>

#include "context.h"
#include "face.h"

namespace tarnc {
namespace {

// Keywords of C++, and names that the C library's headers may have as macros.
bool is_taken(const std::string &name) {
    static const std::set<std::string> taken = {
        "alignas",      "alignof",       "and",         "and_eq",    "asm",
        "assert",       "auto",          "bitand",      "bitor",     "bool",
        "break",        "case",          "catch",       "char",      "char8_t",
        "char16_t",     "char32_t",      "class",       "compl",     "concept",
        "const",        "consteval",     "constexpr",   "constinit", "const_cast",
        "continue",     "co_await",      "co_return",   "co_yield",  "decltype",
        "default",      "delete",        "do",          "double",    "dynamic_cast",
        "else",         "enum",          "errno",       "explicit",  "export",
        "extern",       "false",         "float",       "for",       "friend",
        "goto",         "i386",          "if",          "inline",    "int",
        "linux",        "long",          "major",       "makedev",   "minor",
        "mutable",      "namespace",     "new",         "noexcept",  "not",
        "not_eq",       "nullptr",       "operator",    "or",        "or_eq",
        "private",      "protected",     "public",      "register",  "reinterpret_cast",
        "requires",     "return",        "short",       "signed",    "sizeof",
        "static",       "static_assert", "static_cast", "stderr",    "stdin",
        "stdout",       "struct",        "switch",      "template",  "this",
        "thread_local", "throw",         "true",        "try",       "typedef",
        "typeid",       "typename",      "union",       "unix",      "unsigned",
        "using",        "virtual",       "void",        "volatile",  "wchar_t",
        "while",        "xor",           "xor_eq"};
    return taken.count(name) != 0;
}

std::string usable(const std::string &name) { return is_taken(name) ? name + "_" : name; }

std::string without(const std::string &prefix, const std::string &name) {
    const bool has_it = name.compare(0, prefix.size(), prefix) == 0;
    const bool is_name = name.size() > prefix.size() &&
                         std::isdigit(static_cast<unsigned char>(name[prefix.size()])) == 0;
    return has_it && is_name ? name.substr(prefix.size()) : name;
}

std::vector<std::string> words_of(const std::string &name) {
    std::vector<std::string> words;
    std::istringstream in(name);
    for (std::string word; std::getline(in, word, '_');) words.push_back(word);
    return words;
}

std::string lower_case(std::string text) {
    for (char &c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The words from `first` on. A name can't begin with a digit: the word before stays then.
std::string joined(const std::vector<std::string> &words, std::size_t first) {
    while (first > 0 &&
           (words[first].empty() || std::isdigit(static_cast<unsigned char>(words[first][0])) != 0))
        --first;
    std::string name = words[first];
    for (std::size_t i = first + 1; i < words.size(); ++i) name += "_" + words[i];
    return lower_case(name);
}

}  // namespace

std::string bare_name(const Structure &structure) {
    const std::string &name = structure.name;
    const std::string bare = without("st_", name);
    return bare == name ? without("kel_", name) : bare;
}

std::string face_name(const Structure &structure) { return usable(bare_name(structure)); }

std::string face_member(const Structure &structure, const Field &field) {
    // The class's own members, its base's and a record's, and what its text names.
    static const std::set<std::string> own = {
        "byte_range",  "c_handle",    "c_object",  "c_record",  "detail",        "key",
        "object_view", "owned",       "make",      "read_wire", "read_xml",      "pending_destroy",
        "release",     "result",      "source",    "std",       "tarn",          "tenant",
        "to_text",     "to_wire",     "to_xml",    "try_make",  "try_read_wire", "try_read_xml",
        "try_to_text", "try_to_wire", "try_to_xml"};
    const bool is_own = own.count(field.name) != 0 || field.name == face_name(structure);
    return is_own ? field.name + "_" : usable(field.name);
}

std::vector<std::string> bare_enumerators(const Enumeration &enumeration) {
    std::vector<std::vector<std::string>> all;
    for (const Enumerator &each : enumeration.enumerators) all.push_back(words_of(each.name));
    std::size_t common = all.front().size() - 1;  // every one keeps its last word
    for (const auto &words : all) {
        common = std::min(common, words.size() - 1);
        for (std::size_t i = 0; i < common; ++i) {
            if (words[i] != all.front()[i]) common = i;
        }
    }
    std::vector<std::string> names;
    for (const auto &words : all) names.push_back(joined(words, common));
    return names;
}

std::vector<std::string> face_enumerators(const Enumeration &enumeration) {
    std::vector<std::string> names = bare_enumerators(enumeration);
    for (std::string &name : names) name = usable(name);
    return names;
}

std::string face_file(const Table &table) { return without("tbl_", table.name); }

}  // namespace tarnc
