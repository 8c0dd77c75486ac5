// SPDX-License-Identifier: Apache-2.0
// A text of any bytes. A null value reads as an empty one.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "runtime/text/quoted.h"
#include "runtime/value/descriptor.h"
#include "runtime/value/hash.h"
#include "runtime/value/header.h"
#include "runtime/value/usage.h"
#include "runtime/value/vstring.h"
#include "runtime/wire/little_endian.h"
#include "runtime/xml/element.h"
#include "runtime/xml/escape.h"

static_assert(sizeof(kel_vstring) == 32 && alignof(kel_vstring) == 8);
static_assert(offsetof(kel_vstring, borrowed) == 12 && offsetof(kel_vstring, length) == 16);
static_assert(offsetof(kel_vstring, text.bytes) == 20);
static_assert(offsetof(kel_vstring, text.outside.prefix) == 20);
static_assert(offsetof(kel_vstring, text.outside.block) == 24);

namespace {

using namespace tarnbase::runtime;

constexpr std::uint32_t wire_prefix = sizeof kel_vstring::length;

std::uint64_t wire_length(std::string_view text) {
    return std::uint64_t{wire_prefix} + text.size();
}

constinit kel_variant_usage variant_usage{0, sizeof(kel_vstring), 0, 0, 0, 0};
constinit kel_variant_info variants{1, &variant_usage};

}  // namespace

constinit const kel_type_info _kel_vstring_type_info_internal =
    describe("kel_vstring", "1f749f4cb9e4ccff4cd49782830975a4", &variants);
static const ValueType value_type(_kel_vstring_type_info_internal);

kel_vstring *kel_vstring_get(kel_handle *, std::uint32_t, kel_vstring *field, std::uint32_t *err) {
    return *err == 0 ? field : nullptr;
}

void kel_vstring_set(kel_handle *handle, std::uint32_t tx_id, kel_vstring *field,
                     const kel_vstring *source, std::uint32_t *err) {
    if (*err != 0) return;
    if (field == nullptr || source == nullptr) return report_error(handle, err, ENOENT);
    if (field != source) assign_text(handle, tx_id, field, text_of(source), err);
}

std::uint32_t kel_vstring_hash(const kel_vstring *field, std::uint32_t seed) {
    if (field == nullptr) return seed;
    const std::string_view text = text_of(field);
    return hash_bytes(text.data(), text.size(), seed);
}

std::uint32_t kel_vstring_len(kel_handle *, std::uint32_t, const kel_vstring *field) {
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(wire_length(text_of(field)), UINT32_MAX));
}

std::uint32_t kel_vstring_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                  const kel_vstring *field, std::uint32_t remaining,
                                  std::uint32_t *err) {
    if (*err != 0) return 0;
    const std::string_view text = text_of(field);
    if (remaining < wire_length(text)) {
        report_error(handle, err, EMSGSIZE);
        return 0;
    }
    const auto length = static_cast<std::uint32_t>(text.size());
    store_little(buffer, length);
    if (length > 0) std::memcpy(static_cast<char *>(buffer) + wire_prefix, text.data(), length);
    return wire_prefix + length;
}

std::uint32_t kel_vstring_unmarshal(kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                                    kel_vstring *field, std::uint32_t remaining, std::uint32_t,
                                    std::uint32_t *err) {
    if (*err != 0) return 0;
    const std::uint32_t length = remaining < wire_prefix ? 0 : load_little<std::uint32_t>(buffer);
    if (remaining < wire_prefix || remaining - wire_prefix < length) {
        report_error(handle, err, EMSGSIZE);
        return 0;
    }
    const char *const text = static_cast<const char *>(buffer) + wire_prefix;
    assign_text(handle, tx_id, field, {text, length}, err);
    return *err == 0 ? wire_prefix + length : 0;
}

std::uint32_t kel_vstring_print(kel_handle *handle, std::uint32_t, char *buffer,
                                std::uint32_t indent, const char *name, const kel_vstring *field,
                                std::uint32_t remaining, std::uint32_t *err) {
    if (*err != 0) return 0;
    Line line(buffer, remaining);
    line.blanks(indent).text(name).text(": ");
    append_quoted(line, text_of(field));
    return line.character('\n').finish(handle, err);
}

