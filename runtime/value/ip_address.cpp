// SPDX-License-Identifier: Apache-2.0
// A network address. A null value reads as no address.
#include <arpa/inet.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "runtime/value/address.h"
#include "runtime/value/descriptor.h"
#include "runtime/value/hash.h"
#include "runtime/value/header.h"
#include "runtime/value/usage.h"
#include "runtime/xml/element.h"

static_assert(sizeof(ip_address) == 32 && alignof(ip_address) == 8);
static_assert(offsetof(ip_address, family) == 11 && offsetof(ip_address, bytes) == 12);

namespace {

using namespace tarnbase::runtime;

constexpr std::uint32_t family_length = 1;

// An unknown family, which no operation stores, has no bytes on the wire.
std::uint32_t wire_length(const Address &content) {
    return family_length + address_length(content.family).value_or(0);
}

struct AddressText {
    explicit AddressText(const ip_address *field) {
        format_address(address_of(field), text, sizeof text);
    }
    char text[INET6_ADDRSTRLEN];
};

constinit kel_variant_usage variant_usage{0, sizeof(ip_address), 0, 0, 0, 0};
constinit kel_variant_info variants{1, &variant_usage};

}  // namespace

constinit const kel_type_info _ip_address_type_info_internal =
    describe("ip_address", "52622b99f3e935c725d7aacbd0ccd846", &variants);
static const ValueType value_type(_ip_address_type_info_internal);

ip_address *ip_address_get(kel_handle *, std::uint32_t, ip_address *field, std::uint32_t *err) {
    return *err == 0 ? field : nullptr;
}

void ip_address_set(kel_handle *handle, std::uint32_t tx_id, ip_address *field,
                    const ip_address *source, std::uint32_t *err) {
    if (*err != 0) return;
    if (source == nullptr) return report_error(handle, err, ENOENT);
    if (field != source) store_address(handle, tx_id, field, address_of(source), err);
}

std::uint32_t ip_address_hash(const ip_address *field, std::uint32_t seed) {
    if (field == nullptr) return seed;
    const Address content = address_of(field);
    return hash_bytes(&content, sizeof content, seed);
}

std::uint32_t ip_address_len(kel_handle *, std::uint32_t, const ip_address *field) {
    return wire_length(address_of(field));
}

std::uint32_t ip_address_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                 const ip_address *field, std::uint32_t remaining,
                                 std::uint32_t *err) {
    if (*err != 0) return 0;
    const Address content = address_of(field);
    if (remaining < wire_length(content)) {
        report_error(handle, err, EMSGSIZE);
        return 0;
    }
    std::memcpy(buffer, &content, wire_length(content));
    return wire_length(content);
}

std::uint32_t ip_address_unmarshal(kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                                   ip_address *field, std::uint32_t remaining, std::uint32_t,
                                   std::uint32_t *err) {
    if (*err != 0) return 0;
    const auto *bytes = static_cast<const std::uint8_t *>(buffer);
    const auto length = remaining < family_length ? 0 : address_length(bytes[0]);
    if (!length) {
        report_error(handle, err, EINVAL);
        return 0;
    }
    if (remaining < family_length + *length) {
        report_error(handle, err, EMSGSIZE);
        return 0;
    }
    const auto content = make_address(bytes[0], bytes + family_length);
    store_address(handle, tx_id, field, *content, err);
    return *err == 0 ? family_length + *length : 0;
}

std::uint32_t ip_address_print(kel_handle *handle, std::uint32_t, char *buffer,
                               std::uint32_t indent, const char *name, const ip_address *field,
                               std::uint32_t remaining, std::uint32_t *err) {
    if (*err != 0) return 0;
    const AddressText address(field);
    const char *const text = address.text[0] == '\0' ? "none" : address.text;
    Line line(buffer, remaining);
    line.blanks(indent).text(name).text(": ").text(text).character('\n');
    return line.finish(handle, err);
}

std::uint32_t ip_address_to_xml(kel_handle *handle, std::uint32_t, const char *name, char *buffer,
                                const ip_address *field, std::uint32_t remaining,
                                std::uint8_t state_flag, std::uint32_t *err) {
    const AddressText address(field);
    return write_element({handle, name, buffer, remaining, state_flag, err},
                         [&](Line &line) { line.text(address.text); });
}

void ip_address_from_xml(kel_handle *handle, std::uint32_t tx_id, const char *path, void *document,
                         ip_address *field, std::uint32_t *err, char *, std::uint32_t) {
    read_value({handle, path, document, err}, [&](const std::string &text) -> std::string {
        const auto content = text.empty() ? Address{} : parse_address(text.c_str());
        if (!content) return "an IPv4 or IPv6 address, or no text";
        store_address(handle, tx_id, field, *content, err);
        return {};
    });
}

std::int32_t ip_address_compare(const ip_address *a, const ip_address *b) {
    if (const NullOrder nulls = order_of_nulls(a, b); nulls.decided) return nulls.order;
    if (a->family != b->family) return order_of(a->family, b->family);
    return order_of(std::memcmp(a->bytes, b->bytes, sizeof a->bytes), 0);
}

namespace tarnbase::runtime {
extern "C" [[gnu::alias("ip_address_compare")]] std::int32_t own_address_compare(
    const ip_address *a, const ip_address *b);
}

void ip_address_initialize(kel_handle *handle, std::uint32_t tx_id, ip_address *field,
                           const kel_type_info *descriptor, std::uint32_t log_writes,
                           std::uint32_t quiet, std::uint8_t flags, void *, std::uint32_t *err) {
    if (*err != 0) return;
    initialize_tracked_header(Writer{handle, tx_id, log_writes != 0}, field, descriptor, flags);
    if (quiet == 0) count_created(handle, tx_id, _ip_address_type_info_internal);
}

void ip_address_set_instance_embedded(kel_handle *handle, std::uint32_t tx_id, ip_address *field) {
    set_embedded(handle, tx_id, field);
}

std::uint32_t ip_address_type_type_backpropagate(kel_handle *, std::uint32_t, ip_address *field,
                                                 std::uint32_t *err) {
    return take_modified_mark(field, err);
}

// Besides its bytes an address has only its entry in the hd mapping.
void ip_address_destroy_internal(kel_handle *handle, std::uint32_t tx_id, ip_address *field,
                                 std::uint32_t) {
    if (field == nullptr) return;
    leave_hd_mapping(handle, tx_id, field);
    count_destroyed(handle, tx_id, _ip_address_type_info_internal);
}

std::uint32_t ip_address_get_oid_count(kel_handle *, std::uint32_t, ip_address *, std::uint32_t *) {
    return 0;
}

void ip_address_get_object_references(kel_handle *, std::uint32_t, ip_address *, std::uint64_t *,
                                      std::uint32_t, std::uint32_t *) {}

// The parent records where the address's state block is; nothing else depends on it.
void ip_address_offset_update(kel_handle *, std::uint32_t, ip_address *, void *, std::uint32_t *) {}
void ip_address_offset_remove(kel_handle *, std::uint32_t, ip_address *, std::uint32_t *) {}
