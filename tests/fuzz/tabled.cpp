// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/tabled.h"

#include "table/key.h"
#include "table/table.h"
#include "tests/fuzz/forms.h"

namespace tarnbase::fuzz {

bool is_whole(const Table &model, const kel_record *record) {
    return record != nullptr && record->object != nullptr &&
           (model.key_type == nullptr || record->key_object != nullptr);
}

namespace {

// The texts of a record and of its key need the space of their wire forms, so their own
// length may not be enough.
template <typename Write>
void use_text(u8 room, Write write) {
    u32 err = 0;
    const u32 length = write(text_page(), longest_text, &err);
    require(err == 0, "a record and its key have a text");
    for (const u32 size : {length, length * room / 256}) {
        Buffer buffer(size);
        u32 error = 0;
        write(buffer.text(), size, &error);
    }
}

void use_key_forms(const Table &model, const Round &round, const kel_record *record, u8 room) {
    kel_handle *handle = round.handle();
    u32 err = 0;
    use_text(room, [&](char *buffer, u32 length, u32 *error) {
        return table::pkey_print(model, handle, round.tx(), round.table(model), record, buffer,
                                 length, error);
    });
    const u32 length = table::pkey_len(model, handle, round.tx(), record);
    const u32 spare = round.tracking() ? 1 : 0;
    Buffer form(length + spare);
    const u32 written =
        table::pkey_marshal(model, handle, round.tx(), form.data(), record, length, &err);
    require(err != 0 || written <= length, "a key's form stays in its buffer");
    Buffer cut(length * room / 256 + spare);
    u32 lack = 0;
    table::pkey_marshal(model, handle, round.tx(), cut.data(), record, cut.size() - spare, &lack);
    require(lack != 0 || round.tracking(), "a buffer that is too short is reported");
}

}  // namespace

void use_forms(const Table &model, const Round &round, kel_record *record, u8 room) {
    kel_handle *handle = round.handle();
    u32 err = 0;
    use_text(room, [&](char *buffer, u32 length, u32 *error) {
        return table::record_print(model, handle, round.tx(), buffer, record, length, error);
    });
    text_form(room, [&](char *buffer, u32 length, u32 *error) {
        return table::record_to_xml(model, handle, round.tx(), buffer, record, length, error);
    });
    const u32 length = table::record_len(model, handle, round.tx(), record);
    const u32 spare = round.tracking() ? 1 : 0;
    for (const u32 size : {length, length * room / 256}) {
        Buffer form(size + spare);
        u32 error = 0;
        const u32 written =
            table::record_marshal(model, handle, round.tx(), form.data(), record, size, &error);
        require(written <= size, "a frame stays in its buffer");
    }
    table::record_is_modified(model, handle, round.tx(), record, &err);
    require(err == 0, "a record reports whether it was modified");
    use_key_forms(model, round, record, room);
}

bool insert(const Table &model, const Round &round, kel_record *record) {
    u32 err = 0;
    table::insert(model, round.handle(), round.tx(), round.table(model), record, 0, &err);
    require(err == 0 || err == 17, "a record is inserted, or its key is known");
    return err == 0;
}

void find(const Table &model, const Round &round, const kel_record *record) {
    kel_handle *handle = round.handle();
    kel_table *table = round.table(model);
    u32 err = 0;
    const void *holder = model.key_type != nullptr ? record->key_object : record->object;
    require(table::search_by_object(model, handle, round.tx(), table, holder, 0, record->src,
                                    &err) == record,
            "a record is found by its object");
    const void *key = table::key_value_in(model, holder);
    require(
        table::search(model, handle, round.tx(), table, key, 0, 1, record->src, 0, &err) == record,
        "a record is found by its key");
    require(table::search_sub_first(model, handle, round.tx(), table, key, &err) == record,
            "a record is the first of its key");
    require(table::sub_next(model, handle, round.tx(), table, const_cast<kel_record *>(record),
                            &err) == nullptr,
            "a record is the last of its key");
    table::next_by_key(model, handle, round.tx(), table, key, record->src, 0, &err);
    table::prev_by_key(model, handle, round.tx(), table, key, record->src, 0, &err);
    require(err == 0, "a search makes no error");
}

void walk(const Table &model, const Round &round) {
    kel_handle *handle = round.handle();
    kel_table *table = round.table(model);
    u32 err = 0;
    u32 met = 0;
    const kel_record *last = nullptr;
    for (kel_record *record = table::first_ignore_src(model, handle, round.tx(), table, &err);
         record != nullptr && met <= table->record_count;
         record = table::next_ignore_src(model, handle, round.tx(), table, record, &err)) {
        require(last == nullptr || model.compare(&last->index_node, &record->index_node) == 0,
                "a walk goes upward");
        last = record;
        ++met;
    }
    require(err == 0 && met == table->record_count, "a walk visits every record once");
}

void destroy(const Table &model, const Round &round, kel_record *record) {
    if (record == nullptr) return;
    u32 err = 0;
    table::destroy_record(model, round.handle(), round.tx(), record, &err);
    require(err == 0, "a record can be destroyed");
}

}  // namespace tarnbase::fuzz
