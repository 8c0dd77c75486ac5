// SPDX-License-Identifier: Apache-2.0
// Encodes a record's key as bytes: each part with its most significant byte first, a text after its
// length, because shorter texts order first.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <new>
#include <span>
#include <utility>

#include "runtime/index/key_order.h"
#include "runtime/value/address.h"
#include "runtime/value/vstring.h"
#include "tarnbase/key_order.h"
#include "tarnbase/record.h"

namespace {

using namespace tarnbase::runtime;

// Parts of a longer key after these are not encoded.
constexpr std::size_t most_parts = 8;

const kel_record *record_of(const kel_index_node *node) {
    const auto address = reinterpret_cast<std::uintptr_t>(node) - offsetof(kel_record, index_node);
    return reinterpret_cast<const kel_record *>(address);
}

// Appends to the bytes of a key until they are full.
class KeyWriter {
 public:
    explicit KeyWriter(KeyBytes &bytes) : bytes_(bytes) { bytes_.fill(0); }

    bool is_full() const { return used_ == bytes_.size(); }
    void bytes(const void *from, std::size_t length) {
        const std::size_t fitting = std::min(length, bytes_.size() - used_);
        std::memcpy(bytes_.data() + used_, from, fitting);
        used_ += fitting;
    }
    void number(std::uint64_t value, std::size_t size) {
        std::array<unsigned char, sizeof value> digits;
        for (std::size_t i = 0; i < sizeof value; ++i) {
            digits[i] = static_cast<unsigned char>(value >> 8 * (sizeof value - 1 - i));
        }
        bytes(digits.data() + sizeof value - size, size);
    }

 private:
    KeyBytes &bytes_;
    std::size_t used_ = 0;
};

std::uint64_t number_at(const char *place, std::size_t size) {
    std::uint64_t value = 0;
    std::memcpy(&value, place, size);  // little-endian
    return value;
}

class RecordOrder final : public KeyOrder {
 public:
    explicit RecordOrder(const kel_key_order &order)
        : in_key_object_(order.in_key_object != 0), is_whole_(order.part_count <= most_parts) {
        const std::span given(order.parts, std::min<std::size_t>(order.part_count, most_parts));
        std::copy(given.begin(), given.end(), parts_.begin());
        count_ = given.size();
    }

    // Null: no memory. It lasts as long as the process: a thread may be using it.
    static const RecordOrder *make(const kel_key_order &order) {
        static constinit std::atomic<RecordOrder *> newest = nullptr;
        auto *made = new (std::nothrow) RecordOrder(order);
        if (made != nullptr) made->previous_ = newest.exchange(made);
        return made;
    }

    void encode(const kel_index_node *node, KeyBytes &bytes) const override {
        const kel_record *record = record_of(node);
        KeyWriter writer(bytes);
        writer.number(record->tenant_id, sizeof record->tenant_id);
        const void *object = in_key_object_ ? record->key_object : record->object;
        if (object == nullptr) return;
        for (const kel_key_part &part : std::span(parts_.data(), count_)) {
            if (writer.is_full() || !append(writer, part, object)) return;
        }
        if (is_whole_) writer.number(record->src, sizeof record->src);
    }

    KeyHints hints(const kel_index_node *node) const override {
        const kel_record *record = record_of(node);
        const auto *object =
            static_cast<const char *>(in_key_object_ ? record->key_object : record->object);
        if (object == nullptr || count_ == 0) return {};
        const char *part = object + parts_[0].offset;
        const char *text = parts_[0].kind == KEL_KEY_TEXT
                               ? text_of(reinterpret_cast<const kel_vstring *>(part)).data()
                               : part;
        return {distance(node, part), distance(node, text)};
    }

 private:
    // In units of 16 bytes; 0 if it is too long.
    static std::int32_t distance(const kel_index_node *node, const char *to) {
        const auto bytes = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(to) -
                                                     reinterpret_cast<std::uintptr_t>(node));
        const std::int64_t units = bytes / 16;
        return std::in_range<std::int32_t>(units) ? static_cast<std::int32_t>(units) : 0;
    }

    // False: the rest of the key isn't known.
    static bool append(KeyWriter &writer, const kel_key_part &part, const void *object) {
        const char *place = static_cast<const char *>(object) + part.offset;
        switch (part.kind) {
            case KEL_KEY_UNSIGNED:
                writer.number(number_at(place, part.size), part.size);
                return true;
            case KEL_KEY_SIGNED:
                writer.number(number_at(place, part.size) ^ 1ULL << (8 * part.size - 1), part.size);
                return true;
            case KEL_KEY_TEXT: {
                const std::string_view text = text_of(reinterpret_cast<const kel_vstring *>(place));
                writer.number(text.size(), sizeof(std::uint32_t));
                writer.bytes(text.data(), text.size());
                return true;
            }
            case KEL_KEY_ADDRESS: {
                const auto *address = reinterpret_cast<const ip_address *>(place);
                writer.number(address->family, sizeof address->family);
                writer.bytes(address->bytes, sizeof address->bytes);
                return true;
            }
            case KEL_KEY_BYTES:
                writer.bytes(place, part.size);
                return true;
            default:
                return false;
        }
    }

    bool in_key_object_;
    bool is_whole_;
    std::size_t count_ = 0;
    std::array<kel_key_part, most_parts> parts_{};
    const RecordOrder *previous_ = nullptr;  // the one made before: leak checkers find it here
};

bool is_valid(const kel_key_order &order) {
    return std::ranges::all_of(std::span(order.parts, order.part_count), [](const auto &part) {
        const bool is_integer = part.kind == KEL_KEY_UNSIGNED || part.kind == KEL_KEY_SIGNED;
        return !is_integer || (part.size >= 1 && part.size <= sizeof(std::uint64_t));
    });
}

// A comparison of the program's own may order texts or addresses differently.
bool has_own_comparisons(const kel_key_order &order) {
    return order.compare_text == own_vstring_compare &&
           order.compare_address == own_address_compare;
}

}  // namespace

void kel_index_describe_order(const kel_key_order *order) {
    if (order->size != sizeof *order) return;
    const bool is_known = order->part_count != 0 && is_valid(*order) && has_own_comparisons(*order);
    set_order_of_keys(order->compare, is_known ? RecordOrder::make(*order) : nullptr);
}
