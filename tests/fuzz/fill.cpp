// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/fill.h"

#include <cstring>

#include "object/enumeration.h"
#include "object/fields.h"
#include "object/object.h"
#include "table/table.h"

namespace tarnbase::fuzz {

u64 Random::word() {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return state_ * 0x2545f4914f6cdd1dU >> 16;
}

namespace {

std::string text_from(Random &random) {
    constexpr u32 short_text = 12, long_text = 60;
    std::string text(random.below(random.once_in(2) ? short_text : long_text), 'a');
    for (char &character : text) character = static_cast<char>(' ' + random.below(95));
    return text;
}

void set_address(const Round &round, void *place, Random &random, u32 *err) {
    constexpr u8 families[] = {KEL_ADDRESS_NONE, KEL_ADDRESS_IPV4, KEL_ADDRESS_IPV6};
    const u64 bytes[2] = {random.word(), random.word()};
    ip_address_assign(round.handle(), round.tx(), static_cast<ip_address *>(place),
                      families[random.below(3)], bytes, err);
}

void set_number(const Round &round, void *place, FieldKind kind, Random &random, u32 *err) {
    // Small ones are more likely to be equal: as keys, and as digits in XML.
    const u64 word = random.once_in(2) ? random.word() : random.below(4);
    kel_handle *handle = round.handle();
    switch (kind) {
        case FieldKind::u_int8:
            return u_int8_set_value(handle, round.tx(), static_cast<u8 *>(place),
                                    static_cast<u8>(word), err);
        case FieldKind::u_int16:
            return u_int16_set_value(handle, round.tx(), static_cast<u16 *>(place),
                                     static_cast<u16>(word), err);
        case FieldKind::u_int32:
            return u_int32_set_value(handle, round.tx(), static_cast<u32 *>(place),
                                     static_cast<u32>(word), err);
        case FieldKind::u_int64:
            return u_int64_set_value(handle, round.tx(), static_cast<u64 *>(place), word, err);
        case FieldKind::int32:
            return int32_set_value(handle, round.tx(), static_cast<std::int32_t *>(place),
                                   static_cast<std::int32_t>(word), err);
        case FieldKind::int64:
            return int64_set_value(handle, round.tx(), static_cast<std::int64_t *>(place),
                                   static_cast<std::int64_t>(word), err);
        default:
            return kel_boolean_set_value(handle, round.tx(), static_cast<kel_boolean *>(place),
                                         static_cast<u32>(word & 1U), err);
    }
}

void set_enumeration(const Enumeration &type, const Round &round, void *place, Random &random,
                     u32 *err) {
    enumeration::set_value(type, round.call(*err), static_cast<kel_enum_object *>(place),
                           type.enumerators[random.below(type.count)].user_value);
}

void fill_field(const Field &field, const Round &round, void *place, Random &random) {
    u32 err = 0;
    switch (field.kind) {
        case FieldKind::vstring: {
            const std::string text = text_from(random);
            kel_vstring_assign(round.handle(), round.tx(), static_cast<kel_vstring *>(place),
                               text.data(), static_cast<u32>(text.size()), &err);
            break;
        }
        case FieldKind::address:
            set_address(round, place, random, &err);
            break;
        case FieldKind::structure:
            fill(*field.structure, round, place, random);
            break;
        case FieldKind::enumeration:
            set_enumeration(*field.enumeration, round, place, random, &err);
            break;
        case FieldKind::array:
            for (u32 i = 0; i < field.elements; ++i) {
                u_int8_set_value(round.handle(), round.tx(), static_cast<u8 *>(place) + i,
                                 static_cast<u8>(random.word()), &err);
            }
            break;
        default:
            set_number(round, place, field.kind, random, &err);
            break;
    }
    require(err == 0, "a field takes a value of its kind");
}

}  // namespace

void fill(const Structure &type, const Round &round, void *object, Random &random) {
    for (const Field &field : object::fields_of(type)) {
        if (field.first_variant <= object::header(object)->variant) {
            fill_field(field, round, object::place_of(field, object), random);
        }
    }
    object::set_all_state_tracking_flag(type, round.call(), object, static_cast<u8>(random.word()));
}

void *make_object(const Structure &type, const Round &round, Random &random) {
    void *object = object::create(type, round.call());
    require(object != nullptr, "an object can be made");
    fill(type, round, object, random);
    return object;
}

kel_record *make_record(const Table &model, const Round &round, Random &random) {
    u32 err = 0;
    kel_record *record = table::create_record(model, round.call(err), 1);
    require(record != nullptr && err == 0, "a record can be made");
    table::set_field(model, round.call(), record, table::Slot::object,
                     make_object(*model.type, round, random));
    if (model.key_type != nullptr) {
        table::set_field(model, round.call(), record, table::Slot::key_object,
                         make_object(*model.key_type, round, random));
    }
    return record;
}

std::vector<u8> wire(const Structure &type, const Round &round, const void *object) {
    u32 err = 0;
    const u32 length = object::len(type, round.call(), object);
    std::vector<u8> bytes(length + 1);  // with tracking, the last state byte needs space
    const u32 written = object::marshal(type, round.call(err), {bytes.data(), length}, object);
    require(err == 0 && written == length, "an object can be marshalled");
    bytes.resize(length);
    return bytes;
}

std::vector<u8> frame(const Table &model, const Round &round, const kel_record *record) {
    u32 err = 0;
    const u32 length = table::record_len(model, round.call(), record);
    std::vector<u8> bytes(length + 1);
    const u32 written =
        table::record_marshal(model, round.call(err), {bytes.data(), length}, record);
    require(err == 0 && written == length, "a record can be marshalled");
    bytes.resize(length);
    return bytes;
}

std::vector<u8> new_frame(const Table &model, const Round &round, Random &random) {
    u32 err = 0;
    kel_record *record = make_record(model, round, random);
    std::vector<u8> bytes = frame(model, round, record);
    table::destroy_record(model, round.call(err), record);
    return bytes;
}

}  // namespace tarnbase::fuzz
