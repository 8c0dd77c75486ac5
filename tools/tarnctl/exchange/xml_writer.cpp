// SPDX-License-Identifier: Apache-2.0
#include "exchange/xml_writer.h"

#include <fmt/core.h>

#include <cerrno>
#include <cstring>

#include "base/failure.h"
#include "cli/utf8.h"
#include "exchange/unfit.h"
#include "exchange/xml_escape.h"
#include "exchange/xml_text.h"
#include "model/state.h"
#include "tarnbase/tarn/trace.hpp"

namespace tarnctl {
namespace {

constexpr std::string_view ways_out =
    "JSON and frames can, or `tarnctl export` with --escape or --skip";

// Part of the library's form of a number that no enumerator has. Texts have no bare `>`.
constexpr std::string_view no_enumerator = " value out of range/>";

std::string state_attribute(std::string_view name, const Record &record, void *object,
                            const Structure &structure) {
    if (!is_tracked(object)) return "";
    std::string flags;
    for (const auto &[path, flag] : state_flags_of(record.handle, object, structure))
        flags += fmt::format("{}{}={}", flags.empty() ? "" : " ", path, flag);
    return fmt::format(" {}=\"{}\"", name, flags);
}

std::string attributes_of(const Record &record) {
    const Table &table = *record.table;
    std::string text = fmt::format("tenant=\"{}\" source=\"{}\"", record.tenant(), record.src());
    if (record.is_pending()) text += " pending=\"true\"";
    void *object = table.object(record.handle, KEL_TX_NONE, record.record);
    if (object == nullptr) return text;
    const int variant = static_cast<kel_object *>(object)->variant;
    if (variant != top_variant(*table.type)) text += fmt::format(" variant=\"{}\"", variant);
    text += state_attribute("state", record, object, *table.type);
    if (table.key_type != nullptr)
        text += state_attribute("key_state", record,
                                table.key_object(record.handle, KEL_TX_NONE, record.record),
                                *table.key_type);
    return text;
}

}  // namespace

XmlWriter::XmlWriter(std::ostream &out, Unfit unfit)
    : out_(out), unfit_(std::move(unfit)), buffer_(first_buffer, '\0') {
    out_ << fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<tarnbase format=\"{}\">\n",
                        format_version);
}

void XmlWriter::begin_table(const Instance &instance) {
    table_ = cli::one_line(instance.full_name());
    const bool by_name = instance.block->open_mode == KEL_OPEN_BY_NAME;
    const std::string name = by_name ? instance.name() : std::to_string(instance.block->table_id);
    const bool fits = first_unfit_for_xml(name) == std::string_view::npos;
    if (!fits && !unfit_.escape)
        throw Failure(Exit::data, fmt::format("{}: XML can't represent the table's name; {}",
                                              table_, ways_out));
    out_ << fmt::format("<table type=\"{}\" {}=\"{}\"{}>\n", instance.table->name,
                        by_name ? "name" : "id", xml_escaped(fits ? name : escape_unfit(name)),
                        fits ? "" : escaped_mark);
}

void XmlWriter::write(const Record &record) {
    uint32_t err = 0;
    const std::optional<std::string_view> form = form_of(record, err);
    if (!form && !unfit_.escape) {
        const UnfitField other{"", std::strerror(static_cast<int>(err))};
        const std::string objection =
            objection_to(record, unfit_field(record).value_or(other), "XML", table_);
        if (!unfit_.skip) throw Failure(Exit::data, fmt::format("{}; {}", objection, ways_out));
        unfit_.skip(objection);
        return;
    }
    out_ << "<record " << attributes_of(record) << ">\n";
    if (form) out_ << *form;
    else out_ << escaped_form(record);
    out_ << "</record>\n";
}

void XmlWriter::end_table() { out_ << "</table>\n"; }

void XmlWriter::end() { out_ << "</tarnbase>\n"; }

std::optional<std::string_view> XmlWriter::form_of(const Record &record, uint32_t &err) {
    const tarn::quiet_scope quiet;
    for (;;) {
        err = 0;
        const uint32_t length =
            record.table->to_xml(record.handle, KEL_TX_NONE, buffer_.data(), record.record,
                                 static_cast<uint32_t>(buffer_.size()), &err);
        if (err == EMSGSIZE && buffer_.size() < largest_buffer) {
            buffer_.resize(buffer_.size() * 2);
            continue;
        }
        const std::string_view form(buffer_.data(), length);
        if (err != 0 || form.find(no_enumerator) != std::string_view::npos) return std::nullopt;
        return form;
    }
}

}  // namespace tarnctl
