// SPDX-License-Identifier: Apache-2.0
//
// The files of the page, which are part of the program.
#ifndef TOOLS_EXPORTER_ASSETS_H
#define TOOLS_EXPORTER_ASSETS_H

#include <span>
#include <string_view>

#include "exporter/message.h"

namespace exporter {

struct Asset {
    std::string_view path;    // "/page/main.js"
    std::string_view digest;  // of the text
    std::string_view text;
};

// All of them. Made from the folder page/ by embed.cmake.
std::span<const Asset> all_assets();
// The file of that path, `/` being the page itself; null if there is none.
const Asset *asset_at(std::string_view path);
// The file, or 304 if the client has it.
Response asset_response(const Asset &asset, const Request &request);

}  // namespace exporter

#endif
