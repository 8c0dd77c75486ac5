// SPDX-License-Identifier: Apache-2.0
// The two object slots of a record. The record owns the objects attached to it.
#include "frame/conventions.h"
#include "object/object.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

void *&slot_of(kel_record *record, Slot slot) {
    return slot == Slot::object ? record->object : record->key_object;
}

const Structure &type_of(Model model, Slot slot) {
    return slot == Slot::object ? *model.type : *model.key_type;
}

// Whether the object can be attached; if not, `text` is traced.
bool may_attach(kel_handle *handle, const void *object, const char *text) {
    const std::uint32_t refusal = kellib_validate_object_flags(object, 1, 1);
    if (refusal == 0) return true;
    trace_table(KEL_TRACE_ERROR, text);
    kel_store_err(handle, refusal);
    return false;
}

void attach(Model model, const Call &call, kel_record *record, Slot slot, void *object) {
    call.logged_store(slot_of(record, slot), object);
    object::set_instance_embedded(type_of(model, slot), call, object);
}

}  // namespace

void *get_field(const kel_record *record, Slot slot) {
    return slot == Slot::object ? record->object : record->key_object;
}

void *get_field_detach(const Call &call, kel_record *record, Slot slot) {
    void *object = get_field(record, slot);
    call.logged_store(slot_of(record, slot), static_cast<void *>(nullptr));
    return object;
}

void set_field(Model model, const Call &call, kel_record *record, Slot slot, void *object) {
    if (!may_attach(call.handle, object,
                    "(ERR): Object is either nested or already embedded. Cannot set such objects "
                    "into the record")) {
        return;
    }
    attach(model, call, record, slot, object);
}

void free_and_set_field(Model model, const Call &call, kel_record *record, Slot slot,
                        void *object) {
    if (!may_attach(call.handle, object,
                    "(ERR): Object is either nested or already embedded in a record. Cannot set "
                    "such objects into the record")) {
        return;
    }
    void *old = get_field(record, slot);
    if (old != nullptr) object::destroy(type_of(model, slot), call, old);
    attach(model, call, record, slot, object);
}

}  // namespace tarnbase::table
