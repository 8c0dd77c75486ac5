// SPDX-License-Identifier: Apache-2.0
#include "key.h"

#include <cerrno>
#include <string>

#include "tarnbase/tarn/session.hpp"
#include "tarnbase/tarn/store.hpp"
#include "tarnbase/tarn/tenant.hpp"

namespace tarnbase::python {
namespace {

// A private store for the objects of keys, until the process ends.
kel_handle *scratch() {
    constexpr std::uint64_t capacity = 64ULL << 20;
    static auto *const store = new tarn::store(tarn::store::create_private({capacity, nullptr}));
    static auto *const session = new tarn::session(*store);
    return session->c_handle();
}

}  // namespace

std::uint16_t current_tenant() {
    std::uint16_t tenant = 0;
    mt_get_tenant_id(&tenant);
    return tenant;
}

KeyObject::KeyObject(const catalogue::Table &type, PyObject *key)
    : type_(type), object_(type.key_carrier().create(scratch(), KEL_TX_NONE)) {
    if (object_ == nullptr)
        throw tarn::detail::make_error(ENOMEM, "making a key of", type.descriptor->name);
    try {
        const Access at{scratch(), KEL_TX_NONE, object_};
        if (type.key_type != nullptr) set_from_tuple(at, *type.key_type, key);
        else set_value(at, *type.key_field, key);
    } catch (...) {
        type_.key_carrier().destroy(scratch(), KEL_TX_NONE, object_);
        throw;
    }
}

KeyObject::~KeyObject() { type_.key_carrier().destroy(scratch(), KEL_TX_NONE, object_); }

kel_record KeyObject::place(std::uint16_t tenant, std::uint8_t source) const {
    kel_record place{};
    place.tenant_id = tenant;
    place.src = source;
    (type_.key_type != nullptr ? place.key_object : place.object) = object_;
    return place;
}

Probe::Probe(const catalogue::Table &type, PyObject *key) {
    if (type.key_type != nullptr) {
        object_.emplace(type, key);
        return;
    }
    const Field &field = *type.key_field;
    const std::string name(field.name);
    if (field.kind == Kind::vstring) {
        text_.emplace(text_of(key, name.c_str()));
        kel_vstring_refer(&string_, text_->bytes, text_->length);
    } else if (field.kind == Kind::address) {
        refer(address_, key, name.c_str());
        is_address_ = true;
    } else {
        number_ = static_cast<std::uint32_t>(number_of(key, field));
    }
}

const void *Probe::get() const {
    if (object_) return object_->get();
    if (text_) return &string_;
    return is_address_ ? static_cast<const void *>(&address_) : &number_;
}

}  // namespace tarnbase::python
