// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "table/table.h"
#include "tests/fuzz/exercise.h"
#include "tests/fuzz/fill.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/tabled.h"
#include "tests/support/module.h"

namespace tarnbase::fuzz {

namespace {

void use_objects(const Table &model, const Round &round, kel_record *record, u8 portion) {
    use_forms(model, round, record, portion);
    exercise(*model.type, round, record->object, portion);
    if (model.key_type != nullptr) exercise(*model.key_type, round, record->key_object, portion);
}

// Reads into a new record, or over one in use, which is then inserted among others.
void read_record(const Table &model, const Round &round, const Conditions &conditions,
                 const Buffer &form, u8 portion) {
    Random random(2);
    kel_record *neighbour = make_record(model, round, random);
    require(insert(model, round, neighbour), "an empty table takes a record");

    kel_record *record = conditions.used ? make_record(model, round, random) : nullptr;
    kel_record *const before = record;
    const bool in_place = conditions.used && conditions.in_place;
    u32 err = 0;
    table::record_unmarshal(model, round.call(err), {form.data(), form.size()}, &record,
                            in_place ? InPlace::yes : InPlace::no);
    if (before != record) destroy(model, round, before);
    if (is_whole(model, record)) {
        use_objects(model, round, record, portion);
        if (insert(model, round, record)) find(model, round, record);
        walk(model, round);
    }
    destroy(model, round, record);
    destroy(model, round, neighbour);
}

void read_key(const Table &model, const Round &round, const Buffer &form) {
    kel_table *table = round.table(model);
    Random random(2);
    kel_record *record = make_record(model, round, random);
    insert(model, round, record);

    void *pkey = nullptr;
    u32 err = 0;
    table::pkey_unmarshal(model, round.call(err), {form.data(), form.size()}, &pkey);
    require(pkey != nullptr, "a key object is made, whatever is read");
    for (const bool nearest : {false, true}) {
        u32 error = 0;
        table::search_by_object(model, round.call(error), table, pkey, {.nearest = nearest});
        require(error == 0, "a search makes no error");
    }
    table::pkey_destroy(model, round.call(), pkey);
    destroy(model, round, record);
}

}  // namespace

// The table's number; the upper half of the values selects its key.
void fuzz_record(Bytes bytes) {
    Input input(bytes);
    const u8 item = input.byte();
    const Conditions conditions(input.byte());
    const u8 portion = input.byte();
    const Buffer form = input.rest();
    const Table &model = *all_tables()[(item & 0x7fU) % all_tables().size()];
    const Round round(conditions);
    if ((item & 0x80U) == 0) {
        read_record(model, round, conditions, form, portion);
    } else {
        read_key(model, round, form);
    }
}

}  // namespace tarnbase::fuzz
