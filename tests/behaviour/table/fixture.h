/* SPDX-License-Identifier: Apache-2.0 */
// A store with one open table of any kind, and the steps that all tests of tables share.
#ifndef TARNBASE_TESTS_BEHAVIOUR_TABLE_FIXTURE_H
#define TARNBASE_TESTS_BEHAVIOUR_TABLE_FIXTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/behaviour/table/subject.h"
#include "tests/support/fixture.h"
#include "tests/support/hooks.h"
#include "tests/support/services.h"
#include "tests/support/trace.h"

namespace tarn::test {

// A table and a mode of the handle.
struct Case {
    const Subject *subject;
    Mode mode;
};

void PrintTo(const Case &parameter, std::ostream *out);
std::vector<Case> all_cases();    // every table in every mode
std::vector<Case> table_cases();  // every table, plain handle
std::string case_name(const ::testing::TestParamInfo<Case> &info);

class TableFixture {
 protected:
    TableFixture(const Subject &subject, Mode mode);
    ~TableFixture();

    // A record with its objects attached, not in the index.
    kel_record *make(u32 key, u32 src = KEL_SOURCE_DEFAULT, u32 value = 0);
    // The same, inserted.
    kel_record *put(u32 key, u32 src = KEL_SOURCE_DEFAULT, u32 value = 0);
    void insert(kel_record *record);
    void remove(kel_record *record);
    void destroy(kel_record *record);
    kel_record *find(u32 key, u32 src = KEL_SOURCE_DEFAULT);
    u32 key_of(kel_record *record);
    u32 begin();
    void rollback();
    void commit();
    // Sets the pending bit, as the runtime does.
    void set_pending(kel_record *record);
    void *key_holder(kel_record *record);
    // Copies each message header that is written from now on.
    void note_header(kel_message_header &header);
    // Blocks of the store, after it has allocated what it allocates only once.
    u64 settled_blocks();

    const Subject &s;
    Session session;
    kel_handle *const handle;
    ServiceRecorder services;
    u32 tx = KEL_TX_NONE;
    u32 err = 0;
    kel_table *table = nullptr;
};

class TableTest : public ::testing::TestWithParam<Case>, protected TableFixture {
 protected:
    TableTest() : TableFixture(*GetParam().subject, GetParam().mode) {}
};

// On tbl_ldap_conn, with a plain handle.
class LdapTest : public ::testing::Test, protected TableFixture {
 protected:
    LdapTest() : TableFixture(ldap_conn, Mode::plain) {}
};

#define TARN_EACH_TABLE_AND_MODE(suite)                                                     \
    INSTANTIATE_TEST_SUITE_P(Tables, suite, ::testing::ValuesIn(::tarn::test::all_cases()), \
                             ::tarn::test::case_name)
#define TARN_EACH_TABLE(suite)                                                                \
    INSTANTIATE_TEST_SUITE_P(Tables, suite, ::testing::ValuesIn(::tarn::test::table_cases()), \
                             ::tarn::test::case_name)

inline kel_object *header_of(void *object) { return static_cast<kel_object *>(object); }

// The counters of a table, a record or an object.
template <typename Counted>
kel_variant_usage &usage_of(Counted *counted) {
    return counted->descriptor->variant_info->variants[0];
}

// Runs `body` in its own process: a table's root is cached for the whole process, so a
// process can open tables by id in one store only.
void in_own_process(const std::function<void()> &body);

}  // namespace tarn::test

#endif
