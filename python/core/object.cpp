// SPDX-License-Identifier: Apache-2.0
#include "object.h"

#include <cerrno>
#include <utility>

#include "table.h"
#include "tarnbase/tarn/forms.hpp"
#include "tarnbase/tarn/tracking.hpp"

namespace tarnbase::python {
namespace {

void collect_flags(const Access &at, const Structure &structure, const std::string &prefix,
                   std::vector<Object::Flag> &flags) {
    for (const Field &field : structure.fields) {
        if (!has(at.object, field)) return;
        const std::string path = prefix + std::string(field.name);
        std::uint32_t err = 0;
        const auto note = [&](const std::string &name, std::uint8_t flag) {
            if (err == 0 && flag != 0) flags.push_back({name, flag});
        };
        note(path, field.call.state_flag(at.handle, at.tx_id, at.object, &err));
        for (std::uint32_t i = 0; i < field.elements; ++i)
            note(path + "[" + std::to_string(i) + "]",
                 field.call.element_state_flag(at.handle, at.tx_id, at.object, i, &err));
        if (err != 0) throw tarn::detail::make_error(err, "reading the state of", path.c_str());
        if (field.structure != nullptr)
            collect_flags(inside(at, field), *field.structure, path + ".", flags);
    }
}

bool is_tracked(const void *object) {
    return object != nullptr &&
           (static_cast<const kel_object *>(object)->flags & OBJ_STATE_TRACKED) != 0;
}

}  // namespace

Object::Object(std::shared_ptr<Table> table, kel_record *record)
    : table_(std::move(table)),
      validity_(table_->store().validity()),
      record_(record),
      seen_(validity_->deletions()) {}

kel_record *Object::record() const {
    const char *why = validity_->why();
    if (why == nullptr && validity_->was_deleted(record_, seen_)) why = "it has been deleted";
    if (why == nullptr) return record_;
    throw Failure(Problem::stale, ESTALE,
                  "a record of " + table_->full_name() + ": " + why + "; look it up again");
}

Access Object::access() const {
    kel_handle *handle = table_->store().handle();
    const std::uint32_t tx_id = handle->cr_tx_id;
    Access at{handle, tx_id, table_->type().object(handle, tx_id, record())};
    for (const Field *field : path_) at = inside(at, *field);
    return at;
}

std::string Object::place() const {
    try {
        const Reference found = key();
        const Reference text(PyObject_Repr(found.get()));
        const char *bytes = PyUnicode_AsUTF8(text.get());
        return table_->full_name() + " " + (bytes == nullptr ? "" : bytes) + ": ";
    } catch (...) {
        PyErr_Clear();
        return table_->full_name() + ": ";
    }
}

const Structure &Object::structure() const {
    return path_.empty() ? *table_->type().type : *path_.back()->structure;
}

Reference Object::get(std::size_t field) const {
    const Reading reading(table_->store());
    return naming([&] { return value_of(access(), structure().fields[field]); });
}

void Object::set(std::size_t number, PyObject *value) const {
    table_->store().need_transaction("setting a field");
    const Field &field = structure().fields[number];
    naming([&] {
        const bool is_key = &field == table_->type().key_field && path_.empty();
        if (is_key && is_value(access(), field, value)) return;
        if (is_key)
            throw Failure(
                Problem::not_possible, EINVAL,
                std::string(field.name) + " is the key, which can't be set: insert another record");
        set_value(access(), field, value);
    });
}

void Object::set_element(std::size_t field, std::uint32_t index, PyObject *value) const {
    table_->store().need_transaction("setting a field");
    naming([&] { python::set_element(access(), structure().fields[field], index, value); });
}

Object Object::inner(std::size_t number) const {
    const Reading reading(table_->store());
    const Field &field = structure().fields[number];
    naming([&] { inside(access(), field); });
    Object found = *this;
    found.path_.push_back(&field);
    return found;
}

Reference Object::key() const {
    const Reading reading(table_->store());
    const catalogue::Table &type = table_->type();
    kel_handle *handle = table_->store().handle();
    const std::uint32_t tx_id = handle->cr_tx_id;
    if (type.key_type == nullptr)
        return value_of({handle, tx_id, type.object(handle, tx_id, record())}, *type.key_field);
    return tuple_of({handle, tx_id, type.key_object(handle, tx_id, record())}, *type.key_type);
}

std::uint16_t Object::tenant() const {
    const Reading reading(table_->store());
    return record()->tenant_id;
}

std::uint8_t Object::source() const {
    const Reading reading(table_->store());
    return record()->src;
}

bool Object::is_pending() const {
    const Reading reading(table_->store());
    return (record()->flags & KEL_RECORD_PENDING_DESTROY) != 0;
}

bool Object::has_data() const {
    const Reading reading(table_->store());
    return record()->object != nullptr;
}

int Object::variant() const {
    const Reading reading(table_->store());
    const auto *object = static_cast<const kel_object *>(access().object);
    if (object == nullptr) throw Failure(Problem::no_field, EIDRM, "the record has no data object");
    return object->variant;
}

std::string Object::text() const {
    const Reading reading(table_->store());
    kel_record *const self = record();
    kel_handle *handle = table_->store().handle();
    const auto print = [&](char *buffer, std::uint32_t size, std::uint32_t *err) {
        return table_->type().print(handle, handle->cr_tx_id, buffer, self, size, err);
    };
    return tarn::text_form("printing", table_->type().descriptor->name, print).value();
}

std::string Object::xml() const {
    const Reading reading(table_->store());
    kel_record *const self = record();
    kel_handle *handle = table_->store().handle();
    const auto write = [&](char *buffer, std::uint32_t size, std::uint32_t *err) {
        return table_->type().to_xml(handle, handle->cr_tx_id, buffer, self, size, err);
    };
    return tarn::text_form("writing the XML of", table_->type().descriptor->name, write).value();
}

std::string Object::wire() const {
    const Reading reading(table_->store());
    kel_record *const self = record();
    kel_handle *handle = table_->store().handle();
    const std::uint32_t tx_id = handle->cr_tx_id;
    const catalogue::Table &type = table_->type();
    const std::uint32_t length = type.len(handle, tx_id, self);
    // A handle that tracks state may write a byte more.
    std::string frame(length + std::size_t{1}, '\0');
    std::uint32_t err = 0;
    const std::uint32_t written = type.marshal(handle, tx_id, frame.data(), self, length, &err);
    if (err != 0)
        throw tarn::detail::make_error(err, "writing the wire form of", type.descriptor->name);
    frame.resize(written);
    return frame;
}

std::optional<std::vector<Object::Flag>> Object::flags(bool of_key) const {
    const Reading reading(table_->store());
    const catalogue::Table &type = table_->type();
    Access at = of_key ? Access{} : access();
    if (of_key) {
        if (type.key_type == nullptr) return std::nullopt;
        kel_handle *handle = table_->store().handle();
        at = {handle, handle->cr_tx_id, type.key_object(handle, handle->cr_tx_id, record())};
    }
    if (!is_tracked(at.object)) return std::nullopt;
    const tarn::tracking_scope scope(at.handle, tarn::tracking::existing);
    std::vector<Flag> flags;
    collect_flags(at, of_key ? *type.key_type : structure(), "", flags);
    return flags;
}

void Object::set_flag(std::size_t number, std::uint8_t flag) const {
    table_->store().need_transaction("setting a state flag");
    naming([&] {
        const Access at = access();
        const Field &field = structure().fields[number];
        if (!is_tracked(at.object))
            throw Failure(Problem::not_possible, EINVAL, "the object has no state flags");
        const tarn::tracking_scope scope(at.handle, tarn::tracking::existing);
        std::uint32_t err = 0;
        field.call.set_state_flag(at.handle, at.tx_id, at.object, flag, &err);
        if (err != 0) throw tarn::error(err, "setting the state of " + std::string(field.name));
    });
}

}  // namespace tarnbase::python
