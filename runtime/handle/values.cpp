// SPDX-License-Identifier: Apache-2.0
// Strings and addresses.
#include <cstring>

#include "runtime/base/error_text.h"
#include "runtime/base/errors.h"
#include "runtime/value/address.h"
#include "runtime/value/vstring.h"
#include "tarnbase/embedded.h"

using namespace tarnbase::runtime;

namespace {

void report_bad_address(kel_handle *handle, std::uint32_t *err, const char *expected,
                        const char *found) {
    fail(EINVAL, "ip_address: %s%s", expected, found);
    report_error(handle, err, EINVAL);
}

}  // namespace

void kel_vstring_assign(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                        const void *bytes, std::uint32_t length, std::uint32_t *err) {
    if (*err != 0) return;
    if (bytes == nullptr && length != 0) return report_error(handle, err, ENOENT);
    assign_text(handle, tx_id, string, {static_cast<const char *>(bytes), length}, err);
}

void kel_vstring_assign_text(kel_handle *handle, std::uint32_t tx_id, kel_vstring *string,
                             const char *text, std::uint32_t *err) {
    if (*err != 0) return;
    if (text == nullptr) return report_error(handle, err, ENOENT);
    assign_text(handle, tx_id, string, text, err);
}

void kel_vstring_refer(kel_vstring *string, const void *bytes, std::uint32_t length) {
    const auto *text = static_cast<const char *>(bytes);
    borrow_text(string, {text, text == nullptr ? 0 : length});
}

const char *kel_vstring_bytes(const kel_vstring *string, std::uint32_t *length) {
    const std::string_view text = text_of(string);
    if (length != nullptr) *length = static_cast<std::uint32_t>(text.size());
    return text.data() == nullptr ? "" : text.data();
}

void ip_address_assign(kel_handle *handle, std::uint32_t tx_id, ip_address *address,
                       std::uint8_t family, const void *bytes, std::uint32_t *err) {
    if (*err != 0) return;
    const auto content = make_address(family, bytes);
    if (!content) {
        return report_bad_address(handle, err, "expected family 0, 4 or 6, and its bytes", "");
    }
    store_address(handle, tx_id, address, *content, err);
}

void ip_address_assign_text(kel_handle *handle, std::uint32_t tx_id, ip_address *address,
                            const char *text, std::uint32_t *err) {
    if (*err != 0) return;
    if (text == nullptr) return report_error(handle, err, ENOENT);
    const auto content = parse_address(text);
    if (!content) {
        return report_bad_address(handle, err, "expected an IPv4 or IPv6 address, found ", text);
    }
    store_address(handle, tx_id, address, *content, err);
}

void ip_address_refer(ip_address *address, std::uint8_t family, const void *bytes) {
    const Address content = make_address(family, bytes).value_or(Address{});
    *address = {};
    address->descriptor = &_ip_address_type_info_internal;
    address->family = content.family;
    std::memcpy(address->bytes, content.bytes, sizeof address->bytes);
}

const char *ip_address_text(const ip_address *address, char *text, std::size_t size) {
    if (size != 0) format_address(address_of(address), text, size);
    return text;
}
