// SPDX-License-Identifier: Apache-2.0
// Enumerations have two value spaces. The user value is what an object holds and
// what callers, text and XML see. The internal value counts the enumerators from
// 0: it travels in the wire form, and range tests work on it.
//
// Wire form: variant (1 byte), internal value (4 bytes).
#include "object/enumeration.h"

#include <cstring>

#include "frame/conventions.h"
#include "object/epoch.h"
#include "object/header.h"

namespace tarnbase::enumeration {

using object::EpochError;
using object::error_text;

namespace {

constexpr std::uint32_t wire_length = 5;

const kel_type_info *descriptor_of(const Object *object) {
    return object == nullptr ? nullptr : object->descriptor;
}

std::int8_t variant_of(const Object *object) {
    return static_cast<std::int8_t>(kel_get_instance_variant(object, 0, 1));
}

std::int8_t domain_variant(kel_handle *handle, const kel_type_info *descriptor,
                           std::uint32_t *err) {
    return static_cast<std::int8_t>(
        kel_domain_lookup_variant(handle, &handle->variant_domain, descriptor, err));
}

// Internal to user, as the wire form's reader needs it.
std::uint32_t from_internal_value(Type type, std::uint32_t value) {
    return value < type.count ? value + type.first_user_value : value;
}

kel_variant_usage &usage_of(const Object *object) {
    return usage_record(object->descriptor, object->variant,
                        object::usage_index(object->variant, 0), TraceModule::type);
}

// A value that only a later variant could have.
bool is_beyond(Type type, const Object *object, std::uint32_t value) {
    return variant_of(object) < 1 && map_to_internal_value(type, value) >= type.count;
}

}  // namespace

std::int8_t variant_data_index_cap(std::int8_t variant) {
    return variant > 0 ? std::int8_t{0} : variant;
}

// ---- Lifecycle --------------------------------------------------------------------

Object *create(Type type, kel_handle *handle, std::uint32_t tx_id) {
    return create_internal(type, handle, tx_id);
}

Object *create_cr(Type type, kel_handle *handle) {
    handle->cr_fallback_enabled = 1;
    Object *object = create_internal(type, handle, handle->cr_tx_id);
    handle->cr_fallback_enabled = 0;
    return object;
}

Object *create_internal(Type type, kel_handle *handle, std::uint32_t tx_id) {
    if (handle->cr_fallback_enabled != 0 && handle->last_error != 0) return type.fallback;
    auto *object = static_cast<Object *>(handle->alloc_hook(handle->arena, tx_id, sizeof(Object)));
    if (object == nullptr) {
        if (handle->cr_fallback_enabled == 0) return nullptr;
        if (handle->last_error == 0) kel_store_err(handle, ENOMEM);
        return type.fallback;
    }
    std::memset(object, 0, sizeof(Object));
    std::uint32_t error = 0;
    const std::int8_t variant = domain_variant(handle, type.descriptor, &error);
    object::write_header(handle, tx_id, object, variant, type.descriptor, 0, 1);
    if (error != 0) {
        trace_type(KEL_TRACE_ERROR, "(ERR): error in %s create %s", type.name, error_text(error));
    }
    // `live` of an enumeration is not kept.
    logged_count(handle, tx_id, object->descriptor, usage_of(object).created, 1);
    return object;
}

// An embedded enumeration is not counted.
void initialize(Type, kel_handle *handle, std::uint32_t tx_id, Object *object,
                const kel_type_info *descriptor, std::uint32_t log_writes, std::uint32_t,
                std::uint8_t flags, void *, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    const std::int8_t variant = domain_variant(handle, descriptor, err);
    object::write_header(handle, tx_id, object, variant, descriptor, flags, log_writes);
}

void set_instance_embedded(kel_handle *handle, std::uint32_t tx_id, Object *object) {
    if (object == nullptr) {
        trace_type(KEL_TRACE_ERROR, "(ERR): Invalid object handle passed to set embedded flag");
        return;
    }
    object::add_flags(handle, tx_id, object, OBJ_EMBEDDED, 1);
}

void destroy(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object) {
    if (object == type.fallback) return;
    destroy_internal(type, handle, tx_id, object, 1);
}

void destroy_cr(Type type, kel_handle *handle, Object *object) {
    destroy_internal(type, handle, handle->cr_tx_id, object, 1);
}

void destroy_internal(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object,
                      std::uint32_t release) {
    if (object == nullptr || object == type.fallback || release == 0) return;
    require_descriptor(object->descriptor, TraceModule::type);
    logged_count(handle, tx_id, object->descriptor, usage_of(object).destroyed, 1);
    object->descriptor = nullptr;
    handle->free_hook(handle->arena, tx_id, object);
}

// ---- Values -----------------------------------------------------------------------

std::uint32_t map_to_user_value(std::uint32_t value) { return value; }

std::uint32_t map_to_internal_value(Type type, std::uint32_t value) {
    const std::uint32_t position = value - type.first_user_value;
    return position < type.count ? position : value;
}

std::int32_t adjust_variant(Type, kel_handle *handle, std::uint32_t tx_id, Object *object,
                            std::uint32_t *err) {
    return kellib_adjust_variant(handle, tx_id, object, descriptor_of(object), 0, err);
}

std::int32_t compare(const Object *a, const Object *b) {
    if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
    return static_cast<std::int32_t>(a->value - b->value);
}

std::uint32_t hash(const Object *object, std::uint32_t seed) {
    if (object == nullptr) return seed;
    return SuperFastHash(reinterpret_cast<const char *>(&object->value), sizeof object->value,
                         seed);
}

std::uint32_t size_of() { return sizeof(Object); }

std::uint32_t len() { return wire_length; }

std::uint32_t len_cr(const kel_handle *handle) { return handle->last_error == 0 ? wire_length : 0; }

std::uint32_t get_value(kel_handle *handle, std::uint32_t, const Object *object,
                        std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    if (object == nullptr) {
        report(handle, err, EINVAL);
        return 0;
    }
    return object->value;
}

namespace {

// What both setters begin with. False: the value can't be stored.
bool begin_set(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object,
               std::uint32_t value, std::uint32_t *err) {
    adjust_variant(type, handle, tx_id, object, err);
    if (is_beyond(type, object, value)) {
        kel_store_epoch_err(handle, EIDRM, err);
        return false;
    }
    return true;
}

}  // namespace

// Copies the whole object: the source's flags and descriptor come along.
void set(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object, const Object *source,
         std::uint32_t *err) {
    if (!enter(handle, err)) return;
    if (object == nullptr || source == nullptr) {
        report(handle, err, ENOENT);
        return;
    }
    if (!begin_set(type, handle, tx_id, object, source->value, err)) return;
    logged_store(handle, tx_id, *object, *source);
    kel_set_instance_modified(object, 0, 1, 1);
}

void set_value(Type type, kel_handle *handle, std::uint32_t tx_id, Object *object,
               std::uint32_t value, std::uint32_t *err) {
    if (!enter(handle, err)) return;
    if (object == nullptr) {
        report(handle, err, ENOENT);
        return;
    }
    if (!begin_set(type, handle, tx_id, object, value, err)) return;
    logged_store(handle, tx_id, object->value, value);
    kel_set_instance_modified(object, 0, 1, 1);
}

// Signed here and unsigned in the setters: a negative value passes.
std::uint32_t is_valid_cr(Type type, kel_handle *handle, std::uint32_t value) {
    const auto internal = static_cast<std::int32_t>(map_to_internal_value(type, value));
    if (internal < static_cast<std::int32_t>(type.count)) return 1;
    return domain_variant(handle, type.descriptor, &handle->last_error) >= 1 ? 1 : 0;
}

std::uint32_t backpropagate(Type type, kel_handle *handle, std::uint32_t, Object *object,
                            std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    if (object == nullptr) {
        trace_type(KEL_TRACE_INFO, "(info): backpropagate: Null pointer to %s enum", type.name);
        return 0;
    }
    if (kel_get_instance_modified(object, 0, 1) == 0) return 0;
    kel_set_instance_modified(object, 0, 1, 0);
    return 1;
}

// ---- Wire form --------------------------------------------------------------------

std::uint32_t marshal(Type type, kel_handle *handle, std::uint32_t tx_id, void *buffer,
                      const Object *object, std::uint32_t remaining, std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    if (static_cast<std::int32_t>(remaining) < 1) {
        report(handle, err, ENOMEM);
        return 0;
    }
    EpochError epoch;
    std::int8_t variant = variant_of(object);
    const std::int8_t domain = domain_variant(handle, descriptor_of(object), err);
    if (variant > domain) {
        kel_store_epoch_err(handle, EIDRM, err);
        variant = domain;
    }
    epoch.keep_aside(err);
    variant = variant_data_index_cap(variant);
    const std::uint32_t at =
        _kel_instance_variant_marshal(handle, tx_id, buffer, &variant, remaining, err);
    const std::uint32_t internal =
        object == nullptr ? 0 : map_to_internal_value(type, object->value);
    const std::uint32_t length = u_int32_marshal(handle, tx_id, static_cast<char *>(buffer) + at,
                                                 &internal, remaining - at, err);
    epoch.put_back(handle, err);
    return at + length;
}

std::uint32_t unmarshal(Type type, kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                        Object *object, std::uint32_t remaining, std::uint32_t in_place,
                        std::uint32_t *err) {
    if (!enter(handle, err)) return 0;
    if (static_cast<std::int32_t>(remaining) < 1) {
        report(handle, err, ENOMEM);
        return 0;
    }
    std::int8_t variant = 0;
    const std::uint32_t at =
        _kel_instance_variant_unmarshal(handle, tx_id, buffer, &variant, remaining, err);
    // These two stores are not announced.
    object->variant = variant_data_index_cap(variant);
    object->descriptor = choose_descriptor(handle, tx_id, type.descriptor);
    const std::uint32_t length =
        u_int32_unmarshal(handle, tx_id, static_cast<const char *>(buffer) + at, &object->value,
                          remaining - at, in_place, err);
    // Only a value that was read is an internal one.
    if (*err == 0) {
        logged_store(handle, tx_id, object->value, from_internal_value(type, object->value));
    }
    return at + length;
}

}  // namespace tarnbase::enumeration
