// SPDX-License-Identifier: Apache-2.0
// The items in front of an object's fields on the wire.
//
//   item      bytes  form
//   variant       1  signed
//   flags         1  bits of OBJ_...
//   ra data       9  64-bit word, little-endian; byte
//   jump          4  signed, little-endian
#include <cstdint>

#include "runtime/base/errors.h"
#include "runtime/wire/little_endian.h"

namespace {

using tarn::runtime::load_little;
using tarn::runtime::report;
using tarn::runtime::store_little;

constexpr std::uint32_t flags_position = 1;
constexpr std::uint32_t ra_data_length = 9;

// Whether an item of `length` bytes fits; a lack of room is reported.
bool enter(kel_handle *handle, std::uint32_t length, std::uint32_t remaining, std::uint32_t *err) {
    if (*err != 0) return false;
    if (remaining >= length) return true;
    report(handle, err, EMSGSIZE);
    return false;
}

template <typename T>
std::uint32_t put(kel_handle *handle, void *buffer, T value, std::uint32_t remaining,
                  std::uint32_t *err) {
    if (!enter(handle, sizeof(T), remaining, err)) return 0;
    store_little(buffer, value);
    return sizeof(T);
}

// The results go into the caller's own variables, which are no part of a store.
template <typename T>
std::uint32_t take(kel_handle *handle, const void *buffer, T *result, std::uint32_t remaining,
                   std::uint32_t *err) {
    if (!enter(handle, sizeof(T), remaining, err)) return 0;
    *result = load_little<T>(buffer);
    return sizeof(T);
}

}  // namespace

std::uint32_t _kel_instance_variant_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                            const std::int8_t *variant, std::uint32_t remaining,
                                            std::uint32_t *err) {
    return put(handle, buffer, *variant, remaining, err);
}

std::uint32_t _kel_instance_variant_unmarshal(kel_handle *handle, std::uint32_t, const void *buffer,
                                              std::int8_t *variant, std::uint32_t remaining,
                                              std::uint32_t *err) {
    return take(handle, buffer, variant, remaining, err);
}

std::uint32_t _kel_instance_obj_flag_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                             const std::uint8_t *flags, std::uint32_t remaining,
                                             std::uint32_t *err) {
    return put(handle, buffer, *flags, remaining, err);
}

std::uint32_t _kel_instance_obj_flag_unmarshal(kel_handle *handle, std::uint32_t,
                                               const void *buffer, std::uint8_t *flags,
                                               std::uint32_t remaining, std::uint32_t *err) {
    return take(handle, buffer, flags, remaining, err);
}

std::uint32_t _kel_instance_ra_data_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                            const std::uint64_t *ra_word,
                                            const std::uint8_t *ra_byte, std::uint32_t remaining,
                                            std::uint32_t *err) {
    if (!enter(handle, ra_data_length, remaining, err)) return 0;
    auto *bytes = static_cast<std::uint8_t *>(buffer);
    store_little(bytes, *ra_word);
    store_little(bytes + sizeof *ra_word, *ra_byte);
    return ra_data_length;
}

std::uint32_t _kel_instance_ra_data_unmarshal(kel_handle *handle, std::uint32_t, const void *buffer,
                                              std::uint64_t *ra_word, std::uint8_t *ra_byte,
                                              std::uint32_t remaining, std::uint32_t *err) {
    if (!enter(handle, ra_data_length, remaining, err)) return 0;
    const auto *bytes = static_cast<const std::uint8_t *>(buffer);
    *ra_word = load_little<std::uint64_t>(bytes);
    *ra_byte = load_little<std::uint8_t>(bytes + sizeof *ra_word);
    return ra_data_length;
}

std::uint32_t _kel_variant_jump_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                        const std::int32_t *jump, std::uint32_t remaining,
                                        std::uint32_t *err) {
    return put(handle, buffer, *jump, remaining, err);
}

std::uint32_t _kel_variant_jump_unmarshal(kel_handle *handle, std::uint32_t, const void *buffer,
                                          std::int32_t *jump, std::uint32_t remaining,
                                          std::uint32_t *err) {
    return take(handle, buffer, jump, remaining, err);
}

std::uint32_t kellib_type_header_get_state_tracking_flag(const void *first_byte) {
    if (first_byte == nullptr) return 0;
    const auto *bytes = static_cast<const std::uint8_t *>(first_byte);
    return (bytes[flags_position] & OBJ_STATE_TRACKED) != 0 ? 1 : 0;
}
