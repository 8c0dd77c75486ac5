# SPDX-License-Identifier: Apache-2.0
# Writes a source file that holds the files of a folder as texts.
#   cmake -DOUT=file.cpp -DFOLDER=page -DFILES=a;b -P embed.cmake
set(entries "")
foreach(name IN LISTS FILES)
  file(READ ${FOLDER}/${name} text)
  file(SHA256 ${FOLDER}/${name} digest)
  string(SUBSTRING ${digest} 0 32 digest)
  string(LENGTH "${text}" length)
  string(FIND "${text}" ")---\"" end)
  # Compilers needn't take longer texts.
  if(length GREATER 65000 OR NOT end EQUAL -1)
    message(FATAL_ERROR "${name}: expected at most 65000 bytes without )---\"")
  endif()
  string(APPEND entries "    {\"/page/${name}\", \"${digest}\", R\"---(${text})---\"},\n")
endforeach()
file(WRITE ${OUT} "// SPDX-License-Identifier: Apache-2.0
#include \"exporter/assets.h\"

namespace exporter {

static constexpr Asset assets[] = {
${entries}};

std::span<const Asset> all_assets() { return assets; }

}  // namespace exporter
")
