// SPDX-License-Identifier: Apache-2.0
#include "exchange/writer.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "base/output_file.h"
#include "exchange/frames_writer.h"
#include "exchange/json_writer.h"
#include "exchange/xml_writer.h"
#include "exchange/yang_writer.h"

namespace tarnctl {

Format chosen_format(const std::optional<Format> &format, const std::string &output) {
    if (format) return *format;
    if (const auto found = format_of_name(output)) return *found;
    if (suffix_of(output).empty()) return Format::json;
    throw Failure(
        Exit::usage,
        fmt::format("--output `{}`: expected a name that ends in .xml, .json, .yang.json or "
                    ".frames; --format chooses the form for any other",
                    output));
}

std::unique_ptr<Writer> make_writer(Format format, std::ostream &out, Unfit unfit) {
    if (format == Format::xml) return std::make_unique<XmlWriter>(out, std::move(unfit));
    if (format == Format::json) return std::make_unique<JsonWriter>(out);
    if (format == Format::yang_json) return std::make_unique<YangWriter>(out, std::move(unfit));
    return std::make_unique<FramesWriter>(out);
}

}  // namespace tarnctl
