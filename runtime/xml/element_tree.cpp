// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/element_tree.h"

namespace tarnbase::runtime {

void ElementTree::start_element(const xmlChar *name) {
    open_.push_back(count());
    elements_.push_back({reinterpret_cast<const char *>(name), texts_.size(), 0, 0});
}

void ElementTree::add_text(std::string_view text) {
    const bool is_before_children = !open_.empty() && open_.back() + 1 == count();
    if (!is_before_children) return;
    texts_ += text;
    elements_.back().text_length += text.size();
}

void ElementTree::end_element() {
    elements_[open_.back()].end = count();
    open_.pop_back();
}

const char *ElementTree::known_name(std::string_view name) const {
    return reinterpret_cast<const char *>(
        xmlDictExists(names_.get(), reinterpret_cast<const xmlChar *>(name.data()),
                      static_cast<int>(name.size())));
}

}  // namespace tarnbase::runtime
