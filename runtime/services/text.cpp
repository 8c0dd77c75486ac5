// SPDX-License-Identifier: Apache-2.0
// Text and XML.
#include <cstdarg>

#include "runtime/text/format.h"
#include "runtime/text/line.h"
#include "runtime/xml/search.h"
#include "runtime/xml/tag.h"

using namespace tarnbase::runtime;

std::uint32_t kel_print_space(kel_handle *handle, std::uint32_t, char *buffer, std::uint32_t indent,
                              std::uint32_t remaining, std::uint32_t *err) {
    return write_blanks(handle, buffer, indent, remaining, err);
}

std::uint32_t kel_snprintf(kel_handle *handle, std::uint32_t, char *buffer, std::uint32_t remaining,
                           std::uint32_t *err, const char *format, ...) {
    // The arguments are read again if that is necessary: to copy the list takes longer.
    std::uint32_t length = 0;
    std::va_list arguments;
    va_start(arguments, format);
    const bool is_written = write_texts(buffer, remaining, format, arguments, length);
    va_end(arguments);
    if (is_written) return length;
    va_start(arguments, format);
    length = write_formatted(handle, buffer, remaining, err, format, arguments);
    va_end(arguments);
    return length;
}

std::uint32_t start_tag(kel_handle *handle, std::uint32_t, char *buffer, const char *element,
                        std::uint32_t remaining, std::uint8_t state_flag, std::uint32_t *err) {
    return write_start_tag(handle, buffer, element, remaining, state_flag, err);
}

std::uint32_t end_tag(kel_handle *handle, std::uint32_t, char *buffer, const char *element,
                      std::uint32_t remaining, std::uint32_t *err) {
    return write_end_tag(handle, buffer, element, remaining, err);
}

std::uint32_t xml_enum_print(kel_handle *handle, std::uint32_t, char *buffer, const char *text,
                             std::uint32_t remaining, std::uint32_t text_len, std::uint32_t *err) {
    if (*err != 0) return 0;
    return Line(buffer, remaining).text({text, text_len}).finish(handle, err);
}

std::uint32_t xml_get_element_nodecount(void *document, const char *path, std::uint32_t *count) {
    return count_nodes(static_cast<kel_xml_document *>(document), path, count);
}

std::uint32_t xml_get_element_value(void *document, const char *path, char *area,
                                    std::uint32_t area_len, std::uint32_t) {
    return copy_first_text(static_cast<kel_xml_document *>(document), path, area, area_len);
}
