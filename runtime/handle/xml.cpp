// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/document.h"
#include "runtime/xml/each.h"

kel_xml_document *kel_xml_parse(const char *text, std::size_t length) {
    return tarnbase::runtime::parse_document(text, length);
}

void kel_xml_free(kel_xml_document *document) { delete document; }

std::uint32_t kel_xml_for_each(kel_xml_document *document, const char *path,
                               std::uint32_t (*function)(kel_xml_document *element, void *context),
                               void *context, std::uint32_t *result) {
    return tarnbase::runtime::for_each_element(document, path, function, context, result);
}
