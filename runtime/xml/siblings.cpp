// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/siblings.h"

#include <charconv>
#include <unordered_map>

namespace tarnbase::runtime {

namespace {

// A path of these characters has no axis, function or index, which would give an index at
// its end another meaning.
constexpr std::string_view plain_characters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_/";

}  // namespace

IndexedPath::IndexedPath(std::string_view text) {
    const std::size_t open = text.find_first_not_of(plain_characters);
    if (open == std::string_view::npos || text[open] != '[' || text.back() != ']') return;
    const char *const end = text.data() + text.size() - 1;
    const auto [rest, error] = std::from_chars(text.data() + open + 1, end, index);
    if (error == std::errc{} && rest == end && index > 0) path = text.substr(0, open);
}

void Siblings::assign(std::string_view new_path, const xmlNodeSet *nodes) {
    path.clear();
    families.clear();
    std::unordered_map<const xmlNode *, std::size_t> family_of;
    for (int i = 0; i < xmlXPathNodeSetGetLength(nodes); ++i) {
        xmlNode *const node = nodes->nodeTab[i];
        const auto [place, is_new] = family_of.emplace(node->parent, families.size());
        if (is_new) families.emplace_back();
        families[place->second].push_back(node);
    }
    path = new_path;
}

}  // namespace tarnbase::runtime
