// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/fault/kind.h"

#include <cstring>

#include "tests/support/values.h"

namespace tarn::test {

namespace {

using FieldType = catalogue::Kind;

void set_text(kel_handle *h, u32 tx, const catalogue::Field &field, void *object, u32 which,
              u32 *err) {
    const std::string name(field.name);
    const Text text(which == 0 ? "the " + name + " of some length"
                               : "another " + name + ", longer than that");
    field.call.set(h, tx, object, text.get(), err);
}

void set_address(kel_handle *h, u32 tx, const catalogue::Field &field, void *object, u32 which,
                 u32 *err) {
    const u8 bytes[16] = {10, 0, 0, static_cast<u8>(which + 1)};
    ip_address address = {};
    ip_address_refer(&address, which == 0 ? KEL_ADDRESS_IPV4 : KEL_ADDRESS_IPV6, bytes);
    field.call.set(h, tx, object, &address, err);
}

// A number of either set, of the field at this place; a signed one is negative.
u64 number(const catalogue::Field &field, u64 place, u32 which) {
    if (field.kind == FieldType::boolean) return which;
    if (field.enumeration != nullptr) return field.enumeration->enumerators[which + 1].value;
    return field.is_signed() ? u64{0} - 1 - place - which : 8 + 8 * place + which;
}

void fill_fields(kel_handle *h, u32 tx, const catalogue::Structure &type, void *object, u32 which,
                 u32 *err) {
    for (u64 place = 0; place < type.fields.size(); ++place) {
        const catalogue::Field &field = type.fields[place];
        if (field.kind == FieldType::vstring) {
            set_text(h, tx, field, object, which, err);
        } else if (field.kind == FieldType::address) {
            set_address(h, tx, field, object, which, err);
        } else if (field.structure != nullptr) {
            fill_fields(h, tx, *field.structure, field.call.get(h, tx, object, 0, err), which, err);
        } else {
            const u64 value = number(field, place, which);
            field.call.set_value(h, tx, object, 0, value, err);
            // The other elements of an array without a service call for each.
            if (field.elements != 0) {
                std::memset(field.call.get(h, tx, object, 0, err), static_cast<int>(value),
                            field.elements);
            }
        }
    }
}

std::string content_of(const catalogue::Field &field, const void *value) {
    if (field.kind == FieldType::vstring) return text_of(static_cast<const kel_vstring *>(value));
    if (field.kind == FieldType::address) return text_of(static_cast<const ip_address *>(value));
    return {static_cast<const char *>(value), field.elements};
}

void observe_fields(kel_handle *h, const catalogue::Structure &type, void *object,
                    const std::string &prefix, Observations &observed) {
    for (const catalogue::Field &field : type.fields) {
        if (field.first_variant > static_cast<const kel_object *>(object)->variant) continue;
        const std::string name = prefix + std::string(field.name);
        const bool is_plain = field.call.get_value != nullptr && field.elements == 0;
        u32 err = 0;
        if (is_plain) {
            observed[name] = std::to_string(field.call.get_value(h, KEL_TX_NONE, object, 0, &err));
        } else if (void *value = field.call.get(h, KEL_TX_NONE, object, 0, &err);
                   value != nullptr) {
            if (field.structure != nullptr) {
                observe_fields(h, *field.structure, value, name + " ", observed);
            } else {
                observed[name] = content_of(field, value);
            }
        }
        if (err != 0) observed["error of " + name] = std::to_string(err);
    }
}

}  // namespace

Kind::Kind(const catalogue::Structure *structure)
    : ObjectOperations(catalogue::operations_of(*structure)),
      name(structure->name.data()),
      descriptor(structure->descriptor),
      structure_(structure) {}

Kind::Kind(const catalogue::Enumeration *enumeration)
    : ObjectOperations(catalogue::operations_of(*enumeration)),
      name(enumeration->name.data()),
      descriptor(enumeration->descriptor),
      structure_(nullptr) {}

void Kind::fill(kel_handle *h, u32 tx, void *object, u32 which, u32 *err) const {
    if (structure_ != nullptr) return fill_fields(h, tx, *structure_, object, which, err);
    set_value(h, tx, object, which + 1, err);
}

void Kind::observe(kel_handle *h, const void *object, Observations &observed) const {
    void *const seen = const_cast<void *>(object);
    if (structure_ != nullptr) return observe_fields(h, *structure_, seen, "", observed);
    u32 err = 0;
    observed["value"] = std::to_string(get_value(h, KEL_TX_NONE, object, &err));
}

const Kind kind_every(catalogue::schema.structure("st_every"));
const Kind kind_grown(catalogue::schema.structure("st_grown"));
const Kind kind_tag(catalogue::schema.structure("st_tag"));
const Kind kind_pair(catalogue::schema.structure("st_pair"));
const Kind kind_pair_key(catalogue::schema.structure("pair_key"));
const Kind kind_single(catalogue::schema.structure("st_single"));
const Kind kind_lamp(catalogue::schema.enumeration("lamp_state"));

}  // namespace tarn::test
