// SPDX-License-Identifier: Apache-2.0
// The text and XML forms of a record, and the text form of its key.
#include <cstdio>

#include "frame/conventions.h"
#include "object/object.h"
#include "object/value_operations.h"
#include "table/key.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

constexpr std::uint32_t object_indent = 2;
constexpr std::size_t path_size = 256;

bool has_space_for(const Output &out, std::uint32_t length) {
    return static_cast<std::int32_t>(out.remaining()) >= static_cast<std::int32_t>(length);
}

// Prints an object, which needs at least as much space as its wire form.
void print_object(const Structure &type, const Call &call, Output &out, const void *object) {
    if (!has_space_for(out, object::len(type, call, object))) {
        call.report(EMSGSIZE);
        return;
    }
    out.advance(object::print(type, call, out.rest(), {type.name, object_indent}, object));
}

void object_to_xml(const Structure &type, const Call &call, Output &out, const void *object) {
    out.advance(object::to_xml(type, call, out.rest(), {type.name}, object));
}

// Stores a new object in `slot` and reads it from the document's first element of its name.
// An absent element leaves `*err` at ENOENT. False: the record can't be read.
bool object_from_xml(const Structure &type, const Call &call, const XmlElement &document,
                     void *&slot) {
    slot = object::create_internal(type, call);
    if (slot == nullptr) {
        call.report(ENOMEM);
        return false;
    }
    char path[path_size];
    std::snprintf(path, sizeof path, "//%s", type.name);
    object::from_xml(type, call, document.at(path), slot);
    return !call.failed() || *call.err == ENOENT;
}

}  // namespace

std::uint32_t pkey_print(Model model, const Call &call, Output out, kel_table *table,
                         const kel_record *record) {
    if (call.failed()) return 0;
    if (call.handle == nullptr) {
        *call.err = EINVAL;  // without a handle there is no last_error
        return 0;
    }
    call.enter();
    if (table == nullptr || record == nullptr) {
        call.report(EINVAL);
        return 0;
    }
    if (!has_space_for(out, pkey_len(model, call, record))) {
        call.report(EMSGSIZE);
        return 0;
    }
    const Field &key = *model.key;
    return object::operations(key).print(key, call, out, 0, stored_key(model, record));
}

std::uint32_t record_print(Model model, const Call &call, Output out, const kel_record *record) {
    const auto [handle, tx_id, err] = call;
    out.advance(kel_print_space(handle, tx_id, out.at(), 0, out.remaining(), err));
    out.advance(
        kel_snprintf(handle, tx_id, out.at(), out.remaining(), err, "record@%s: {\n", model.name));
    if (!call.failed()) print_object(*model.type, call, out, record->object);
    if (!call.failed() && model.key_type != nullptr) {
        print_object(*model.key_type, call, out, record->key_object);
    }
    // The closing line follows an error too, as far as the services then write it.
    out.advance(kel_print_space(handle, tx_id, out.at(), 0, out.remaining(), err));
    out.advance(kel_snprintf(handle, tx_id, out.at(), out.remaining(), err, "}\n"));
    return out.used();
}

std::uint32_t record_print_cr(Model model, kel_handle *handle, Output out,
                              const kel_record *record) {
    if (handle->last_error != 0) return cr_failure;
    const std::uint32_t written = record_print(model, Call::cr(handle), out, record);
    return handle->last_error != 0 ? cr_failure : written;
}

std::uint32_t record_to_xml(Model model, const Call &call, Output out, const kel_record *record) {
    if (!call.enter()) return 0;
    const auto [handle, tx_id, err] = call;
    out.advance(start_tag(handle, tx_id, out.at(), model.name, out.remaining(), 0, err));
    if (!call.failed()) object_to_xml(*model.type, call, out, record->object);
    if (!call.failed() && model.key_type != nullptr) {
        object_to_xml(*model.key_type, call, out, record->key_object);
    }
    out.advance(end_tag(handle, tx_id, out.at(), model.name, out.remaining(), err));
    return out.used();
}

std::uint32_t record_toxml_cr(Model model, kel_handle *handle, Output out,
                              const kel_record *record) {
    if (handle->last_error != 0) return cr_failure;
    const std::uint32_t written = record_to_xml(model, Call::cr(handle), out, record);
    return handle->last_error != 0 ? cr_failure : written;
}

// After an error the record isn't released: the caller rolls its transaction back.
kel_record *record_from_xml(Model model, const Call &call, const XmlElement &element) {
    if (!call.enter()) return nullptr;
    kel_record *record = create_record(model, call, KEL_SOURCE_DEFAULT);
    if (record == nullptr) {
        call.report(ENOMEM);
        return nullptr;
    }
    if (!object_from_xml(*model.type, call, element, record->object)) return nullptr;
    if (model.key_type != nullptr &&
        !object_from_xml(*model.key_type, call, element, record->key_object)) {
        return nullptr;
    }
    *call.err = 0;  // an absent element is no error here
    return record;
}

}  // namespace tarnbase::table
