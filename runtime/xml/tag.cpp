// SPDX-License-Identifier: Apache-2.0
// The tags of elements that hold elements: each ends its line.
#include "runtime/xml/tag.h"

namespace tarn::runtime {

void append_start_tag(Line &line, std::string_view name, std::uint8_t state_flag) {
    line.character('<').text(name);
    if (state_flag != 0) line.text(" state=\"").number(unsigned{state_flag}).character('"');
    line.character('>');
}

void append_end_tag(Line &line, std::string_view name) {
    line.text("</").text(name).character('>');
}

}  // namespace tarn::runtime

std::uint32_t start_tag(kel_handle *handle, std::uint32_t, char *buffer, const char *element,
                        std::uint32_t remaining, std::uint8_t state_flag, std::uint32_t *err) {
    if (*err != 0) return 0;
    tarn::runtime::Line line(buffer, remaining);
    append_start_tag(line, element, state_flag);
    return line.character('\n').finish(handle, err);
}

// Runs after an error as well: an element whose content failed is still closed.
std::uint32_t end_tag(kel_handle *handle, std::uint32_t, char *buffer, const char *element,
                      std::uint32_t remaining, std::uint32_t *err) {
    tarn::runtime::Line line(buffer, remaining);
    append_end_tag(line, element);
    return line.character('\n').finish(handle, err);
}

std::uint32_t xml_enum_print(kel_handle *handle, std::uint32_t, char *buffer, const char *text,
                             std::uint32_t remaining, std::uint32_t text_len, std::uint32_t *err) {
    if (*err != 0) return 0;
    return tarn::runtime::Line(buffer, remaining).text({text, text_len}).finish(handle, err);
}
