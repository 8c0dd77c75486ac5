// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/each.h"

#include <cerrno>
#include <new>
#include <optional>
#include <vector>

#include "runtime/base/error_text.h"
#include "runtime/xml/search.h"

namespace tarnbase::runtime {

namespace {

// Empty: an invalid selection.
std::optional<std::vector<Position>> select_elements(kel_xml_document *document, const char *path) {
    if (document == nullptr || path == nullptr) return std::nullopt;
    if (auto found = document->index.find_all(path)) return found;
    const Selection nodes(document, path);
    if (!nodes.valid()) return std::nullopt;
    std::vector<Position> elements;
    for (std::uint32_t i = 0; i < nodes.count(); ++i) {
        if (nodes[i]->type == XML_ELEMENT_NODE) elements.push_back(position_of(nodes[i]));
    }
    return elements;
}

}  // namespace

std::uint32_t for_each_element(kel_xml_document *document, const char *path,
                               ElementFunction function, void *context, std::uint32_t *result) try {
    const auto elements = select_elements(document, path);
    if (!elements) {
        return fail(EINVAL, "XML: expected a path that selects elements, found \"%s\"",
                    path == nullptr ? "(null)" : path);
    }
    std::uint32_t last_result = 0;
    for (const Position each : *elements) {
        kel_xml_document element(document->text, each);
        last_result = function(&element, context);
        if (last_result != 0) break;
    }
    if (result != nullptr) *result = last_result;
    return 0;
} catch (const std::bad_alloc &) {
    return fail(ENOMEM, "XML: no memory for an element of \"%s\"", path);
}

}  // namespace tarnbase::runtime
