// SPDX-License-Identifier: Apache-2.0
// Enumerations have two value spaces. The user value is what an object holds and
// what callers, text and XML use. The internal value counts the enumerators from 0:
// the wire form has it, and range tests work on it.
//
// Wire form: variant (1 byte), internal value (4 bytes).
#include "object/enumeration.h"

#include <cstring>

#include "frame/conventions.h"
#include "object/epoch.h"
#include "object/fields.h"
#include "object/header.h"

namespace tarnbase::enumeration {

using object::domain_variant;
using object::EpochError;

namespace {

constexpr std::uint32_t wire_length = 5;

const kel_type_info *descriptor_of(const Object *object) {
    return object == nullptr ? nullptr : object->descriptor;
}

std::int8_t variant_of(const Object *object) {
    return static_cast<std::int8_t>(object::instance_variant(object, object::whole_enumeration));
}

// From internal to user value.
std::uint32_t from_internal_value(Type type, std::uint32_t value) {
    return value < type.count ? value + type.first_user_value : value;
}

kel_variant_usage &usage_of(const Object *object) {
    return usage_record(object->descriptor, object->variant,
                        object::usage_index(object->variant, 0), TraceModule::type);
}

// Whether only a later variant could have the value.
bool is_beyond(Type type, const Object *object, std::uint32_t value) {
    return variant_of(object) < 1 && map_to_internal_value(type, value) >= type.count;
}

}  // namespace

std::int8_t variant_data_index_cap(std::int8_t variant) {
    return variant > 0 ? std::int8_t{0} : variant;
}

// ---- Lifecycle --------------------------------------------------------------------

Object *create(Type type, const Call &call) { return create_internal(type, call); }

Object *create_cr(Type type, kel_handle *handle) {
    handle->cr_fallback_enabled = 1;
    Object *object = create_internal(type, Call::cr(handle));
    handle->cr_fallback_enabled = 0;
    return object;
}

Object *create_internal(Type type, const Call &call) {
    kel_handle *handle = call.handle;
    if (handle->cr_fallback_enabled != 0 && handle->last_error != 0) return type.fallback;
    auto *object =
        static_cast<Object *>(handle->alloc_hook(handle->arena, call.tx_id, sizeof(Object)));
    if (object == nullptr) {
        if (handle->cr_fallback_enabled == 0) return nullptr;
        if (handle->last_error == 0) kel_store_err(handle, ENOMEM);
        return type.fallback;
    }
    std::memset(object, 0, sizeof(Object));
    std::uint32_t error = 0;
    const std::int8_t variant = domain_variant(call.reporting_in(error), type.descriptor);
    object::write_header(call, object, variant, {.descriptor = type.descriptor});
    if (error != 0) {
        trace_type(KEL_TRACE_ERROR, "(ERR): error in %s create %s", type.name,
                   object::error_text(error));
    }
    // `live` isn't counted for enumerations.
    logged_count(call, object->descriptor, usage_of(object).created, 1);
    return object;
}

// An embedded enumeration is not counted.
void initialize(const Call &call, Object *object, const Initial &initial) {
    if (!call.enter()) return;
    const std::int8_t variant = domain_variant(call, initial.descriptor);
    object::write_header(call, object, variant, initial);
}

void set_instance_embedded(const Call &call, Object *object) {
    if (object == nullptr) {
        trace_type(KEL_TRACE_ERROR, "(ERR): Invalid object handle passed to set embedded flag");
        return;
    }
    object::add_flags(call, object, OBJ_EMBEDDED, 1);
}

void destroy(Type type, const Call &call, Object *object) {
    if (object == type.fallback) return;
    destroy_internal(type, call, object, Release::free);
}

void destroy_cr(Type type, kel_handle *handle, Object *object) {
    destroy_internal(type, Call::cr(handle), object, Release::free);
}

void destroy_internal(Type type, const Call &call, Object *object, Release release) {
    if (object == nullptr || object == type.fallback || release == Release::keep) return;
    require_descriptor(object->descriptor, TraceModule::type);
    logged_count(call, object->descriptor, usage_of(object).destroyed, 1);
    object->descriptor = nullptr;
    call.handle->free_hook(call.handle->arena, call.tx_id, object);
}

// ---- Values -----------------------------------------------------------------------

std::uint32_t map_to_user_value(std::uint32_t value) { return value; }

std::uint32_t map_to_internal_value(Type type, std::uint32_t value) {
    const std::uint32_t position = value - type.first_user_value;
    return position < type.count ? position : value;
}

std::int32_t adjust_variant(const Call &call, Object *object) {
    return kellib_adjust_variant(call.handle, call.tx_id, object, descriptor_of(object), 0,
                                 call.err);
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

std::uint32_t get_value(const Call &call, const Object *object) {
    if (!call.enter()) return 0;
    if (object == nullptr) {
        call.report(EINVAL);
        return 0;
    }
    return object->value;
}

namespace {

// The first steps of both setters. False: the value can't be stored.
bool begin_set(Type type, const Call &call, Object *object, std::uint32_t value) {
    adjust_variant(call, object);
    if (is_beyond(type, object, value)) {
        call.report_epoch();
        return false;
    }
    return true;
}

}  // namespace

// Copies the whole object, the source's flags and descriptor included.
void set(Type type, const Call &call, Object *object, const Object *source) {
    if (!call.enter()) return;
    if (object == nullptr || source == nullptr) {
        call.report(ENOENT);
        return;
    }
    if (!begin_set(type, call, object, source->value)) return;
    call.logged_store(*object, *source);
    object::set_modified(object, object::whole_enumeration);
}

void set_value(Type type, const Call &call, Object *object, std::uint32_t value) {
    if (!call.enter()) return;
    if (object == nullptr) {
        call.report(ENOENT);
        return;
    }
    if (!begin_set(type, call, object, value)) return;
    call.logged_store(object->value, value);
    object::set_modified(object, object::whole_enumeration);
}

// Signed here and unsigned in the setters: a negative value is valid.
std::uint32_t is_valid_cr(Type type, kel_handle *handle, std::uint32_t value) {
    const auto internal = static_cast<std::int32_t>(map_to_internal_value(type, value));
    if (internal < static_cast<std::int32_t>(type.count)) return 1;
    return domain_variant(Call::cr(handle), type.descriptor) >= 1 ? 1 : 0;
}

std::uint32_t backpropagate(Type type, const Call &call, Object *object) {
    if (!call.enter()) return 0;
    if (object == nullptr) {
        trace_type(KEL_TRACE_INFO, "(info): backpropagate: Null pointer to %s enum", type.name);
        return 0;
    }
    if (!object::is_modified(object, object::whole_enumeration)) return 0;
    object::clear_modified(object, object::whole_enumeration);
    return 1;
}

// ---- Wire form --------------------------------------------------------------------

std::uint32_t marshal(Type type, const Call &call, Output out, const Object *object) {
    if (!call.enter()) return 0;
    if (out.is_empty()) {
        call.report(ENOMEM);
        return 0;
    }
    EpochError epoch;
    std::int8_t variant = variant_of(object);
    const std::int8_t domain = domain_variant(call, descriptor_of(object));
    if (variant > domain) {
        call.report_epoch();
        variant = domain;
    }
    epoch.set_aside(call);
    variant = variant_data_index_cap(variant);
    out.advance(_kel_instance_variant_marshal(call.handle, call.tx_id, out.at(), &variant,
                                              out.remaining(), call.err));
    const std::uint32_t internal =
        object == nullptr ? 0 : map_to_internal_value(type, object->value);
    out.advance(
        u_int32_marshal(call.handle, call.tx_id, out.at(), &internal, out.remaining(), call.err));
    epoch.put_back(call);
    return out.used();
}

std::uint32_t unmarshal(Type type, const Call &call, Input in, Object *object, InPlace in_place) {
    if (!call.enter()) return 0;
    if (in.is_empty()) {
        call.report(ENOMEM);
        return 0;
    }
    std::int8_t variant = 0;
    in.advance(_kel_instance_variant_unmarshal(call.handle, call.tx_id, in.at(), &variant,
                                               in.remaining(), call.err));
    // These two stores are not announced.
    object->variant = variant_data_index_cap(variant);
    object->descriptor = choose_descriptor(call, type.descriptor);
    in.advance(u_int32_unmarshal(call.handle, call.tx_id, in.at(), &object->value, in.remaining(),
                                 static_cast<std::uint32_t>(in_place), call.err));
    // Only a value that was read is an internal one.
    if (!call.failed()) call.logged_store(object->value, from_internal_value(type, object->value));
    return in.used();
}

}  // namespace tarnbase::enumeration
