// SPDX-License-Identifier: Apache-2.0
// How two states of a record differ, field by field.
#include "tarnbase/difference.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "object/fields.h"
#include "object/value_operations.h"

namespace tarnbase::table {

namespace {

constexpr std::size_t name_size = 256;

// Two objects of one structure; null where there is none.
struct Objects {
    const void *before;
    const void *after;
};

const Table *table_of(const kel_record &record) {
    const Table *const *end = module.tables + module.table_count;
    const auto found = std::find_if(module.tables, end, [&](const Table *each) {
        return std::memcmp(each->record_descriptor->luid, record.descriptor->luid,
                           sizeof record.descriptor->luid) == 0;
    });
    return found == end ? nullptr : *found;
}

// The place of a field, or null if the object's variant lacks it.
const void *present_place(const Field &field, const void *object) {
    return field.first_variant > object::variant_of(object) ? nullptr
                                                            : object::place_of(field, object);
}

std::uint32_t value_kind(const Field &field) {
    switch (field.kind) {
        case FieldKind::boolean:
            return TARNBASE_VALUE_BOOLEAN;
        case FieldKind::enumeration:
            return TARNBASE_VALUE_ENUMERATION;
        case FieldKind::vstring:
            return TARNBASE_VALUE_TEXT;
        case FieldKind::address:
            return TARNBASE_VALUE_ADDRESS;
        case FieldKind::array:
            return TARNBASE_VALUE_ARRAY;
        default:
            return is_signed(field.kind) ? TARNBASE_VALUE_SIGNED : TARNBASE_VALUE_UNSIGNED;
    }
}

std::uint64_t number_of(const Field &field, const Call &call, const void *place) {
    std::uint64_t number = 0;
    object::operations(field).load(field, call, const_cast<void *>(place), &number);
    const bool is_short = is_signed(field.kind) && facts_of(field.kind).size == sizeof(int32_t);
    return is_short ? static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(number)})
                    : number;
}

class Comparison {
 public:
    Comparison(const Call &call, const Field *key, tarnbase_difference_function function,
               void *context)
        : call_(call), key_(key), function_(function), context_(context) {}

    std::uint32_t count() const { return count_; }

    // False: the function has ended it.
    bool compare(const Structure &type, Objects objects, bool is_key) {
        const std::size_t length = length_;
        for (std::uint32_t number = 0; number < type.field_count; ++number) {
            const Field &field = type.fields[number];
            length_ = length;
            if (!compare_field(field, number, objects, is_key || &field == key_)) return false;
        }
        length_ = length;
        return true;
    }

 private:
    // Adds a field to the path. Most fields are equal and need none.
    void append(const char *name) {
        const int added = std::snprintf(name_ + length_, name_size - length_, "%s%s",
                                        length_ == 0 ? "" : ".", name);
        length_ = std::min(length_ + static_cast<std::size_t>(added), name_size - 1);
    }

    bool compare_field(const Field &field, std::uint32_t number, Objects objects, bool is_key) {
        const Objects places = {present_place(field, objects.before),
                                present_place(field, objects.after)};
        if (places.before == nullptr && places.after == nullptr) return true;
        if (field.kind == FieldKind::structure) {
            append(field.name);
            return compare(*field.structure, places, is_key);
        }
        const bool both = places.before != nullptr && places.after != nullptr;
        if (both && object::operations(field).compare(field, places.before, places.after) == 0) {
            return true;
        }
        ++count_;
        append(field.name);
        const tarnbase_field_difference difference = {name_, number, is_key ? 1U : 0U,
                                                      value(field, places.before),
                                                      value(field, places.after)};
        return function_(&difference, context_) == 0;
    }

    tarnbase_field_value value(const Field &field, const void *place) const {
        if (place == nullptr) return {TARNBASE_VALUE_NONE, 0, 0, nullptr};
        if (has_plain_value(field.kind)) {
            return {value_kind(field), 0, number_of(field, call_, place), nullptr};
        }
        return {value_kind(field), 0, field.elements, place};
    }

    Call call_;
    const Field *key_;
    tarnbase_difference_function function_;
    void *context_;
    std::uint32_t count_ = 0;
    char name_[name_size] = {};
    std::size_t length_ = 0;
};

Objects objects_of(const kel_record *before, const kel_record *after,
                   void *const kel_record::*slot) {
    return {before == nullptr ? nullptr : before->*slot, after == nullptr ? nullptr : after->*slot};
}

}  // namespace

std::uint32_t differences(const Call &call, const kel_record *before, const kel_record *after,
                          tarnbase_difference_function function, void *context) {
    if (!call.enter()) return 0;
    const kel_record *any = before != nullptr ? before : after;
    const Table *table = any != nullptr ? table_of(*any) : nullptr;
    const bool is_one = before == nullptr || after == nullptr || table_of(*after) == table;
    if (any == nullptr || !is_one) {
        call.report(EINVAL);
        return 0;
    }
    if (table == nullptr) {
        call.report(ENOENT);
        return 0;
    }
    Comparison comparison(call, table->key, function, context);
    const bool goes_on =
        table->key_type == nullptr ||
        comparison.compare(*table->key_type, objects_of(before, after, &kel_record::key_object),
                           true);
    if (goes_on) {
        comparison.compare(*table->type, objects_of(before, after, &kel_record::object), false);
    }
    return comparison.count();
}

}  // namespace tarnbase::table

uint32_t tarnbase_record_differences(kel_handle *handle, uint32_t tx_id, const kel_record *before,
                                     const kel_record *after, tarnbase_difference_function function,
                                     void *context, uint32_t *err) {
    return tarnbase::table::differences({handle, tx_id, err}, before, after, function, context);
}
