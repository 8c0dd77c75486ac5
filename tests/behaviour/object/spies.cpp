// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/object/spies.h"

#include <dlfcn.h>

#include <algorithm>

#include "tests/support/service_at_work.h"

namespace tarn::test {

Spies spies;

void Spies::reset() {
    calls.clear();
    distances.clear();
    wishes = {};
}

Call &Spies::note(const char *service, const void *subject) {
    Call call;
    call.service = service;
    call.subject = subject;
    calls.push_back(call);
    return calls.back();
}

std::vector<Call> Spies::of(const std::string &service) const {
    std::vector<Call> found;
    for (const Call &call : calls) {
        if (call.service == service) found.push_back(call);
    }
    return found;
}

std::vector<Call> Spies::of(const std::string &service, const void *subject) const {
    std::vector<Call> found;
    for (const Call &call : calls) {
        if (call.service == service && call.subject == subject) found.push_back(call);
    }
    return found;
}

std::string Spies::order(const std::vector<std::string> &services) const {
    std::string text;
    for (const Call &call : calls) {
        if (std::find(services.begin(), services.end(), call.service) == services.end()) continue;
        text += (text.empty() ? "" : " ") + call.service;
    }
    return text;
}

namespace {

template <typename Service>
Service *next(Service *, const char *name) {
    return reinterpret_cast<Service *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

}  // namespace tarn::test

using tarn::test::Call;
using tarn::test::next;
using tarn::test::spies;

// The runtime's function of the same name.
#define RUNTIME(service)                                    \
    [] {                                                    \
        static auto *const real = next(&service, #service); \
        return real;                                        \
    }()

// ---- Errors, variants, marks --------------------------------------------------------

void kel_clear_last_error(kel_handle *handle) {
    spies.note("kel_clear_last_error", handle);
    RUNTIME(kel_clear_last_error)(handle);
}

void kel_store_err(kel_handle *handle, uint32_t code) {
    spies.note("kel_store_err", handle).arguments = {code};
    RUNTIME(kel_store_err)(handle, code);
}

void kel_store_epoch_err(kel_handle *handle, uint32_t code, uint32_t *err) {
    spies.note("kel_store_epoch_err", handle).arguments = {code};
    RUNTIME(kel_store_epoch_err)(handle, code, err);
}

void ptrail_module_init_fn(const char *name, uint16_t *module_id, uint64_t *state) {
    spies.note("ptrail_module_init_fn", nullptr);
    RUNTIME(ptrail_module_init_fn)(name, module_id, state);
}

const kel_type_info *kel_type_info_ptr_get(kel_handle *handle, uint32_t tx_id,
                                           const kel_type_info *constant,
                                           kel_type_info_initializer initializer) {
    const tarn::test::ServiceAtWork mark;
    return RUNTIME(kel_type_info_ptr_get)(handle, tx_id, constant, initializer);
}

uint32_t kel_domain_lookup_variant(kel_handle *handle, kel_variant_domain *domain,
                                   const kel_type_info *descriptor, uint32_t *err) {
    spies.note("kel_domain_lookup_variant", descriptor);
    if (spies.wishes.domain_error != 0) *err = spies.wishes.domain_error;
    return RUNTIME(kel_domain_lookup_variant)(handle, domain, descriptor, err);
}

int32_t kel_get_instance_variant(const void *object, uint32_t is_structure, uint32_t is_small) {
    spies.note("kel_get_instance_variant", object).arguments = {is_structure, is_small};
    return RUNTIME(kel_get_instance_variant)(object, is_structure, is_small);
}

int32_t kellib_adjust_variant(kel_handle *handle, uint32_t tx_id, void *object,
                              const kel_type_info *descriptor, int32_t top_variant, uint32_t *err) {
    spies.note("kellib_adjust_variant", object).arguments = {
        reinterpret_cast<std::uintptr_t>(descriptor), static_cast<std::uint64_t>(top_variant)};
    return RUNTIME(kellib_adjust_variant)(handle, tx_id, object, descriptor, top_variant, err);
}

void kel_set_instance_modified(void *object, uint32_t is_structure, uint32_t is_small,
                               uint32_t value) {
    spies.note("kel_set_instance_modified", object).arguments = {is_structure, is_small, value};
    RUNTIME(kel_set_instance_modified)(object, is_structure, is_small, value);
}

uint32_t kel_get_instance_modified(const void *object, uint32_t is_structure, uint32_t is_small) {
    spies.note("kel_get_instance_modified", object).arguments = {is_structure, is_small};
    return RUNTIME(kel_get_instance_modified)(object, is_structure, is_small);
}

// ---- Mappings -----------------------------------------------------------------------

uint32_t kel_request_oid_mapping_destroy(kel_handle *handle, uint32_t tx_id, void *object,
                                         uint32_t *err) {
    spies.note("kel_request_oid_mapping_destroy", object);
    if (spies.wishes.unmapping_error != 0) {
        *err = spies.wishes.unmapping_error;
        return 1;
    }
    if (spies.wishes.unmapping) return *spies.wishes.unmapping;
    return RUNTIME(kel_request_oid_mapping_destroy)(handle, tx_id, object, err);
}

void kellib_lookup_and_update_oid_ref_count(kel_handle *handle, uint32_t, uint64_t oid,
                                            uint32_t zero, uint32_t *err) {
    spies.note("kellib_lookup_and_update_oid_ref_count", handle).arguments = {oid, zero};
    if (oid == spies.wishes.lost_reference) *err = 2;
}

void kel_hd_mapping_destroy(kel_handle *handle, uint32_t tx_id, void *object, uint32_t *err) {
    spies.note("kel_hd_mapping_destroy", object);
    if (object == spies.wishes.hd_mapping_failure) {
        *err = 22;
        return;
    }
    RUNTIME(kel_hd_mapping_destroy)(handle, tx_id, object, err);
}

uint32_t kellib_get_sttr_offset(kel_handle *handle, uint32_t tx_id, const void *object) {
    spies.note("kellib_get_sttr_offset", object);
    if (spies.wishes.distances_recorded) return spies.distances[object];
    return RUNTIME(kellib_get_sttr_offset)(handle, tx_id, object);
}

void kellib_update_sttr_offset(kel_handle *handle, uint32_t tx_id, void *object,
                               uint32_t distance) {
    spies.note("kellib_update_sttr_offset", object).arguments = {distance};
    if (spies.wishes.distances_recorded) {
        spies.distances[object] = distance;
        return;
    }
    RUNTIME(kellib_update_sttr_offset)(handle, tx_id, object, distance);
}

// ---- Values -------------------------------------------------------------------------

void kel_vstring_initialize(kel_handle *handle, uint32_t tx_id, kel_vstring *field,
                            const kel_type_info *descriptor, uint32_t log_writes, uint32_t quiet,
                            uint8_t flags, void *sttr_base, uint32_t *err) {
    spies.note("kel_vstring_initialize", field).arguments = {
        reinterpret_cast<std::uintptr_t>(descriptor), log_writes, quiet, flags,
        reinterpret_cast<std::uintptr_t>(sttr_base)};
    RUNTIME(kel_vstring_initialize)
    (handle, tx_id, field, descriptor, log_writes, quiet, flags, sttr_base, err);
}

void ip_address_initialize(kel_handle *handle, uint32_t tx_id, ip_address *field,
                           const kel_type_info *descriptor, uint32_t log_writes, uint32_t quiet,
                           uint8_t flags, void *sttr_base, uint32_t *err) {
    spies.note("ip_address_initialize", field).arguments = {
        reinterpret_cast<std::uintptr_t>(descriptor), log_writes, quiet, flags,
        reinterpret_cast<std::uintptr_t>(sttr_base)};
    RUNTIME(ip_address_initialize)
    (handle, tx_id, field, descriptor, log_writes, quiet, flags, sttr_base, err);
}

void kel_boolean_initialize(kel_handle *handle, uint32_t tx_id, kel_boolean *field,
                            const kel_type_info *descriptor, uint32_t log_writes, uint32_t quiet,
                            uint8_t flags, void *sttr_base, uint32_t *err) {
    spies.note("kel_boolean_initialize", field).arguments = {
        reinterpret_cast<std::uintptr_t>(descriptor), log_writes, quiet, flags,
        reinterpret_cast<std::uintptr_t>(sttr_base)};
    RUNTIME(kel_boolean_initialize)
    (handle, tx_id, field, descriptor, log_writes, quiet, flags, sttr_base, err);
}

void kel_vstring_set_instance_embedded(kel_handle *handle, uint32_t tx_id, kel_vstring *field) {
    spies.note("kel_vstring_set_instance_embedded", field);
    RUNTIME(kel_vstring_set_instance_embedded)(handle, tx_id, field);
}

void kel_vstring_set(kel_handle *handle, uint32_t tx_id, kel_vstring *field,
                     const kel_vstring *source, uint32_t *err) {
    spies.note("kel_vstring_set", field);
    RUNTIME(kel_vstring_set)(handle, tx_id, field, source, err);
}

void ip_address_set(kel_handle *handle, uint32_t tx_id, ip_address *field, const ip_address *source,
                    uint32_t *err) {
    spies.note("ip_address_set", field);
    RUNTIME(ip_address_set)(handle, tx_id, field, source, err);
}

void kel_boolean_set(kel_handle *handle, uint32_t tx_id, kel_boolean *field,
                     const kel_boolean *source, uint32_t *err) {
    spies.note("kel_boolean_set", field);
    RUNTIME(kel_boolean_set)(handle, tx_id, field, source, err);
}

uint32_t kel_vstring_get_oid_count(kel_handle *handle, uint32_t tx_id, kel_vstring *field,
                                   uint32_t *err) {
    spies.note("kel_vstring_get_oid_count", field);
    if (!spies.wishes.references.empty()) {
        return static_cast<std::uint32_t>(spies.wishes.references.size());
    }
    return RUNTIME(kel_vstring_get_oid_count)(handle, tx_id, field, err);
}

void kel_vstring_get_object_references(kel_handle *, uint32_t, kel_vstring *field,
                                       uint64_t *references, uint32_t count, uint32_t *err) {
    spies.note("kel_vstring_get_object_references", field).arguments = {count};
    *err = spies.wishes.references_error;
    std::copy_n(spies.wishes.references.begin(), count, references);
}

void kel_vstring_destroy_internal(kel_handle *handle, uint32_t tx_id, kel_vstring *field,
                                  uint32_t release) {
    spies.note("kel_vstring_destroy_internal", field).arguments = {release};
    RUNTIME(kel_vstring_destroy_internal)(handle, tx_id, field, release);
}

void ip_address_destroy_internal(kel_handle *handle, uint32_t tx_id, ip_address *field,
                                 uint32_t release) {
    spies.note("ip_address_destroy_internal", field).arguments = {release};
    RUNTIME(ip_address_destroy_internal)(handle, tx_id, field, release);
}

void kel_vstring_offset_update(kel_handle *handle, uint32_t tx_id, kel_vstring *field,
                               void *sttr_base, uint32_t *err) {
    spies.note("kel_vstring_offset_update", field).arguments = {
        reinterpret_cast<std::uintptr_t>(sttr_base)};
    RUNTIME(kel_vstring_offset_update)(handle, tx_id, field, sttr_base, err);
}

void kel_vstring_offset_remove(kel_handle *handle, uint32_t tx_id, kel_vstring *field,
                               uint32_t *err) {
    spies.note("kel_vstring_offset_remove", field);
    RUNTIME(kel_vstring_offset_remove)(handle, tx_id, field, err);
}

void ip_address_offset_remove(kel_handle *handle, uint32_t tx_id, ip_address *field,
                              uint32_t *err) {
    spies.note("ip_address_offset_remove", field);
    RUNTIME(ip_address_offset_remove)(handle, tx_id, field, err);
}

uint32_t *u_int32_get(kel_handle *handle, uint32_t tx_id, uint32_t *field, uint32_t *err) {
    spies.note("u_int32_get", field);
    if (spies.wishes.null_access) return nullptr;
    return RUNTIME(u_int32_get)(handle, tx_id, field, err);
}

uint8_t *u_int8_get(kel_handle *handle, uint32_t tx_id, uint8_t *field, uint32_t *err) {
    spies.note("u_int8_get", field);
    if (spies.wishes.null_access) return nullptr;
    return RUNTIME(u_int8_get)(handle, tx_id, field, err);
}

void u_int32_set_value(kel_handle *handle, uint32_t tx_id, uint32_t *field, uint32_t new_value,
                       uint32_t *err) {
    spies.note("u_int32_set_value", field);
    if (spies.wishes.set_error != 0) {
        *err = spies.wishes.set_error;
        return;
    }
    RUNTIME(u_int32_set_value)(handle, tx_id, field, new_value, err);
}

uint32_t u_int32_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer, uint32_t *field,
                           uint32_t remaining, uint32_t in_place, uint32_t *err) {
    spies.note("u_int32_unmarshal", field).arguments = {remaining, in_place};
    return RUNTIME(u_int32_unmarshal)(handle, tx_id, buffer, field, remaining, in_place, err);
}

uint32_t kel_vstring_unmarshal(kel_handle *handle, uint32_t tx_id, const void *buffer,
                               kel_vstring *field, uint32_t remaining, uint32_t in_place,
                               uint32_t *err) {
    spies.note("kel_vstring_unmarshal", field).arguments = {remaining, in_place};
    return RUNTIME(kel_vstring_unmarshal)(handle, tx_id, buffer, field, remaining, in_place, err);
}

uint32_t kellib_get_ra_data(kel_handle *handle, uint32_t tx_id, const void *object,
                            uint64_t *ra_word, uint8_t *ra_byte) {
    spies.note("kellib_get_ra_data", object);
    if (spies.wishes.ra_data_error) return *spies.wishes.ra_data_error;
    return RUNTIME(kellib_get_ra_data)(handle, tx_id, object, ra_word, ra_byte);
}

// ---- Text and XML -------------------------------------------------------------------

uint32_t kel_print_space(kel_handle *handle, uint32_t tx_id, char *buffer, uint32_t indent,
                         uint32_t remaining, uint32_t *err) {
    spies.note("kel_print_space", buffer).arguments = {indent, remaining};
    return RUNTIME(kel_print_space)(handle, tx_id, buffer, indent, remaining, err);
}

uint32_t start_tag(kel_handle *handle, uint32_t tx_id, char *buffer, const char *element,
                   uint32_t remaining, uint8_t state_flag, uint32_t *err) {
    Call &call = spies.note("start_tag", buffer);
    call.arguments = {state_flag};
    call.text = element;
    return RUNTIME(start_tag)(handle, tx_id, buffer, element, remaining, state_flag, err);
}

uint32_t end_tag(kel_handle *handle, uint32_t tx_id, char *buffer, const char *element,
                 uint32_t remaining, uint32_t *err) {
    spies.note("end_tag", buffer).text = element;
    return RUNTIME(end_tag)(handle, tx_id, buffer, element, remaining, err);
}

uint32_t xml_enum_print(kel_handle *handle, uint32_t tx_id, char *buffer, const char *text,
                        uint32_t remaining, uint32_t text_len, uint32_t *err) {
    Call &call = spies.note("xml_enum_print", buffer);
    call.arguments = {text_len};
    call.text = text;
    return RUNTIME(xml_enum_print)(handle, tx_id, buffer, text, remaining, text_len, err);
}

uint32_t u_int8_to_xml(kel_handle *handle, uint32_t tx_id, const char *name, char *buffer,
                       const uint8_t *field, uint32_t remaining, uint8_t state_flag,
                       uint32_t *err) {
    spies.note("u_int8_to_xml", field).arguments = {state_flag};
    return RUNTIME(u_int8_to_xml)(handle, tx_id, name, buffer, field, remaining, state_flag, err);
}

void u_int32_from_xml(kel_handle *handle, uint32_t tx_id, const char *path, void *document,
                      uint32_t *field, uint32_t *err, char *message, uint32_t message_len) {
    spies.note("u_int32_from_xml", field).text = path;
    if (spies.wishes.from_xml_error != 0) {
        *err = spies.wishes.from_xml_error;
        return;
    }
    RUNTIME(u_int32_from_xml)(handle, tx_id, path, document, field, err, message, message_len);
}

uint32_t xml_get_element_value(void *document, const char *path, char *area, uint32_t area_len,
                               uint32_t zero) {
    Call &call = spies.note("xml_get_element_value", document);
    call.arguments = {area_len, zero};
    call.text = path;
    if (spies.wishes.element_value) return *spies.wishes.element_value;
    return RUNTIME(xml_get_element_value)(document, path, area, area_len, zero);
}