std::uint32_t kel_vstring_to_xml(kel_handle *handle, std::uint32_t, const char *name, char *buffer,
                                 const kel_vstring *field, std::uint32_t remaining,
                                 std::uint8_t state_flag, std::uint32_t *err) {
    if (*err != 0) return 0;
    const std::string_view text = text_of(field);
    if (const std::size_t unfit = first_unrepresentable(text); unfit != std::string_view::npos) {
        report_unrepresentable(handle, name, unfit, err);
        return 0;
    }
    return write_element({handle, name, buffer, remaining, state_flag, err},
                         [&](Line &line) { append_escaped(line, text); });
}

void kel_vstring_from_xml(kel_handle *handle, std::uint32_t tx_id, const char *path, void *document,
                          kel_vstring *field, std::uint32_t *err, char *, std::uint32_t) {
    read_value({handle, path, document, err}, [&](const std::string &text) -> std::string {
        assign_text(handle, tx_id, field, text, err);
        return {};
    });
}

// Shorter texts order first: the lengths decide most comparisons, and the first four bytes,
// which are in the strings, nearly all others.
std::int32_t kel_vstring_compare(const kel_vstring *a, const kel_vstring *b) {
    if (const NullOrder nulls = order_of_nulls(a, b); nulls.decided) return nulls.order;
    if (a->length != b->length) return a->length < b->length ? -1 : 1;
    if (is_inline(*a)) return order_of(std::memcmp(a->text.bytes, b->text.bytes, a->length), 0);
    constexpr std::size_t prefix = sizeof a->text.outside.prefix;
    const int first = std::memcmp(a->text.outside.prefix, b->text.outside.prefix, prefix);
    if (first != 0) return order_of(first, 0);
    return order_of(std::memcmp(text_block(*a), text_block(*b), a->length), 0);
}

namespace tarnbase::runtime {
extern "C" [[gnu::alias("kel_vstring_compare")]] std::int32_t own_vstring_compare(
    const kel_vstring *a, const kel_vstring *b);
}

void kel_vstring_initialize(kel_handle *handle, std::uint32_t tx_id, kel_vstring *field,
                            const kel_type_info *descriptor, std::uint32_t log_writes,
                            std::uint32_t quiet, std::uint8_t flags, void *, std::uint32_t *err) {
    if (*err != 0) return;
    initialize_tracked_header(Writer{handle, tx_id, log_writes != 0}, field, descriptor, flags);
    if (quiet == 0) count_created(handle, tx_id, _kel_vstring_type_info_internal);
}

void kel_vstring_set_instance_embedded(kel_handle *handle, std::uint32_t tx_id,
                                       kel_vstring *field) {
    set_embedded(handle, tx_id, field);
}

std::uint32_t kel_vstring_type_type_backpropagate(kel_handle *, std::uint32_t, kel_vstring *field,
                                                  std::uint32_t *err) {
    return take_modified_mark(field, err);
}

void kel_vstring_destroy_internal(kel_handle *handle, std::uint32_t tx_id, kel_vstring *field,
                                  std::uint32_t) {
    if (field == nullptr) return;
    drop_text(handle, tx_id, field);
    leave_hd_mapping(handle, tx_id, field);
    count_destroyed(handle, tx_id, _kel_vstring_type_info_internal);
}

std::uint32_t kel_vstring_get_oid_count(kel_handle *, std::uint32_t, kel_vstring *,
                                        std::uint32_t *) {
    return 0;
}

void kel_vstring_get_object_references(kel_handle *, std::uint32_t, kel_vstring *, std::uint64_t *,
                                       std::uint32_t, std::uint32_t *) {}

// The parent records where the string's state block is; nothing else depends on it.
void kel_vstring_offset_update(kel_handle *, std::uint32_t, kel_vstring *, void *,
                               std::uint32_t *) {}
void kel_vstring_offset_remove(kel_handle *, std::uint32_t, kel_vstring *, std::uint32_t *) {}
