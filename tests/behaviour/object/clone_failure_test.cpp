// SPDX-License-Identifier: Apache-2.0
// The objects of a clone or a copy if a step of it fails.
#include <cerrno>
#include <cstring>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class CloneFailures : public ObjectModeTest {
 protected:
    CloneFailures() { kel_clear_last_error(handle); }
    std::vector<u8> workspace = std::vector<u8>(8192);
};
TARN_EACH_MODE(CloneFailures);
using PlainCloneFailures = ObjectTest;

TEST_P(CloneFailures, ANestedObjectNewerThanTheDomainFailsWithEidrm) {
    st_every *source = make.every(1);
    head(st_every_tag_get(handle, tx, source, &err))->variant = 1;
    const u64 blocks = session.blocks();
    st_every *result = nullptr;
    st_every_clone(handle, tx, source, &result, workspace.data(), 8000, &err);
    expect_error(EIDRM);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_P(CloneFailures, ACopyWhoseSourceCannotBeWrittenKeepsItsDestination) {
    st_every *source = make.every(1);
    st_every *destination = make.every(2);
    // With tracking on this ends before the state byte of s64.
    ASSERT_EQ(kel_handle_set_workspace(handle, tracking() ? 6 + 27 + 5 : 40), 0U);
    kel_clear_last_error(handle);
    st_every_copy_cr(handle, source, destination);
    EXPECT_EQ(handle->last_error, EMSGSIZE);
    make.check(destination, 2);
}

TEST_P(CloneFailures, AnEmptyWorkspaceFailsWithEnomem) {
    st_every *result = nullptr;
    st_every_clone(handle, tx, make.every(1), &result, workspace.data(), 0, &err);
    expect_error(ENOMEM);
    EXPECT_EQ(result, nullptr);
}

TEST_P(CloneFailures, TheWrittenBytesAreReadAndNotInPlace) {
    st_ldap_conn *source = make.conn("server", 300);
    st_ldap_conn *destination = make.conn("other", 1);
    kel_clear_last_error(handle);
    services.clear();
    st_ldap_conn_copy_cr(handle, source, destination);
    EXPECT_EQ(handle->last_error, 0U);
    const auto reads = services.calls("u_int32_unmarshal", at(destination, 48));
    ASSERT_EQ(reads.size(), 1U);
    EXPECT_EQ(reads[0].arguments_in(4, 6), words(tracking() ? 5U : 4U, 0));
}

TEST_P(CloneFailures, ACopyCreatesNoObject) {
    st_ldap_conn *source = make.conn("server", 300);
    st_ldap_conn *destination = make.conn("other", 1);
    kel_clear_last_error(handle);
    HookRecorder hooks(handle);
    st_ldap_conn_copy_cr(handle, source, destination);
    EXPECT_EQ(hooks.count(Hook::alloc), 0U);
    EXPECT_EQ(text_of(st_ldap_conn_sname_get(handle, tx, destination, &err)), "server");
}

TEST_P(CloneFailures, TheDestinationKeepsItsMarksAndMappings) {
    st_ldap_conn *destination = make.conn("other", 1);
    st_ldap_conn_set_instance_embedded(handle, tx, destination);
    u64 oid = 0;
    ASSERT_EQ(kel_object_map(handle, tx, destination, &oid), 0U);
    kel_clear_last_error(handle);
    st_ldap_conn_copy_cr(handle, make.conn("server", 300), destination);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(head(destination)->flags & (OBJ_EMBEDDED | OBJ_OID_MAPPED),
              OBJ_EMBEDDED | OBJ_OID_MAPPED);
}

TEST_F(PlainCloneFailures, AFailedCopyKeepsTheFallbackObject) {
    kel_clear_last_error(handle);
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    st_ldap_conn *fallback = st_ldap_conn_create_cr(handle);
    ASSERT_NE(fallback, nullptr);
    hooks.fail_allocations(false);
    st_ldap_conn *source = make.conn("a name of more than twelve bytes", 1);
    std::vector<u8> before = bytes_of(fallback, conn_size);
    kel_clear_last_error(handle);
    hooks.fail_allocations(true);
    hooks.clear();
    st_ldap_conn_copy_cr(handle, source, fallback);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
    EXPECT_EQ(hooks.count(Hook::delta_log), 0U);
    EXPECT_EQ(head(fallback)->descriptor, &_st_ldap_conn_type_info_internal);
    // The fallback object is shared by the process, and zero while unused.
    std::memcpy(fallback, before.data(), before.size());
}

}  // namespace
}  // namespace tarn::test
