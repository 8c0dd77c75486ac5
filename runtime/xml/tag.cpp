// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/tag.h"

namespace tarnbase::runtime {

std::uint32_t write_start_tag(kel_handle *handle, char *buffer, std::string_view name,
                              std::uint32_t remaining, std::uint8_t state_flag,
                              std::uint32_t *err) {
    if (*err != 0) return 0;
    Line line(buffer, remaining);
    append_start_tag(line, name, state_flag);
    return line.character('\n').finish(handle, err);
}

std::uint32_t write_end_tag(kel_handle *handle, char *buffer, std::string_view name,
                            std::uint32_t remaining, std::uint32_t *err) {
    Line line(buffer, remaining);
    append_end_tag(line, name);
    return line.character('\n').finish(handle, err);
}

}  // namespace tarnbase::runtime
