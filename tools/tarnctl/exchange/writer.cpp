// SPDX-License-Identifier: Apache-2.0
#include "exchange/writer.h"

#include "exchange/frames_writer.h"
#include "exchange/json_writer.h"
#include "exchange/xml_writer.h"

namespace tarnctl {

std::unique_ptr<Writer> make_writer(Format format, std::ostream &out, Unfit unfit) {
    if (format == Format::xml) return std::make_unique<XmlWriter>(out, std::move(unfit));
    if (format == Format::json) return std::make_unique<JsonWriter>(out);
    return std::make_unique<FramesWriter>(out);
}

}  // namespace tarnctl
