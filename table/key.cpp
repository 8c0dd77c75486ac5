// SPDX-License-Identifier: Apache-2.0
#include "table/key.h"

#include <cstring>

#include "object/value_operations.h"

namespace tarnbase::table {

namespace {

// Whether a key value is the word in the field instead of the field.
bool is_word(const Field &key) { return key.kind == FieldKind::enumeration; }

std::uint32_t word_at(const void *key_value) {
    return *static_cast<const std::uint32_t *>(key_value);
}

bool same_keys(const Field &key, const void *a, const void *b) {
    return object::operations(key).compare(key, a, b) == 0;
}

}  // namespace

const void *key_value_in(const Table &model, const void *holder) {
    const void *place = object::place_of(*model.key, holder);
    if (place == nullptr || !is_word(*model.key)) return place;
    return &static_cast<const kel_enum_object *>(place)->value;
}

void put_key_value(const Table &model, void *object, const void *key_value) {
    void *place = object::place_of(*model.key, object);
    if (is_word(*model.key)) {
        static_cast<kel_enum_object *>(place)->value = word_at(key_value);
    } else {
        std::memcpy(place, key_value, facts_of(model.key->kind).size);
    }
}

bool same_keys(const Table &model, const kel_record *a, const kel_record *b) {
    return same_keys(*model.key, stored_key(model, a), stored_key(model, b));
}

bool has_key_value(const Table &model, const kel_record *record, const void *key_value) {
    kel_enum_object wanted{};
    if (is_word(*model.key)) {
        wanted.value = word_at(key_value);
        key_value = &wanted;
    }
    return same_keys(*model.key, stored_key(model, record), key_value);
}

}  // namespace tarnbase::table
