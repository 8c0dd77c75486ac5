// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/table/fixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace tarn::test {

void PrintTo(const Case &parameter, std::ostream *out) {
    *out << parameter.subject->name << ", " << mode_name(parameter.mode);
}

std::vector<Case> all_cases() {
    std::vector<Case> cases;
    for (const Subject *subject : all_subjects) {
        for (const Mode mode : all_modes) cases.push_back({subject, mode});
    }
    return cases;
}

std::vector<Case> table_cases() {
    std::vector<Case> cases;
    for (const Subject *subject : all_subjects) cases.push_back({subject, Mode::plain});
    return cases;
}

std::string case_name(const ::testing::TestParamInfo<Case> &info) {
    return std::string(info.param.subject->name) + "_" + mode_name(info.param.mode);
}

TableFixture::TableFixture(const Subject &subject, Mode mode)
    : s(subject), session(mode), handle(session.handle()), services(handle) {
    table = s.plain.open(handle, KEL_TX_NONE, "t", 0, &err);
    if (table == nullptr) throw std::runtime_error("can't open the table");
}

TableFixture::~TableFixture() {
    kel_thread_set_tenant(0);
    kel_thread_set_correlation(0, 0);
}

kel_record *TableFixture::make(u32 key, u32 src, u32 value) {
    kel_record *record = s.create_record_w_src(handle, tx, src, &err);
    void *object = s.object.type->create(handle, tx);
    s.prepare(handle, tx, object, &err);
    s.set_value(handle, tx, object, value, &err);
    if (s.has_key_object()) {
        void *holder = s.key_object.type->create(handle, tx);
        s.set_key(handle, tx, holder, key, &err);
        s.key_object.set(handle, tx, record, holder);
    } else {
        s.set_key(handle, tx, object, key, &err);
    }
    s.object.set(handle, tx, record, object);
    EXPECT_EQ(err, 0U);
    return record;
}

kel_record *TableFixture::put(u32 key, u32 src, u32 value) {
    kel_record *record = make(key, src, value);
    insert(record);
    return record;
}

void TableFixture::insert(kel_record *record) {
    s.plain.insert(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
}

void TableFixture::remove(kel_record *record) {
    s.plain.remove(handle, tx, table, record, &err);
    EXPECT_EQ(err, 0U);
}

void TableFixture::destroy(kel_record *record) {
    s.plain.destroy_record(handle, tx, record, &err);
    EXPECT_EQ(err, 0U);
}

kel_record *TableFixture::find(u32 key, u32 src) {
    const Key wanted(s, handle, key);
    kel_record *record = s.index.search_w_src(handle, tx, table, wanted.value(), src, &err);
    EXPECT_EQ(err, 0U);
    return record;
}

void *TableFixture::key_holder(kel_record *record) {
    return s.has_key_object() ? record->key_object : record->object;
}

u64 TableFixture::settled_blocks() {
    for (const u16 tenant : {u16{1}, u16{2}, u16{0}}) {
        kel_thread_set_tenant(tenant);
        destroy(put(0));
    }
    services.clear();
    return session.blocks();
}

void TableFixture::note_header(kel_message_header &header) {
    services.at_each = [&header](const ServiceCall &call) {
        if (call.name != "_kel_message_header_marshal") return;
        header = *call.pointer<const kel_message_header>(3);
    };
}

u32 TableFixture::key_of(kel_record *record) { return s.get_key(handle, key_holder(record)); }

u32 TableFixture::begin() {
    EXPECT_EQ(kel_transaction_begin(handle, &tx), 0U);
    return tx;
}

void TableFixture::rollback() {
    EXPECT_EQ(kel_transaction_rollback(handle, tx), 0U) << kel_error_text();
    tx = KEL_TX_NONE;
}

void TableFixture::commit() {
    EXPECT_EQ(kel_transaction_commit(handle, tx), 0U) << kel_error_text();
    tx = KEL_TX_NONE;
}

void TableFixture::set_pending(kel_record *record) {
    keldb_request_record_destroy(handle, tx, record, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_NE(record->flags & KEL_RECORD_PENDING_DESTROY, 0);
}

void in_own_process(const std::function<void()> &body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        body();
        std::fflush(nullptr);
        std::exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "see the failures above";
}

}  // namespace tarn::test
