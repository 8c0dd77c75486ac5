// SPDX-License-Identifier: Apache-2.0
// The services that read a key's value from its wire form. They note `in_place`.
#include <dlfcn.h>

#include "tests/behaviour/table/spies.h"

namespace {

template <typename Service>
Service *noted(Service *, const char *name, std::uint32_t in_place) {
    tarn::test::spies.note(name).arguments = {in_place};
    return reinterpret_cast<Service *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

uint32_t u_int32_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer, uint32_t *field,
                           uint32_t remaining, uint32_t in_place, uint32_t *err) {
    return noted(&u_int32_unmarshal, "u_int32_unmarshal", in_place)(handle, tx_id, buffer, field,
                                                                    remaining, in_place, err);
}

uint32_t kel_vstring_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                               kel_vstring *field, uint32_t remaining, uint32_t in_place,
                               uint32_t *err) {
    return noted(&kel_vstring_unmarshal, "kel_vstring_unmarshal", in_place)(
        handle, tx_id, buffer, field, remaining, in_place, err);
}

uint32_t ip_address_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                              ip_address *field, uint32_t remaining, uint32_t in_place,
                              uint32_t *err) {
    return noted(&ip_address_unmarshal, "ip_address_unmarshal", in_place)(
        handle, tx_id, buffer, field, remaining, in_place, err);
}
