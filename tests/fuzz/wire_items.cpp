// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/wire_items.h"

#include "object/fields.h"
#include "tarnbase/module.h"
#include "tests/support/module.h"

namespace tarnbase::fuzz {

namespace {

constexpr u32 luid_length = 16;
constexpr u32 frame_start = KEL_MESSAGE_HEADER_SIZE + luid_length;
constexpr u32 ra_data_length = 9;

// Reads the items; after one that doesn't fit, nothing more is added.
class Walker {
 public:
    explicit Walker(Bytes stream) : stream_(stream) {}

    // False: the stream ends, or its next bytes aren't a frame.
    bool frame() {
        const u32 start = cursor_;
        const Table *table = table_of_frame(stream_.subspan(start));
        if (table == nullptr) return false;
        item(WireKind::header, KEL_MESSAGE_HEADER_SIZE);
        item(WireKind::luid, luid_length);
        object(*table->type);
        if (table->key_type != nullptr) object(*table->key_type);
        items_.push_back({WireKind::frame, start, cursor_ - start});
        return !broken_;
    }
    std::vector<WireItem> take() { return std::move(items_); }

 private:
    void item(WireKind kind, u32 length) {
        if (broken_ || stream_.size() - cursor_ < length) {
            broken_ = true;
            return;
        }
        items_.push_back({kind, cursor_, length});
        cursor_ += length;
    }
    u8 peek(u32 ahead = 0) const {
        return stream_.size() - cursor_ > ahead ? stream_[cursor_ + ahead] : u8{0};
    }
    void object(const Structure &type);
    void field(const Field &field);
    void text();

    Bytes stream_;
    u32 cursor_ = 0;
    bool broken_ = false;
    std::vector<WireItem> items_;
};

void Walker::text() {
    const u32 length = peek() | u32{peek(1)} << 8 | u32{peek(2)} << 16 | u32{peek(3)} << 24;
    item(WireKind::text_length, 4);
    item(WireKind::value, length);
}

void Walker::field(const Field &field) {
    switch (field.kind) {
        case FieldKind::enumeration:
            item(WireKind::variant, 1);
            return item(WireKind::value, 4);
        case FieldKind::vstring:
            return text();
        case FieldKind::address: {
            const u32 family = peek();
            item(WireKind::family, 1);
            return item(WireKind::value, family == KEL_ADDRESS_IPV4   ? 4U
                                         : family == KEL_ADDRESS_IPV6 ? 16U
                                                                      : 0U);
        }
        case FieldKind::structure:
            return object(*field.structure);
        case FieldKind::array:
            return item(WireKind::value, field.elements);
        default:
            return item(WireKind::value, facts_of(field.kind).wire);
    }
}

void Walker::object(const Structure &type) {
    const u32 start = cursor_;
    const auto variant = static_cast<std::int8_t>(peek());
    const u8 flags = peek(1);
    item(WireKind::variant, 1);
    item(WireKind::flags, 1);
    if ((flags & OBJ_RA_DATA) != 0) item(WireKind::ra_data, ra_data_length);
    item(WireKind::jump, 4);
    for (const Field &each : object::fields_of(type)) {
        if (each.first_variant > variant || broken_) break;
        field(each);
        if ((flags & OBJ_STATE_TRACKED) != 0) item(WireKind::state, 1 + each.elements);
    }
    items_.push_back({WireKind::object, start, cursor_ - start});
}

}  // namespace

const Table *table_of_frame(Bytes frame) {
    if (frame.size() < frame_start) return nullptr;
    const std::int32_t index = tarnbase_table_mrst_lookup(frame.data() + KEL_MESSAGE_HEADER_SIZE);
    return index < 0 ? nullptr : all_tables()[static_cast<u32>(index)];
}

std::vector<WireItem> items_of_stream(Bytes stream) {
    Walker walker(stream);
    while (walker.frame()) {
    }
    return walker.take();
}

}  // namespace tarnbase::fuzz
