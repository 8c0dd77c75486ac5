// SPDX-License-Identifier: Apache-2.0
// Clones and copies, which are made through the wire form.
#include <cerrno>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Clones : public ObjectModeTest {
 protected:
    Clones() { kel_clear_last_error(handle); }
    std::vector<u8> workspace = std::vector<u8>(8192);
};
TARN_EACH_MODE(Clones);

TEST_P(Clones, ACloneHasTheValuesOfItsSourceAndIsIndependent) {
    for (u32 seed = 0; seed < 3; ++seed) {
        st_grown *source = make.grown(seed);
        st_grown *clone = nullptr;
        st_grown_clone(handle, tx, source, &clone, workspace.data(), 8000, &err);
        ASSERT_EQ(err, 0U);
        ASSERT_NE(clone, nullptr);
        EXPECT_NE(clone, source);
        st_grown_destroy(handle, tx, source);
        make.check(clone, seed);
        st_grown_destroy(handle, tx, clone);
    }
}

TEST_P(Clones, TheCrFormUsesTheHandlesWorkspaceAndReturnsTheClone) {
    st_every *source = make.every(5);
    st_every *clone = st_every_clone_cr(handle, source);
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    make.check(clone, 5);
}

TEST_P(Clones, ACloneHasTheStateFlagsOfItsSource) {
    st_ldap_conn *source = make.conn("server", 1);
    if (tracking()) st_ldap_conn_sname_state_flag_set(handle, tx, source, 9, &err);
    st_ldap_conn *clone = st_ldap_conn_clone_cr(handle, source);
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(head(clone)->flags, tracking() ? OBJ_STATE_TRACKED : 0);
    if (tracking()) {
        EXPECT_EQ(bytes_of(at(clone, conn_size), conn_states), (std::vector<u8>{9, 0, 2}));
    }
}

TEST_P(Clones, MarksAndMappingsAreNotCloned) {
    st_ldap_conn *source = make.conn("server", 1);
    st_ldap_conn_set_instance_embedded(handle, tx, source);
    u64 oid = 0;
    ASSERT_EQ(kel_object_map(handle, tx, source, &oid), 0U);
    st_ldap_conn *clone = st_ldap_conn_clone_cr(handle, source);
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(head(clone)->flags & (OBJ_EMBEDDED | OBJ_OID_MAPPED), 0);
}

TEST_P(Clones, ACloneKeepsItsVariantInAnyDomain) {
    st_grown *source = make.grown(2);
    kel_handle_set_variant(handle, &_st_grown_type_info_internal, 0);
    st_grown *clone = st_grown_clone_cr(handle, source);
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(head(clone)->variant, 1);
    make.check(clone, 2);
}

TEST_P(Clones, CloneStoresNullBeforeItChecksErrorAndArguments) {
    st_ldap_conn *source = make.conn("server", 1);
    st_ldap_conn *result = source;
    err = EEXIST;
    st_ldap_conn_clone(handle, tx, source, &result, workspace.data(), 8000, &err);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(err, EEXIST);
    err = 0;
    result = source;
    st_ldap_conn_clone(handle, tx, source, &result, nullptr, 8000, &err);
    expect_error(ENOENT);
    EXPECT_EQ(result, nullptr);
    st_ldap_conn_clone(handle, tx, source, nullptr, workspace.data(), 8000, &err);
    expect_error(ENOENT);
    st_ldap_conn_clone(handle, tx, nullptr, &result, workspace.data(), 8000, &err);
    expect_error(ENOENT);
}

