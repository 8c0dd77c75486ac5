// SPDX-License-Identifier: Apache-2.0
#include "exchange/draft.h"

#include <fmt/core.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/failure.h"
#include "exchange/frames.h"
#include "model/state.h"

namespace tarnctl {
namespace {

constexpr std::size_t frame_length_offset = 12;
constexpr std::size_t frame_luid_offset = KEL_MESSAGE_HEADER_SIZE;

tarn::tracking mode(bool tracked) { return tracked ? tarn::tracking::on : tarn::tracking::off; }

Failure bad_frame(const std::string &text) { return Failure(Exit::data, "frame: " + text); }

}  // namespace

Draft::Draft(const Store &store, uint32_t tx_id, const Table &table)
    : table_(table), handle_(store.handle()), tx_id_(tx_id) {}

Draft::~Draft() {
    variant_.reset();
    uint32_t err = 0;
    if (record_ != nullptr) table_.destroy_record(handle_, tx_id_, record_, &err);
}

void Draft::begin(const RecordHead &head) {
    head_ = head;
    const int top = top_variant(*table_.type);
    if (head.variant && (*head.variant < -1 || *head.variant > top))
        throw Failure(Exit::data, fmt::format("variant: expected a number from -1 to {}, not {}",
                                              top, *head.variant));
    const tarn::tenant_scope tenant(head.tenant);
    uint32_t err = 0;
    record_ = table_.create_record(handle_, tx_id_, head.source, &err);
    need(record_ == nullptr && err == 0 ? ENOMEM : err, "making a record");
}

void *Draft::make_object() {
    // Until the record is complete: a write through a handle with a newer variant would convert the
    // object to it.
    if (head_.variant && !variant_) {
        auto scope = tarn::variant_scope::try_make(handle_, *table_.type->descriptor,
                                                   static_cast<int8_t>(*head_.variant));
        need(scope ? 0 : scope.error().number(), "variant");
        variant_.emplace(std::move(*scope));
    }
    const tarn::tracking_scope scope(handle_, mode(head_.tracked));
    void *object = table_.type->create(handle_, tx_id_);
    need(object == nullptr ? ENOMEM : 0, "making a record");
    table_.set_object(handle_, tx_id_, record_, object);
    return object;
}

void *Draft::make_key_object() {
    const tarn::tracking_scope scope(handle_, mode(head_.tracked));
    void *key = table_.key_type->create(handle_, tx_id_);
    need(key == nullptr ? ENOMEM : 0, "making a record");
    table_.set_key_object(handle_, tx_id_, record_, key);
    return key;
}

void Draft::check_complete() const {
    const bool has_key = table_.key_type != nullptr
                             ? table_.key_object(handle_, tx_id_, record_) != nullptr
                             : table_.object(handle_, tx_id_, record_) != nullptr;
    if (!has_key)
        throw Failure(Exit::data,
                      fmt::format("expected the record's key, {}", table_.key_carrier().name));
}

void Draft::check_frame(std::string_view frame) const {
    if (frame.size() <= frames::object_flags_offset)
        throw bad_frame(fmt::format("expected at least {} bytes, not {}",
                                    frames::object_flags_offset + 1, frame.size()));
    if (static_cast<unsigned char>(frame[0]) != KEL_MESSAGE_MARKER)
        throw bad_frame(fmt::format("expected the marker {} at byte 0", KEL_MESSAGE_MARKER));
    if (frames::number_at(frame, frame_length_offset, 4) != frame.size())
        throw bad_frame(fmt::format("its header declares {} bytes, but it has {}",
                                    frames::number_at(frame, frame_length_offset, 4),
                                    frame.size()));
    if (std::memcmp(frame.data() + frame_luid_offset, table_.luid, frames::luid_size) != 0)
        throw bad_frame(fmt::format("it isn't one of {}: another LUID at byte {}", table_.name,
                                    frame_luid_offset));
}

// A frame that was read completely is written the same; otherwise something would be lost.
void Draft::compare_frame(std::string_view frame) const {
    std::string buffer(frame.size() + 1, '\0');
    const std::string_view written = frames::frame_of(record(), table_.name, buffer);
    // The header has a stamp of the handle that wrote it, and isn't compared.
    if (written.size() == frame.size() &&
        std::memcmp(written.data() + frame_luid_offset, frame.data() + frame_luid_offset,
                    frame.size() - frame_luid_offset) == 0)
        return;
    for (std::size_t i = frame_luid_offset; i < frame.size(); ++i) {
        if (i < written.size() && frame[i] == written[i]) continue;
        throw bad_frame(fmt::format("the bytes from {} on aren't of {} in this program's schema", i,
                                    table_.name));
    }
}

void Draft::take_frame(const RecordHead &head, std::string_view frame, bool lenient) {
    head_ = head;
    check_frame(frame);
    const uint8_t flags = static_cast<uint8_t>(frame[frames::object_flags_offset]);
    const tarn::tracking_scope scope(handle_, mode((flags & OBJ_STATE_TRACKED) != 0));
    const tarn::tenant_scope tenant(head.tenant);
    uint32_t err = 0;
    const uint32_t length = table_.unmarshal(handle_, tx_id_, &record_, frame.data(),
                                             static_cast<uint32_t>(frame.size()), 0, &err);
    if (err == ENOMEM && record_ == nullptr) need(err, "making a record");
    if (err != 0 || length > frame.size())
        throw bad_frame(fmt::format("it can't be read from byte {} on: {}", length,
                                    std::strerror(static_cast<int>(err == 0 ? EMSGSIZE : err))));
    if (length != frame.size())
        throw bad_frame(fmt::format("{} bytes follow the record", frame.size() - length));
    record_->src = head.source;
    if (!lenient) compare_frame(frame);
}

}  // namespace tarnctl
