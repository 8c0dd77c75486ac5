# SPDX-License-Identifier: Apache-2.0
# Writes a source file that holds the templates as texts.
#   cmake -DOUT=file.cpp -DTEMPLATES=a;b -P embed.cmake
set(entries "")
foreach(template IN LISTS TEMPLATES)
  get_filename_component(name ${template} NAME)
  file(READ ${template} text)
  string(APPEND entries "    {\"${name}\", R\"---(${text})---\"},\n")
endforeach()
file(WRITE ${OUT} "// SPDX-License-Identifier: Apache-2.0
#include <stdexcept>

#include \"render.h\"

namespace tarnc {

static constexpr struct {
    std::string_view name;
    std::string_view text;
} templates[] = {
${entries}};

std::string_view template_text(std::string_view name) {
    for (const auto &each : templates) {
        if (each.name == name) return each.text;
    }
    throw std::logic_error(\"no template \" + std::string(name));
}

}  // namespace tarnc
")
