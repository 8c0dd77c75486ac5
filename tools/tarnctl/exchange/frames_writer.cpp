// SPDX-License-Identifier: Apache-2.0
#include "exchange/frames_writer.h"

#include <fmt/core.h>

#include <cerrno>
#include <cstring>
#include <optional>

#include "base/failure.h"
#include "cli/utf8.h"
#include "exchange/frames.h"
#include "model/state.h"

namespace tarnctl {
namespace frames {
namespace {

bool has_state(const Record &record) {
    const Table &table = *record.table;
    if (is_tracked(table.object(record.handle, KEL_TX_NONE, record.record))) return true;
    return table.key_type != nullptr &&
           is_tracked(table.key_object(record.handle, KEL_TX_NONE, record.record));
}

}  // namespace

void append_number(std::string &bytes, uint64_t number, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> (8 * i));
}

uint64_t number_at(std::string_view bytes, std::size_t offset, std::size_t size) {
    uint64_t number = 0;
    for (std::size_t i = size; i > 0; --i)
        number = (number << 8U) | static_cast<unsigned char>(bytes[offset + i - 1]);
    return number;
}

std::string_view frame_of(const Record &record, std::string_view table, std::string &buffer) {
    std::optional<tarn::tracking_scope> tracking;
    if (has_state(record)) tracking.emplace(record.handle, tarn::tracking::on);
    if (buffer.empty()) buffer.resize(first_buffer);
    for (;;) {
        uint32_t err = 0;
        // The last state byte can be written one byte after the given length.
        const auto length_given = static_cast<uint32_t>(buffer.size() - 1);
        const uint32_t length = record.table->marshal(record.handle, KEL_TX_NONE, buffer.data(),
                                                      record.record, length_given, &err);
        if (err == 0) return {buffer.data(), length};
        const bool too_small = err == EMSGSIZE || err == ENOMEM;
        if (!too_small || buffer.size() >= largest_buffer)
            throw Failure(Exit::data, fmt::format("{}: record `{}`: it has no frame: {}", table,
                                                  cli::one_line(record.key_text()),
                                                  std::strerror(static_cast<int>(err))));
        buffer.resize(buffer.size() * 2);
    }
}

}  // namespace frames

FramesWriter::FramesWriter(std::ostream &out) : out_(out) {
    std::string head(frames_magic);
    frames::append_number(head, format_version, 4);
    frames::append_number(head, 0, 4);
    out_ << head;
}

void FramesWriter::begin_table(const Instance &instance) {
    table_ = cli::one_line(instance.full_name());
    const bool by_name = instance.block->open_mode == KEL_OPEN_BY_NAME;
    std::string name = by_name ? instance.name() : "";
    if (!by_name) frames::append_number(name, instance.block->table_id, 8);
    std::string block(1, frames::table_mark);
    block.append(reinterpret_cast<const char *>(instance.table->luid), frames::luid_size);
    frames::append_number(block, by_name ? 0 : 1, 1);
    frames::append_number(block, name.size(), 4);
    out_ << block << name;
}

void FramesWriter::write(const Record &record) {
    const std::string_view frame = frames::frame_of(record, table_, buffer_);
    std::string head(1, frames::record_mark);
    frames::append_number(head, record.tenant(), 2);
    frames::append_number(head, record.src(), 1);
    frames::append_number(head, record.is_pending() ? 1 : 0, 1);
    frames::append_number(head, frame.size(), 4);
    out_ << head << frame;
    ++records_;
}

void FramesWriter::end() {
    std::string block(1, frames::end_mark);
    frames::append_number(block, records_, 8);
    out_ << block;
}

}  // namespace tarnctl
