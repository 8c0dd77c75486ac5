// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/tabled.h"

#include <cerrno>

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
void use_text(u8 portion, Write write) {
    u32 err = 0;
    const u32 length = write(text_page(), longest_text, &err);
    require(err == 0, "a record and its key have a text");
    for (const u32 size : {length, length * portion / 256}) {
        Buffer buffer(size);
        u32 error = 0;
        write(buffer.text(), size, &error);
    }
}

void use_key_forms(const Table &model, const Round &round, const kel_record *record, u8 portion) {
    u32 err = 0;
    use_text(portion, [&](char *buffer, u32 length, u32 *error) {
        return table::pkey_print(model, round.call(*error), {buffer, length}, round.table(model),
                                 record);
    });
    const u32 length = table::pkey_len(model, round.call(), record);
    const u32 spare = round.tracking() ? 1 : 0;
    Buffer form(length + spare);
    const u32 written = table::pkey_marshal(model, round.call(err), {form.data(), length}, record);
    require(err != 0 || written <= length, "a key's form stays in its buffer");
    Buffer cut(length * portion / 256 + spare);
    u32 lack = 0;
    table::pkey_marshal(model, round.call(lack), {cut.data(), cut.size() - spare}, record);
    require(lack != 0 || round.tracking(), "a buffer that is too short is reported");
}

}  // namespace

void use_forms(const Table &model, const Round &round, kel_record *record, u8 portion) {
    u32 err = 0;
    use_text(portion, [&](char *buffer, u32 length, u32 *error) {
        return table::record_print(model, round.call(*error), {buffer, length}, record);
    });
    text_form(portion, [&](char *buffer, u32 length, u32 *error) {
        return table::record_to_xml(model, round.call(*error), {buffer, length}, record);
    });
    const u32 length = table::record_len(model, round.call(), record);
    const u32 spare = round.tracking() ? 1 : 0;
    for (const u32 size : {length, length * portion / 256}) {
        Buffer form(size + spare);
        u32 error = 0;
        const u32 written =
            table::record_marshal(model, round.call(error), {form.data(), size}, record);
        require(written <= size, "a frame stays in its buffer");
    }
    table::record_is_modified(model, round.call(err), record);
    require(err == 0, "a record reports whether it was modified");
    use_key_forms(model, round, record, portion);
}

bool insert(const Table &model, const Round &round, kel_record *record) {
    u32 err = 0;
    table::insert(model, round.call(err), round.table(model), record);
    require(err == 0 || err == EEXIST, "a record is inserted, or its key is known");
    return err == 0;
}

void find(const Table &model, const Round &round, const kel_record *record) {
    kel_table *table = round.table(model);
    u32 err = 0;
    const Call call = round.call(err);
    const void *holder = model.key_type != nullptr ? record->key_object : record->object;
    require(table::search_by_object(model, call, table, holder, {.source = record->src}) == record,
            "a record is found by its object");
    const void *key = table::key_value_in(model, holder);
    require(table::search(model, call, table, key, {.source = record->src}) == record,
            "a record is found by its key");
    require(table::search_sub_first(model, call, table, key) == record,
            "a record is the first of its key");
    require(table::sub_next(model, call, table, const_cast<kel_record *>(record)) == nullptr,
            "a record is the last of its key");
    table::next_by_key(model, call, table, key, {.source = record->src});
    table::prev_by_key(model, call, table, key, {.source = record->src});
    require(err == 0, "a search makes no error");
}

void walk(const Table &model, const Round &round) {
    kel_table *table = round.table(model);
    u32 err = 0;
    const Call call = round.call(err);
    u32 met = 0;
    const kel_record *last = nullptr;
    for (kel_record *record = table::first(model, call, table, {.any_source = true});
         record != nullptr && met <= table->record_count;
         record = table::next(model, call, table, record, {.any_source = true})) {
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
    table::destroy_record(model, round.call(err), record);
    require(err == 0, "a record can be destroyed");
}

}  // namespace tarnbase::fuzz
