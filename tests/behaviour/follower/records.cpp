// SPDX-License-Identifier: Apache-2.0
// The lives of records and objects.
#include <string>

#include "tests/behaviour/follower/writer.h"

namespace tarn::test {

using tarnbase::catalogue::operations_of;
using tarnbase::catalogue::Structure;

namespace {

constexpr std::size_t most_records = 300;
constexpr std::size_t most_objects = 60;

}  // namespace

LiveRecord *Writer::any_record() {
    if (all_.records.empty()) return nullptr;
    return &all_.records[random_.below(count_of(all_.records))];
}

void *Writer::make_object(const Structure &type) {
    void *object = type.create(handle_, tx_);
    if (object != nullptr) change_fields(type, object, random_.below(6));
    return object;
}

// Gives a record that is in no index another key.
void Writer::set_keys(const LiveRecord &live) {
    const auto &type = *live.type;
    if (live.record->table != nullptr) return;
    const bool has_key_object = type.key_type != nullptr;
    void *carrier = has_key_object ? type.key_object(handle_, tx_, live.record)
                                   : type.object(handle_, tx_, live.record);
    if (carrier == nullptr) return;
    if (type.key_field != nullptr) change_field(*type.type, carrier, *type.key_field);
    else change_fields(*type.key_type, carrier, 3);
}

void Writer::create_record() {
    if (all_.records.size() > most_records || all_.tables.empty()) return;
    const auto &type = *all_.tables[random_.below(count_of(all_.tables))].type;
    note("create a record of " + std::string(type.name));
    const auto &operations = operations_of(type);
    kel_record *record = nullptr;
    if (random_.one_in(4)) {
        handle_->cr_tx_id = tx_;
        record = operations.cr.create(handle_, random_.coin() ? 1 : 0);
        handle_->cr_tx_id = KEL_TX_NONE;
    } else {
        record = type.create_record(handle_, tx_, 1 + random_.below(3), &err_);
        err_ = 0;
        type.set_object(handle_, tx_, record, make_object(*type.type));
        if (type.key_type != nullptr) {
            type.set_key_object(handle_, tx_, record, make_object(*type.key_type));
        }
    }
    all_.records.push_back({&type, record});
    set_keys(all_.records.back());
    err_ = 0;
    if (!random_.one_in(4)) insert_record();
}

void Writer::insert_record() {
    LiveRecord *live =
        random_.coin() && !all_.records.empty() ? &all_.records.back() : any_record();
    if (live == nullptr || live->record->table != nullptr) return;
    const auto &type = *live->type;
    if (type.object(handle_, tx_, live->record) == nullptr) return;
    if (type.key_type != nullptr && type.key_object(handle_, tx_, live->record) == nullptr) return;
    OpenTable *table = table_of(type);
    if (table == nullptr) return;
    note("insert in " + std::string(type.name));
    const auto &operations = operations_of(type);
    const auto insert = random_.one_in(4) ? operations.plain.pkey_insert : type.insert;
    insert(handle_, tx_, table->block, live->record, &err_);
}

void Writer::erase_record() {
    LiveRecord *live = any_record();
    if (live == nullptr || live->record->table == nullptr) return;
    note("erase from " + std::string(live->type->name));
    live->type->erase(handle_, tx_, live->record->table, live->record, &err_);
}

void Writer::release_record() {
    if (all_.records.empty()) return;
    const std::uint32_t index = random_.below(count_of(all_.records));
    const LiveRecord live = all_.records[index];
    note("release a record of " + std::string(live.type->name));
    const bool is_last = live.record->ref_count == 1;
    const kel_table *table = live.record->table;
    const bool is_marked = table != nullptr && table->replication_marked != 0;
    if (!is_marked && random_.coin()) {
        live.type->destroy_record(handle_, tx_, live.record, &err_);
    } else {
        kel_record_release(handle_, tx_, operations_of(*live.type).vector, live.record);
    }
    if (is_last) remove_at(all_.records, index);
}

void Writer::add_reference() {
    if (const LiveRecord *live = any_record()) {
        note("add a reference to a record of " + std::string(live->type->name));
        operations_of(*live->type).plain.add_ref(handle_, tx_, live->record, &err_);
    }
}

void Writer::replace_object() {
    const LiveRecord *live = any_record();
    if (live == nullptr || live->record->table != nullptr) return;
    note("replace an object of " + std::string(live->type->name));
    const auto &slot = operations_of(*live->type).object;
    void *object = make_object(*live->type->type);
    if (object != nullptr) slot.free_and_set(handle_, tx_, live->record, object);
}

void Writer::detach_object() {
    const LiveRecord *live = any_record();
    if (live == nullptr || live->record->table != nullptr || !random_.one_in(3)) return;
    note("detach an object of " + std::string(live->type->name));
    void *object = operations_of(*live->type).object.detach(handle_, tx_, live->record);
    if (object != nullptr) all_.objects.push_back({live->type->type, object});
}

void Writer::unmarshal_record() {
    const LiveRecord *live = any_record();
    if (live == nullptr || all_.records.size() > most_records) return;
    if (live->type->object(handle_, tx_, live->record) == nullptr) return;
    note("unmarshal a record of " + std::string(live->type->name));
    std::vector<char> bytes(3 * live->type->len(handle_, tx_, live->record) + 1);
    const std::uint32_t length = live->type->marshal(
        handle_, tx_, bytes.data(), live->record, static_cast<std::uint32_t>(bytes.size()), &err_);
    if (err_ != 0) return;
    kel_record *made = nullptr;
    live->type->unmarshal(handle_, tx_, &made, bytes.data(), length, 0, &err_);
    if (err_ != 0 || made == nullptr) return;
    all_.records.push_back({live->type, made});
    set_keys(all_.records.back());
}

void Writer::read_xml() {
    const LiveRecord *live = any_record();
    if (live == nullptr || all_.records.size() > most_records) return;
    if (live->type->object(handle_, tx_, live->record) == nullptr) return;
    note("read the XML of a record of " + std::string(live->type->name));
    std::vector<char> text(1 << 18);
    const auto size = static_cast<std::uint32_t>(text.size());
    const std::uint32_t length =
        live->type->to_xml(handle_, tx_, text.data(), live->record, size, &err_);
    kel_xml_document *document = err_ == 0 ? kel_xml_parse(text.data(), length) : nullptr;
    if (document == nullptr) return;
    char message[200] = "";
    kel_record *made = live->type->from_xml(handle_, tx_, document, &err_, message, sizeof message);
    kel_xml_free(document);
    if (err_ == 0 && made != nullptr) all_.records.push_back({live->type, made});
}

void Writer::create_object() {
    if (all_.objects.size() > most_objects) return;
    const Structure &type = *object_types()[random_.below(count_of(object_types()))];
    note("create " + std::string(type.name));
    if (void *object = make_object(type)) all_.objects.push_back({&type, object});
}

void Writer::destroy_object() {
    if (all_.objects.empty()) return;
    const std::uint32_t index = random_.below(count_of(all_.objects));
    note("destroy " + std::string(all_.objects[index].type->name));
    all_.objects[index].type->destroy(handle_, tx_, all_.objects[index].object);
    remove_at(all_.objects, index);
}

void Writer::map_object() {
    void *object = nullptr;
    if (random_.coin()) {
        const LiveRecord *live = any_record();
        if (live != nullptr) object = live->type->object(handle_, tx_, live->record);
    } else if (!all_.objects.empty()) {
        object = all_.objects[random_.below(count_of(all_.objects))].object;
    }
    std::uint64_t id = 0;
    if (object == nullptr || kel_object_map(handle_, tx_, object, &id) != 0) return;
    note("map an object");
    for (std::uint32_t count = random_.below(3); count > 0; --count) {
        if (kel_object_reference(handle_, tx_, id) == 0) all_.references.push_back(id);
    }
}

void Writer::drop_object_reference() {
    if (all_.references.empty()) return;
    const std::uint32_t index = random_.below(count_of(all_.references));
    note("drop a reference to an object");
    kellib_lookup_and_update_oid_ref_count(handle_, tx_, all_.references[index], 0, &err_);
    remove_at(all_.references, index);
}

}  // namespace tarn::test
