// SPDX-License-Identifier: Apache-2.0
// Creating, filling, changing, copying, referencing and destroying records.
#include <cerrno>

#include "tests/behaviour/random/driver.h"

namespace tarn::test {

namespace {

constexpr u32 text_count = 40;

// Texts stored inside and outside their strings.
const std::string &text_number(u32 number) {
    static const auto texts = [] {
        std::vector<std::string> made;
        for (u32 i = 0; i < text_count; ++i) made.emplace_back(i, static_cast<char>('a' + i % 26));
        return made;
    }();
    return texts[number];
}

}  // namespace

// A record with this source, created by any form that can do so.
kel_record *Driver::create(u8 src, bool with_objects) {
    kel_record *record = nullptr;
    err_ = EIO;  // is cleared
    if (with_objects) {
        record = s.cr.create(handle_, 1);
        err_ = take_cr_error();
    } else if (src == KEL_SOURCE_DEFAULT && random_.coin()) {
        record = form().create_record(handle_, tx_, &err_);
    } else {
        record = s.create_record_w_src(handle_, tx_, src + 256U * random_.below(2), &err_);
    }
    same(err_, 0U, "the error of a creation");
    err_ = 0;
    return record;
}

// A new record outside; returns its row.
u32 Driver::make(u8 src) {
    Row row;
    const bool with_objects = src == KEL_SOURCE_DEFAULT && random_.one_in(4);
    row.place = {tenant_, random_.below(run_.kind->keys), src};
    row.store_type = handle_->store_types_enabled != 0;
    row.store_object = row.store_type;
    row.value = random_.below(run_.kind->values);
    row.text = random_.below(text_count);
    history_.add("key", row.place.key);
    history_.add("source", src);
    row.record = create(src, with_objects);
    if (row.record == nullptr) {
        fail("no record is made");
        return no_row;
    }
    if (!with_objects) {
        s.object.set(handle_, tx_, row.record, s.object.type->create(handle_, tx_));
        if (s.has_key_object()) {
            s.key_object.set(handle_, tx_, row.record, s.key_object.type->create(handle_, tx_));
        }
    }
    fill(row);
    const u32 number = model_.add(row);
    expect_row(row);
    return number;
}

void Driver::fill(const Row &row) {
    void *object = s.object.get(handle_, tx_, row.record);
    s.prepare(handle_, tx_, object, &err_);
    s.set_value(handle_, tx_, object, row.value, &err_);
    run_.kind->set_text(handle_, tx_, object, text_number(row.text), &err_);
    set_key(row);
    expect_error(0);
}

void Driver::set_key(const Row &row) {
    const Slot &slot = s.has_key_object() ? s.key_object : s.object;
    s.set_key(handle_, tx_, slot.get(handle_, tx_, row.record), row.place.key, &err_);
}

void Driver::add_ref() {
    const u32 number = pick_any();
    if (number == no_row) return;
    Row &row = model_.rows[number];
    history_.add("row", number);
    if (row.refs >= 4) return;
    same(form().add_ref(handle_, tx_, row.record, &err_), row.refs, "the references before");
    ++row.refs;
    note_reference(row);
    expect_row(row);
}

// Releases a reference; the last release removes and destroys the record.
void Driver::destroy(u32 number) {
    Row &row = model_.rows[number];
    kel_record *record = row.record;
    history_.add("row", number);
    history_.add("references", row.refs);
    note_release(row);
    const bool last = row.refs == 1;
    if (last) {
        if (row.table != outside) model_.remove(number, tenant_);
        model_.forget(number);
    } else {
        --row.refs;
    }
    if (random_.one_in(3)) {
        s.cr.destroy(handle_, record);
        err_ = take_cr_error();
    } else {
        form().destroy_record(handle_, tx_, record, &err_);
    }
    expect_error(0);
    if (!last) expect_row(model_.rows[number]);
}

void Driver::destroy_one() {
    // A record unlinked by a removal from the wrong table is still in its own index:
    // destroying it would leave its node there.
    const u32 number = pick([](const Row &row) { return row.table == outside || row.linked; });
    if (number == no_row) return;
    const Row &row = model_.rows[number];
    const bool engine = row.refs == 1 && engine_must_remove(row);
    handle_->replication_engine_active = engine ? 1 : 0;
    destroy(number);
    handle_->replication_engine_active = 0;
}

void Driver::set_value() {
    const u32 number = pick_any();
    if (number == no_row) return;
    Row &row = model_.rows[number];
    row.value = random_.below(run_.kind->values);
    s.set_value(handle_, tx_, row.record->object, row.value, &err_);
    expect_error(0);
    expect_content(row);
}

void Driver::set_text() {
    const u32 number = pick_any();
    if (number == no_row) return;
    Row &row = model_.rows[number];
    row.text = random_.below(text_count);
    run_.kind->set_text(handle_, tx_, row.record->object, text_number(row.text), &err_);
    expect_error(0);
    expect_content(row);
}

void Driver::change_key() {
    const u32 number = pick_outside();
    if (number == no_row) return;
    Row &row = model_.rows[number];
    row.place.key = random_.below(run_.kind->keys);
    set_key(row);
    expect_error(0);
    expect_content(row);
}

// Replaces the object of a record outside, in one of two ways.
void Driver::replace_object() {
    const u32 number = pick_outside();
    if (number == no_row) return;
    Row &row = model_.rows[number];
    void *object = s.object.type->create(handle_, tx_);
    row.store_object = handle_->store_types_enabled != 0;
    if (random_.coin()) {
        s.object.free_and_set(handle_, tx_, row.record, object);
    } else {
        void *old = s.object.detach(handle_, tx_, row.record);
        same(row.record->object, nullptr, "a detached object");
        s.object.set(handle_, tx_, row.record, object);
        s.object.type->destroy(handle_, tx_, old);
    }
    same(s.object.get(handle_, tx_, row.record), object, "the record's object");
    // An object that is in a record cannot be attached to another one.
    s.object.set(handle_, tx_, row.record, object);
    if (take_cr_error() == 0) fail("an embedded object is accepted");
    fill(row);
}

// Writes a record into the buffer; returns the length.
u32 Driver::to_wire(const Row &row) {
    const u32 length = form().len(handle_, tx_, row.record);
    wire_.assign(length + 1, 0xa5);
    u32 written = 0;
    if (random_.one_in(3)) {
        same(s.cr.len(handle_, row.record), length, "the length");
        written = s.cr.marshal(handle_, row.record, wire_.data(), length);
    } else {
        written = form().marshal(handle_, tx_, wire_.data(), row.record, length, &err_);
    }
    expect_error(0);
    same(written, length, "the bytes written");
    return length;
}

// A new record that is read from the wire form of `from`.
Row Driver::read_row(const Row &from) {
    Row row;
    row.place = {tenant_, from.place.key, KEL_SOURCE_DEFAULT};
    row.store_type = handle_->store_types_enabled != 0;
    row.store_object = row.store_type;
    row.value = from.value;
    row.text = from.text;
    return row;
}

void Driver::copy_by_wire() {
    const u32 number = pick_any();
    if (number == no_row || model_.alive >= most_records) return;
    const u32 length = to_wire(model_.rows[number]);
    Row row = read_row(model_.rows[number]);
    const u32 read = form().unmarshal(handle_, tx_, &row.record, wire_.data(), length, 0, &err_);
    expect_error(0);
    same(read, length, "the bytes read");
    if (failed_) return;
    model_.add(row);
    expect_row(row);
    expect_content(row);
}

// Reads another record's wire form into a record outside, or its own into one inside.
void Driver::read_over() {
    const u32 from = pick_any();
    if (from == no_row) return;
    const u32 other = pick_outside();
    const u32 to = other == no_row || random_.one_in(3) ? from : other;
    Row &row = model_.rows[to];
    const u32 length = to_wire(model_.rows[from]);
    // Reading an enumeration stores its descriptor without logging, so a rollback would not
    // restore another handle's.
    if (tx_ != KEL_TX_NONE) choose_handle_of(row.store_object);
    row.store_object = handle_->store_types_enabled != 0;
    same(form().unmarshal(handle_, tx_, &row.record, wire_.data(), length, 1, &err_), length,
         "the bytes read");
    expect_error(0);
    row.place.key = model_.rows[from].place.key;
    row.value = model_.rows[from].value;
    row.text = model_.rows[from].text;
    expect_row(row);
    expect_content(row);
}

// A key read from the wire finds its record.
void Driver::send_key() {
    const u32 number = pick_any();
    if (number == no_row) return;
    const Row &row = model_.rows[number];
    const u32 table = any_table();
    const u32 length = form().pkey_len(handle_, tx_, row.record);
    wire_.assign(length + 1, 0xa5);
    same(form().pkey_marshal(handle_, tx_, wire_.data(), row.record, length, &err_), length,
         "the bytes of the key");
    void *key = nullptr;
    same(form().pkey_unmarshal(handle_, tx_, &key, wire_.data(), length, &err_), length,
         "the bytes of the key read");
    expect_error(0);
    if (failed_) return;
    const Place place{tenant_, row.place.key, row.place.src};
    kel_record *found = form().search_object_w_src(handle_, tx_, model_.tables[table].block, key, 0,
                                                   place.src, &err_);
    expect_found(found, model_.search(table, place, false, true, false));
    form().pkey_destroy(handle_, tx_, key);
}

// The record block.
void Driver::expect_row(const Row &row) {
    const kel_record *record = row.record;
    same(record->ref_count, row.refs, "the references");
    same(u32{record->flags}, u32{row.flags()}, "the flags");
    same(u32{record->src}, u32{row.place.src}, "the source");
    same(record->tenant_id, row.place.tenant, "the tenant");
    same(record->table, row.linked ? model_.tables[row.table].block : nullptr, "the table");
    same(record->descriptor == s.entry.record_descriptor, !row.store_type,
         "the library's descriptor");
}

// Its objects.
void Driver::expect_content(const Row &row) {
    kel_record *record = row.record;
    void *holder = s.has_key_object() ? record->key_object : record->object;
    same(s.get_key(handle_, holder), row.place.key, "the key");
    same(s.get_value(handle_, record->object), row.value, "the value");
    same(run_.kind->get_text(handle_, record->object), text_number(row.text), "the text");
}

}  // namespace tarn::test
