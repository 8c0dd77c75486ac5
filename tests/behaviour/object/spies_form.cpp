// SPDX-License-Identifier: Apache-2.0
// The services that the wire form is written and read with, and those that look for
// elements. A call's arguments: where the item is in the buffer, the room that is
// left there, and the value of a header item.
#include <dlfcn.h>

#include <cstring>

#include "tests/behaviour/object/spies.h"

using tarn::test::Call;
using tarn::test::spies;

namespace {

template <typename Service>
Service *next(Service *, const char *name) {
    return reinterpret_cast<Service *>(dlsym(RTLD_NEXT, name));
}

std::uint64_t number(const void *place) { return reinterpret_cast<std::uintptr_t>(place); }

}  // namespace

// The runtime's function of the same name.
#define RUNTIME(service)                                    \
    [] {                                                    \
        static auto *const real = next(&service, #service); \
        return real;                                        \
    }()

// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are names
#define SPY_MARSHAL(value, type)                                                                  \
    uint32_t value##_marshal(kel_handle *handle, uint32_t tx_id, void *buffer, const type *field, \
                             uint32_t remaining, uint32_t *err) {                                 \
        spies.note(#value "_marshal", field).arguments = {number(buffer), remaining};             \
        return RUNTIME(value##_marshal)(handle, tx_id, buffer, field, remaining, err);            \
    }
// NOLINTEND(bugprone-macro-parentheses)
SPY_MARSHAL(u_int8, uint8_t)
SPY_MARSHAL(u_int16, uint16_t)
SPY_MARSHAL(u_int32, uint32_t)
SPY_MARSHAL(u_int64, uint64_t)
SPY_MARSHAL(int32, int32_t)
SPY_MARSHAL(int64, int64_t)
SPY_MARSHAL(kel_boolean, kel_boolean)
SPY_MARSHAL(kel_vstring, kel_vstring)
SPY_MARSHAL(ip_address, ip_address)

uint32_t _kel_instance_variant_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                       const int8_t *variant, uint32_t remaining, uint32_t *err) {
    spies.note("_kel_instance_variant_marshal", buffer).arguments = {
        number(buffer), remaining, static_cast<std::uint64_t>(*variant)};
    return RUNTIME(_kel_instance_variant_marshal)(handle, tx_id, buffer, variant, remaining, err);
}

uint32_t _kel_instance_obj_flag_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                        const uint8_t *flags, uint32_t remaining, uint32_t *err) {
    spies.note("_kel_instance_obj_flag_marshal", buffer).arguments = {number(buffer), remaining,
                                                                      *flags};
    return RUNTIME(_kel_instance_obj_flag_marshal)(handle, tx_id, buffer, flags, remaining, err);
}

uint32_t _kel_instance_ra_data_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                       const uint64_t *ra_word, const uint8_t *ra_byte,
                                       uint32_t remaining, uint32_t *err) {
    spies.note("_kel_instance_ra_data_marshal", buffer).arguments = {number(buffer), remaining,
                                                                     *ra_word};
    return RUNTIME(_kel_instance_ra_data_marshal)(handle, tx_id, buffer, ra_word, ra_byte,
                                                  remaining, err);
}

uint32_t _kel_variant_jump_marshal(kel_handle *handle, uint32_t tx_id, void *buffer,
                                   const int32_t *jump, uint32_t remaining, uint32_t *err) {
    spies.note("_kel_variant_jump_marshal", buffer).arguments = {number(buffer), remaining,
                                                                 static_cast<std::uint64_t>(*jump)};
    return RUNTIME(_kel_variant_jump_marshal)(handle, tx_id, buffer, jump, remaining, err);
}

void kellib_update_ra_all(kel_handle *handle, uint32_t tx_id, void *object, uint64_t ra_word,
                          uint8_t ra_byte) {
    spies.note("kellib_update_ra_all", object).arguments = {ra_word, ra_byte};
    if (spies.wishes.ra_data_ignored) return;
    RUNTIME(kellib_update_ra_all)(handle, tx_id, object, ra_word, ra_byte);
}

void kel_vstring_from_xml(kel_handle *handle, uint32_t tx_id, const char *path, void *document,
                          kel_vstring *field, uint32_t *err, char *message, uint32_t message_len) {
    Call &call = spies.note("kel_vstring_from_xml", field);
    call.text = path;
    call.arguments = {number(document), number(message), message_len};
    RUNTIME(kel_vstring_from_xml)
    (handle, tx_id, path, document, field, err, message, message_len);
}

void u_int8_from_xml(kel_handle *handle, uint32_t tx_id, const char *path, void *document,
                     uint8_t *field, uint32_t *err, char *message, uint32_t message_len) {
    spies.note("u_int8_from_xml", field).text = path;
    RUNTIME(u_int8_from_xml)(handle, tx_id, path, document, field, err, message, message_len);
}

void int32_from_xml(kel_handle *handle, uint32_t tx_id, const char *path, void *document,
                    int32_t *field, uint32_t *err, char *message, uint32_t message_len) {
    spies.note("int32_from_xml", field).text = path;
    RUNTIME(int32_from_xml)(handle, tx_id, path, document, field, err, message, message_len);
}

uint32_t xml_get_element_nodecount(void *document, const char *path, uint32_t *count) {
    spies.note("xml_get_element_nodecount", document).text = path;
    return RUNTIME(xml_get_element_nodecount)(document, path, count);
}
