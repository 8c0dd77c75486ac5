// SPDX-License-Identifier: Apache-2.0
#include "exchange/unfit.h"

#include <fmt/core.h>

#include "cli/utf8.h"
#include "exchange/xml_text.h"

namespace tarnctl {
namespace {

// Empty if there is no objection.
std::string reason_against(const Value &value) {
    if (!value.present()) return "";
    if (value.field().kind == Kind::vstring) {
        const std::string_view bytes = value.bytes();
        const std::size_t offset = first_unfit_for_xml(bytes);
        if (offset == std::string_view::npos) return "";
        return fmt::format("the text has the byte 0x{:02x} at offset {}",
                           static_cast<unsigned char>(bytes[offset]), offset);
    }
    if (value.field().kind != Kind::enumeration) return "";
    const auto number = static_cast<uint32_t>(value.number());
    if (enumerator_of(*value.field().enumeration, number) != nullptr) return "";
    return fmt::format("{} is no enumerator of {}", number, value.field().enumeration->name);
}

}  // namespace

std::optional<UnfitField> unfit_field(const Record &record) {
    for (const Column &column : columns_of(*record.table)) {
        const std::string reason = reason_against(record.value(column));
        if (!reason.empty()) return UnfitField{column.name(), reason};
    }
    return std::nullopt;
}

std::string objection_to(const Record &record, const UnfitField &field, std::string_view form,
                         std::string_view table) {
    return fmt::format("{}: record `{}`: {}{}{} can't represent it: {}", table,
                       cli::one_line(record.key_text()), field.name, field.name.empty() ? "" : ": ",
                       form, field.reason);
}

}  // namespace tarnctl