TEST_P(Clones, AWorkspaceThatIsTooSmallFailsWithEmsgsize) {
    st_every *source = make.every(1);
    const u64 blocks = session.blocks();
    st_every *result = nullptr;
    st_every_clone(handle, tx, source, &result, workspace.data(), 45, &err);
    expect_error(EMSGSIZE);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_P(Clones, WithoutMemoryACloneFailsWithEnomem) {
    st_every *source = make.every(1);
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    st_every *result = nullptr;
    st_every_clone(handle, tx, source, &result, workspace.data(), 8000, &err);
    expect_error(ENOMEM);
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(st_every_clone_cr(handle, source), nullptr);
    EXPECT_EQ(handle->last_error, ENOMEM);
}

TEST_P(Clones, ACloneThatFailsHalfwayLeaksNothing) {
    // Odd seeds have texts outside their strings: the second allocation is a text's.
    st_every *source = make.every(1);
    st_every_destroy(handle, tx, st_every_clone_cr(handle, source));
    const u64 blocks = session.blocks();
    for (u64 n = 1; n < 20; ++n) {
        kel_store_fail_allocation(session.store(), n);
        st_every *result = nullptr;
        st_every_clone(handle, tx, source, &result, workspace.data(), 8000, &err);
        kel_store_fail_allocation(session.store(), 0);
        if (err == 0) {
            EXPECT_GT(n, 1U);
            make.check(result, 1);
            return;
        }
        expect_error(ENOMEM);
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(session.blocks(), blocks) << "allocation " << n;
    }
    FAIL() << "it never succeeds";
}

TEST_P(Clones, ACopyOverwritesItsDestination) {
    st_every *source = make.every(4);
    st_every *destination = make.every(7);
    st_every_copy_cr(handle, source, destination);
    EXPECT_EQ(handle->last_error, 0U);
    make.check(destination, 4);
    st_every_destroy(handle, tx, source);
    make.check(destination, 4);
}

TEST_P(Clones, ACopyThatFailsDestroysItsDestination) {
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    handle->cr_tx_id = tx;
    make.tx = tx;
    st_ldap_conn *source = make.conn("a name of more than twelve bytes", 1);
    st_ldap_conn *destination = make.conn("b", 2);
    kel_clear_last_error(handle);
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    st_ldap_conn_copy_cr(handle, source, destination);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(head(destination)->descriptor, nullptr);
    EXPECT_EQ(hooks.of(Hook::free).back().address, destination);
}

TEST_P(Clones, ACopyFromOrToNullFailsWithEnoent) {
    st_every *every = make.every(4);
    kel_clear_last_error(handle);
    st_every_copy_cr(handle, every, nullptr);
    EXPECT_EQ(handle->last_error, ENOENT);
    kel_clear_last_error(handle);
    st_every_copy_cr(handle, nullptr, every);
    EXPECT_EQ(handle->last_error, ENOENT);
    make.check(every, 4);
}

TEST_P(Clones, AHandleWithoutAWorkspaceClonesNothing) {
    st_every *source = make.every(4);
    ASSERT_EQ(kel_handle_set_workspace(handle, 0), 0U);
    kel_clear_last_error(handle);
    EXPECT_EQ(st_every_clone_cr(handle, source), nullptr);
    EXPECT_EQ(handle->last_error, ENOENT);
}

TEST_P(Clones, ACrCloneWithAnErrorSetDoesNothing) {
    st_every *source = make.every(4);
    st_every *destination = make.every(5);
    kel_store_err(handle, EEXIST);
    EXPECT_EQ(st_every_clone_cr(handle, source), nullptr);
    st_every_copy_cr(handle, source, destination);
    EXPECT_EQ(handle->last_error, EEXIST);
    make.check(destination, 5);
}

TEST_P(Clones, ACloneRegistersTheTraceModule) {
    st_every *source = make.every(4);
    services.clear();
    st_every_clone_cr(handle, source);
    EXPECT_EQ(services.count("ptrail_module_init_fn"), 1U);
    services.clear();
    st_every_copy_cr(handle, source, make.every(5));
    EXPECT_EQ(services.count("ptrail_module_init_fn"), 1U) << "that of make.every";
}

}  // namespace
}  // namespace tarn::test
