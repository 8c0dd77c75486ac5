// SPDX-License-Identifier: Apache-2.0
// Changes of objects.
#include <string>
#include <vector>

#include "object/object.h"
#include "tests/behaviour/follower/writer.h"

namespace tarn::test {

using tarnbase::Call;
using tarnbase::catalogue::Field;
using tarnbase::catalogue::Kind;
using tarnbase::catalogue::Structure;

namespace {

bool is_tracked(const void *object) {
    return (static_cast<const kel_object *>(object)->flags & OBJ_STATE_TRACKED) != 0;
}

const tarnbase::Structure &model_of(const Structure &type) {
    for (std::uint32_t i = 0;; ++i) {
        if (tarnbase::module.structures[i]->name == type.name)
            return *tarnbase::module.structures[i];
    }
}

}  // namespace

void Writer::change_fields(const Structure &type, void *object, std::uint32_t count,
                           const Field *except) {
    for (; count > 0; --count) {
        const Field &field = type.fields[random_.below(count_of(type.fields))];
        if (&field == except) continue;
        err_ = 0;
        change_field(type, object, field);
    }
    err_ = 0;
}

void Writer::change_field(const Structure &type, void *object, const Field &field) {
    if (random_.one_in(6)) return set_state(type, object, field);
    if (random_.one_in(5)) return copy_field(type, object, field);
    switch (field.kind) {
        case Kind::vstring:
            return set_text(object, field);
        case Kind::address:
            return set_address(object, field);
        case Kind::structure:
            if (void *inner = field.call.get(handle_, tx_, object, 0, &err_)) {
                change_fields(*field.structure, inner, 1 + random_.below(3));
            }
            return;
        default:
            return set_plain(object, field);
    }
}

void Writer::set_plain(void *object, const Field &field) {
    std::uint64_t value = random_.coin() ? random_.below(5) : random_.below(~0U);
    if (field.kind == Kind::boolean) value &= 1;
    if (field.enumeration != nullptr) {
        const auto &enumerators = field.enumeration->enumerators;
        value = enumerators[random_.below(count_of(enumerators))].value;
    }
    const std::uint32_t index = field.elements == 0 ? 0 : random_.below(field.elements);
    field.call.set_value(handle_, tx_, object, index, value, &err_);
}

void Writer::set_text(void *object, const Field &field) {
    static constexpr std::uint32_t lengths[] = {0, 1, 5, 12, 13, 40, 200, 5000};
    const std::string text(random_.of(lengths), static_cast<char>('a' + random_.below(26)));
    const auto length = static_cast<std::uint32_t>(text.size());
    if (random_.coin()) {
        kel_vstring source{};
        kel_vstring_refer(&source, text.data(), length);
        field.call.set(handle_, tx_, object, &source, &err_);
    } else if (void *place = field.call.get(handle_, tx_, object, 0, &err_)) {
        kel_vstring_assign(handle_, tx_, static_cast<kel_vstring *>(place), text.data(), length,
                           &err_);
    }
}

void Writer::set_address(void *object, const Field &field) {
    static constexpr std::uint8_t families[] = {KEL_ADDRESS_NONE, KEL_ADDRESS_IPV4,
                                                KEL_ADDRESS_IPV6};
    std::uint8_t bytes[16];
    for (std::uint8_t &byte : bytes) byte = static_cast<std::uint8_t>(random_.below(256));
    const std::uint8_t family = random_.of(families);
    if (random_.coin()) {
        ip_address source{};
        ip_address_refer(&source, family, bytes);
        field.call.set(handle_, tx_, object, &source, &err_);
    } else if (void *place = field.call.get(handle_, tx_, object, 0, &err_)) {
        ip_address_assign(handle_, tx_, static_cast<ip_address *>(place), family, bytes, &err_);
    }
}

// The flag of a field, of an element or of all elements, or all flags of an object.
void Writer::set_state(const Structure &type, void *object, const Field &field) {
    const auto flag = static_cast<std::uint8_t>(random_.below(4));
    const auto &model = model_of(type);
    const Call call{handle_, tx_, &err_};
    if (random_.one_in(8)) {
        // This stores without any call of the runtime.
        handle_->write_log_hook(handle_->arena, object, 1, tx_);
        tarnbase::object::set_all_state_tracking_flag(model, call, object, flag);
    } else if (field.elements != 0 && random_.coin()) {
        if (random_.coin()) {
            field.call.set_element_state_flag(handle_, tx_, object, random_.below(field.elements),
                                              flag, &err_);
            return;
        }
        const std::vector<std::uint8_t> flags(field.elements, flag);
        const auto &member = model.fields[&field - type.fields.data()];
        tarnbase::object::array_state_flag_set_arr({model, member}, call, object, flags.data(),
                                                   field.elements);
        return;
    }
    field.call.set_state_flag(handle_, tx_, object, flag, &err_);
}

// Another object of the type with a state block, or without one, as the object; or null.
void *Writer::other_object(const Structure &type, const void *object) {
    const auto fits = [&](const Structure *each, void *candidate) {
        return each == &type && candidate != nullptr && candidate != object &&
               is_tracked(candidate) == is_tracked(object);
    };
    for (int attempts = 0; attempts < 20; ++attempts) {
        if (random_.coin() && !all_.objects.empty()) {
            const auto &live = all_.objects[random_.below(count_of(all_.objects))];
            if (fits(live.type, live.object)) return live.object;
        } else if (const LiveRecord *live = any_record()) {
            void *candidate = live->type->object(handle_, tx_, live->record);
            if (fits(live->type->type, candidate)) return candidate;
        }
    }
    return nullptr;
}

void Writer::copy_field(const Structure &type, void *object, const Field &field) {
    void *source = field.call.set != nullptr ? other_object(type, object) : nullptr;
    if (source == nullptr) return;
    const void *value = field.call.get(handle_, tx_, source, 0, &err_);
    if (value != nullptr) field.call.set(handle_, tx_, object, value, &err_);
}

void Writer::change_record() {
    const LiveRecord *live = any_record();
    if (live == nullptr) return;
    void *object = live->type->object(handle_, tx_, live->record);
    if (object == nullptr) return;
    note("change a record of " + std::string(live->type->name));
    const bool is_in_index = live->record->table != nullptr;
    change_fields(*live->type->type, object, 1 + random_.below(5),
                  is_in_index ? live->type->key_field : nullptr);
}

void Writer::change_object() {
    if (all_.objects.empty()) return;
    const auto &live = all_.objects[random_.below(count_of(all_.objects))];
    note("change " + std::string(live.type->name));
    change_fields(*live.type, live.object, 1 + random_.below(5));
    if (random_.one_in(3)) {
        tarnbase::object::type_type_backpropagate(model_of(*live.type), {handle_, tx_, &err_},
                                                  live.object);
    }
}

// Not an object without a state block and a tracking handle: a copy reports an error before it has
// texts of its own, and reading the wire form ends the process.
bool Writer::suits_handle(const void *object) const {
    const kel_state_tracking *tracking = handle_->state_tracking;
    return is_tracked(object) || tracking == nullptr ||
           tracking->state_tracking_mode != KEL_STATE_TRACKING_ON;
}

// A whole object, as long as no index depends on it.
void Writer::copy_object() {
    void *object = nullptr;
    const Structure *type = nullptr;
    if (random_.coin() && !all_.objects.empty()) {
        const auto &live = all_.objects[random_.below(count_of(all_.objects))];
        object = live.object;
        type = live.type;
    } else if (const LiveRecord *live = any_record()) {
        if (live->record->table != nullptr && live->type->key_field != nullptr) return;
        object = live->type->object(handle_, tx_, live->record);
        type = live->type->type;
    }
    if (object == nullptr) return;
    if (!suits_handle(object)) return;
    void *source = other_object(*type, object);
    if (source == nullptr) {
        source = make_object(*type);
        all_.objects.push_back({type, source});
        if (is_tracked(source) != is_tracked(object)) return;
    }
    note("copy to " + std::string(type->name));
    type->set(handle_, tx_, object, source, &err_);
}

// The wire form of an object, read into another one.
void Writer::unmarshal_object() {
    if (all_.objects.empty()) return;
    const auto &live = all_.objects[random_.below(count_of(all_.objects))];
    const void *source = other_object(*live.type, live.object);
    if (source == nullptr || !suits_handle(live.object)) return;
    note("unmarshal " + std::string(live.type->name));
    std::vector<char> bytes(3 * live.type->len(handle_, tx_, source) + 1);
    const std::uint32_t length = live.type->marshal(
        handle_, tx_, bytes.data(), source, static_cast<std::uint32_t>(bytes.size()), &err_);
    if (err_ != 0) return;
    live.type->unmarshal(handle_, tx_, bytes.data(), live.object, length, 0, &err_);
}

}  // namespace tarn::test
