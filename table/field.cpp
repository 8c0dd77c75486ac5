// SPDX-License-Identifier: Apache-2.0
// The two object slots of a record. Attaching hands an object over to the record.
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

// Whether a record may take the object; if not, `text` is traced.
bool may_attach(kel_handle *handle, const void *object, const char *text) {
    const std::uint32_t refusal = kellib_validate_object_flags(object, 1, 1);
    if (refusal == 0) return true;
    trace_table(KEL_TRACE_ERROR, text);
    kel_store_err(handle, refusal);
    return false;
}

void attach(Model model, kel_handle *handle, std::uint32_t tx_id, kel_record *record, void *object,
            Slot slot) {
    logged_store(handle, tx_id, slot_of(record, slot), object);
    object::set_instance_embedded(type_of(model, slot), {handle, tx_id}, object);
}

}  // namespace

void *get_field(const kel_record *record, Slot slot) {
    return slot == Slot::object ? record->object : record->key_object;
}

void *get_field_detach(kel_handle *handle, std::uint32_t tx_id, kel_record *record, Slot slot) {
    void *object = get_field(record, slot);
    logged_store(handle, tx_id, slot_of(record, slot), static_cast<void *>(nullptr));
    return object;
}

void set_field(Model model, kel_handle *handle, std::uint32_t tx_id, kel_record *record,
               void *object, Slot slot) {
    if (!may_attach(handle, object,
                    "(ERR): Object is either nested or already embedded. Cannot set such objects "
                    "into the record")) {
        return;
    }
    attach(model, handle, tx_id, record, object, slot);
}

void free_and_set_field(Model model, kel_handle *handle, std::uint32_t tx_id, kel_record *record,
                        void *object, Slot slot) {
    if (!may_attach(handle, object,
                    "(ERR): Object is either nested or already embedded in a record. Cannot set "
                    "such objects into the record")) {
        return;
    }
    void *old = get_field(record, slot);
    if (old != nullptr) object::destroy(type_of(model, slot), {handle, tx_id}, old);
    attach(model, handle, tx_id, record, object, slot);
}

}  // namespace tarnbase::table
