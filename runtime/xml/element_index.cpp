// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/element_index.h"

#include <algorithm>

namespace tarnbase::runtime {

namespace {

bool continues(std::string_view text, std::string_view path) {
    return text.size() > path.size() && text[path.size()] == '/' && text.starts_with(path);
}

}  // namespace

std::optional<Found> ElementIndex::find(std::string_view text) {
    const PlainPath path = parse(text);
    if (!path.is_plain()) return std::nullopt;
    if (path.parent.empty()) {
        if (path.index != 0) return std::nullopt;
        const std::vector<Children> &elements = level_of(path.elements).elements;
        return Found{elements.size(), elements.empty() ? 0 : elements.front().element()};
    }
    if (last_path_ != path.elements) find_families(path);
    return select(path.index);
}

std::optional<std::vector<Position>> ElementIndex::find_all(std::string_view text) {
    const PlainPath path = parse(text);
    if (!path.is_plain() || path.index != 0) return std::nullopt;
    std::vector<Position> all;
    for (const Children &each : level_of(path.elements).elements) all.push_back(each.element());
    // The children of an element inside another one can precede those of the outer one.
    std::sort(all.begin(), all.end());
    return all;
}

PlainPath ElementIndex::parse(std::string_view text) const {
    const bool is_known = !levels_.empty() && continues(text, levels_.back().path);
    return PlainPath(text, is_known ? levels_.back().path.size() : 0);
}

Found ElementIndex::select(std::uint32_t index) const {
    Found found;
    for (const Siblings *family : families_) {
        if (family->count() < index) continue;
        const Position element = family->nth(index == 0 ? 1 : index);
        // A family inside another one can begin later and reach the index earlier.
        found.first = found.count == 0 ? element : std::min(found.first, element);
        found.count += index == 0 ? family->count() : 1;
    }
    return found;
}

void ElementIndex::find_families(const PlainPath &path) {
    Level &level = level_of(path.parent);
    last_path_.clear();
    families_.clear();
    for (Children &children : level.elements) {
        const Siblings *const family = children.named(tree_, path.name);
        if (family != nullptr) families_.push_back(family);
    }
    last_path_ = path.elements;
}

// Requires: `path` is plain and has no index.
ElementIndex::Level &ElementIndex::level_of(std::string_view path) {
    while (!levels_.empty() && levels_.back().path != path &&
           !continues(path, levels_.back().path)) {
        last_path_.clear();
        families_.clear();
        levels_.pop_back();
    }
    while (levels_.empty() || levels_.back().path.size() < path.size()) {
        const std::size_t start = levels_.empty() ? 2 : levels_.back().path.size() + 1;
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string_view name = path.substr(start, end - start);
        levels_.push_back({std::string(path.substr(0, end)),
                           levels_.empty() ? elements_named(name) : children_named(name)});
    }
    return levels_.back();
}

// Those of the last level's elements.
std::vector<Children> ElementIndex::children_named(std::string_view name) {
    std::vector<Children> elements;
    for (Children &children : levels_.back().elements) {
        const Siblings *const family = children.named(tree_, name);
        for (std::size_t i = 1; family != nullptr && i <= family->count(); ++i) {
            elements.emplace_back(family->nth(i));
        }
    }
    return elements;
}

std::vector<Children> ElementIndex::elements_named(std::string_view name) {
    std::vector<Children> elements;
    const char *const known = tree_.known_name(name);
    if (known == nullptr) return elements;
    for (Position element = root_; element < tree_.end(root_); ++element) {
        if (tree_.name(element) == known) elements.emplace_back(element);
    }
    return elements;
}

}  // namespace tarnbase::runtime
