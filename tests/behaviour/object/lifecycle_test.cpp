// SPDX-License-Identifier: Apache-2.0
// Making, marking and destroying objects.
#include <cerrno>
#include <cstring>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Lifecycle : public ObjectModeTest {};
TARN_EACH_MODE(Lifecycle);

TEST_P(Lifecycle, ANewObjectHasItsTypesHeaderAndIsZeroOtherwise) {
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    ASSERT_NE(conn, nullptr);
    const kel_object *header = head(conn);
    EXPECT_STREQ(header->descriptor->name, "st_ldap_conn");
    EXPECT_EQ(header->descriptor == &_st_ldap_conn_type_info_internal,
              GetParam() != Mode::store_types);
    EXPECT_EQ(header->variant, 0);
    EXPECT_EQ(header->created_variant, 0);
    EXPECT_EQ(header->flags, tracking() ? OBJ_STATE_TRACKED : 0);
    EXPECT_EQ(text_of(st_ldap_conn_sname_get(handle, tx, conn, &err)), "");
    EXPECT_EQ(st_ldap_conn_num_conns_get_value(handle, tx, conn, &err), 0U);
    EXPECT_EQ(err, 0U);
}

TEST_P(Lifecycle, ANewObjectHasTheNewestVariantAsVariantAndCreatedVariant) {
    st_grown *grown = st_grown_create(handle, tx);
    EXPECT_EQ(head(grown)->variant, 1);
    EXPECT_EQ(head(grown)->created_variant, 1);
}

TEST_P(Lifecycle, TheSizeOfATypeIsThatOfItsFieldsAndItsStateBlock) {
    const u32 tracked = tracking() ? 1 : 0;
    EXPECT_EQ(st_ldap_conn_sizeof(handle), conn_size + tracked * conn_states);
    EXPECT_EQ(st_point_sizeof(handle), point_size + tracked * point_states);
    EXPECT_EQ(st_tag_sizeof(handle), tag_size + tracked * tag_states);
    EXPECT_EQ(st_every_sizeof(handle), every_size + tracked * every_states);
    EXPECT_EQ(st_grown_sizeof(handle), grown_size + tracked * grown_states);
    EXPECT_EQ(lamp_state_sizeof(handle), 16U);
}

TEST_P(Lifecycle, CreationAllocatesTheSizeOnceInItsTransaction) {
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    HookRecorder hooks(handle);
    void *every = st_every_create(handle, tx);
    const auto allocations = hooks.of(Hook::alloc);
    ASSERT_EQ(allocations.size(), 1U);
    EXPECT_EQ(allocations[0].address, every);
    EXPECT_EQ(allocations[0].length, st_every_sizeof(handle));
    EXPECT_EQ(allocations[0].tx_id, tx);
}

TEST_P(Lifecycle, CreationAnnouncesTheHeaderStoresInOrder) {
    HookRecorder hooks(handle);
    st_point *point = st_point_create(handle, tx);
    std::vector<std::pair<void *, u64>> stores;
    for (const HookEvent &event : hooks.writes_in(point, point_size)) {
        stores.emplace_back(event.address, event.length);
        EXPECT_EQ(event.before, std::vector<u8>(event.length, 0)) << "announced after the store";
        if (event.address == &head(point)->flags) break;
    }
    kel_object *header = head(point);
    const std::vector<std::pair<void *, u64>> expected = {{&header->created_variant, 1},
                                                          {&header->variant, 1},
                                                          {&header->descriptor, 8},
                                                          {&header->flags, 1}};
    EXPECT_EQ(stores, expected);
}

TEST_P(Lifecycle, EmbeddedFieldsAreInitialisedInOrderWithTheParentsFlags) {
    st_every *every = st_every_create(handle, tx);
    EXPECT_EQ(services.order(
                  {"kel_boolean_initialize", "kel_vstring_initialize", "ip_address_initialize"}),
              "kel_boolean_initialize kel_vstring_initialize ip_address_initialize "
              "kel_vstring_initialize");
    const u8 *base = tracking() ? at(every, every_size) : nullptr;
    const auto label = services.calls("kel_vstring_initialize", at(every, 96));
    ASSERT_EQ(label.size(), 1U);
    EXPECT_EQ(label[0].arguments_in(3, 8),
              words(&_kel_vstring_type_info_internal, 1, 0, OBJ_NESTED, base));
    EXPECT_EQ(services.calls("ip_address_initialize")[0].pointer<void>(3),
              &_ip_address_type_info_internal);
    EXPECT_EQ(services.calls("kel_boolean_initialize")[0].pointer<void>(3),
              &_kel_boolean_type_info_internal);
    for (const u32 offset : embedded) {
        EXPECT_NE(head(at(every, offset))->flags & OBJ_NESTED, 0) << offset;
        EXPECT_NE(head(at(every, offset))->descriptor, nullptr) << offset;
    }
}

TEST_P(Lifecycle, AQuietUnloggedInitializationAnnouncesAndCountsNothing) {
    std::vector<u8> memory(st_ldap_conn_sizeof(handle));
    const kel_variant_usage before = usage(&_st_ldap_conn_type_info_internal);
    HookRecorder hooks(handle);
    st_ldap_conn *conn = at<st_ldap_conn>(memory.data(), 0);
    st_ldap_conn_initialize(handle, tx, conn, &_st_ldap_conn_type_info_internal, 0, 1, 0, nullptr,
                            &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(hooks.count(Hook::write_log), 0U);
    EXPECT_EQ(hooks.count(Hook::delta_log), 0U);
    EXPECT_EQ(usage(&_st_ldap_conn_type_info_internal).created, before.created);
    EXPECT_STREQ(head(conn)->descriptor->name, "st_ldap_conn");
    EXPECT_EQ(services.count("kellib_update_sttr_offset"), 0U);
}

TEST_P(Lifecycle, InitializationWithAnErrorSetDoesNothing) {
    std::vector<u8> memory(st_ldap_conn_sizeof(handle));
    err = EINVAL;
    st_ldap_conn_initialize(handle, tx, at<st_ldap_conn>(memory.data(), 0),
                            &_st_ldap_conn_type_info_internal, 1, 0, 0, nullptr, &err);
    EXPECT_EQ(memory, std::vector<u8>(memory.size()));
    EXPECT_EQ(err, EINVAL);
}

TEST_P(Lifecycle, CreationCountsAndAnnouncesCreatedAndLive) {
    const kel_type_info *descriptor = head(st_point_create(handle, tx))->descriptor;
    const kel_variant_usage before = usage(descriptor);
    HookRecorder hooks(handle);
    st_point_create(handle, tx);
    const kel_variant_usage after = usage(descriptor);
    EXPECT_EQ(after.created, before.created + 1);
    EXPECT_EQ(after.live, before.live + 1);
    EXPECT_EQ(after.destroyed, before.destroyed);
    const auto deltas = hooks.of(Hook::delta_log);
    ASSERT_EQ(deltas.size(), 2U);
    EXPECT_EQ(deltas[0].address, &descriptor->variant_info->variants[0].created);
    EXPECT_EQ(deltas[0].delta, 1);
    EXPECT_EQ(deltas[0].counter_before, before.created);
    EXPECT_EQ(deltas[1].address, &descriptor->variant_info->variants[0].live);
    EXPECT_EQ(deltas[1].delta, 1);
    EXPECT_EQ(deltas[1].counter_before, before.live);
}

TEST_P(Lifecycle, ANewerVariantIsCountedInItsOwnRecord) {
    const kel_type_info *descriptor = head(st_grown_create(handle, tx))->descriptor;
    const kel_variant_usage older = usage(descriptor, 0);
    const kel_variant_usage newer = usage(descriptor, 1);
    st_grown *grown = st_grown_create(handle, tx);
    EXPECT_EQ(usage(descriptor, 1).created, newer.created + 1);
    EXPECT_EQ(usage(descriptor, 1).live, newer.live + 1);
    EXPECT_EQ(usage(descriptor, 0).created, older.created);
    st_grown_destroy(handle, tx, grown);
    EXPECT_EQ(usage(descriptor, 1).destroyed, newer.destroyed + 1);
    EXPECT_EQ(usage(descriptor, 1).live, newer.live);
    EXPECT_EQ(usage(descriptor, 0).destroyed, older.destroyed);
}

TEST_P(Lifecycle, DestructionCountsFreesTheMemoryAndClearsTheDescriptor) {
    st_ldap_conn *conn = make.conn("a name of more than twelve bytes", 5);
    const kel_type_info *descriptor = head(conn)->descriptor;
    const kel_variant_usage before = usage(descriptor);
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    HookRecorder hooks(handle);
    st_ldap_conn_destroy(handle, tx, conn);
    EXPECT_EQ(usage(descriptor).destroyed, before.destroyed + 1);
    EXPECT_EQ(usage(descriptor).live, before.live - 1);
    EXPECT_EQ(head(conn)->descriptor, nullptr);
    ASSERT_TRUE(hooks.announced(&head(conn)->descriptor, sizeof(void *)));
    EXPECT_EQ(hooks.events.back().hook, Hook::free);
    EXPECT_EQ(hooks.events.back().address, conn);
    EXPECT_EQ(hooks.events.back().tx_id, tx);
    const auto deltas = hooks.of(Hook::delta_log);
    ASSERT_GE(deltas.size(), 2U);
    EXPECT_EQ(deltas[deltas.size() - 2].address, &descriptor->variant_info->variants[0].destroyed);
    EXPECT_EQ(deltas[deltas.size() - 2].delta, 1);
    EXPECT_EQ(deltas.back().address, &descriptor->variant_info->variants[0].live);
    EXPECT_EQ(deltas.back().delta, -1);
}

TEST_P(Lifecycle, DestructionLeaksNoBlock) {
    const auto round = [&] {
        for (u32 seed = 0; seed < 4; ++seed) {
            st_every_destroy(handle, tx, make.every(seed));
            st_grown_destroy(handle, tx, make.grown(seed));
        }
    };
    round();
    const u64 blocks = session.blocks();
    for (int i = 0; i < 5; ++i) round();
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_P(Lifecycle, FieldsAreDestroyedInOrderAndKeepTheirMemory) {
    st_every *every = make.every(3);
    services.clear();
    st_every_destroy(handle, tx, every);
    EXPECT_EQ(services.order({"kel_vstring_get_oid_count", "kel_vstring_destroy_internal",
                              "ip_address_destroy_internal"}),
              "kel_vstring_get_oid_count kel_vstring_destroy_internal ip_address_destroy_internal "
              "kel_vstring_get_oid_count kel_vstring_destroy_internal");
    for (const ServiceCall &call : services.calls("kel_vstring_destroy_internal")) {
        EXPECT_EQ(call.arguments.at(3), 0U);
    }
}

TEST_P(Lifecycle, AnInnerDestructionCountsAndKeepsMemoryAndDescriptor) {
    st_tag *tag = make.tag(3);
    const kel_variant_usage before = usage(head(tag)->descriptor);
    HookRecorder hooks(handle);
    st_tag_destroy_internal(handle, tx, tag, 0);
    EXPECT_NE(head(tag)->descriptor, nullptr);
    EXPECT_EQ(usage(head(tag)->descriptor).destroyed, before.destroyed + 1);
    for (const HookEvent &event : hooks.of(Hook::free)) EXPECT_NE(event.address, tag);
}

TEST_P(Lifecycle, DestroyingNullOrTheFallbackObjectChangesNoCounter) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_clear_last_error(handle);
    st_ldap_conn *fallback = st_ldap_conn_create_cr(handle);
    ASSERT_NE(fallback, nullptr);
    kel_clear_last_error(handle);
    const kel_variant_usage before = usage(&_st_ldap_conn_type_info_internal);
    hooks.clear();
    st_ldap_conn_destroy(handle, tx, nullptr);
    st_ldap_conn_destroy(handle, tx, fallback);
    st_ldap_conn_destroy_internal(handle, tx, fallback, 1);
    st_ldap_conn_destroy_cr(handle, fallback);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(usage(&_st_ldap_conn_type_info_internal).destroyed, before.destroyed);
    EXPECT_EQ(usage(&_st_ldap_conn_type_info_internal).live, before.live);
}

TEST_P(Lifecycle, WithoutMemoryCreateReturnsNullAndKeepsTheLastError) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    EXPECT_EQ(st_ldap_conn_create(handle, tx), nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    kel_store_err(handle, EEXIST);
    EXPECT_EQ(st_ldap_conn_create(handle, tx), nullptr);
    EXPECT_EQ(handle->last_error, EEXIST);
}

TEST_P(Lifecycle, WithoutMemoryTheCrFormReturnsTheZeroedFallbackObjectAndStoresEnomem) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_clear_last_error(handle);
    st_ldap_conn *first = st_ldap_conn_create_cr(handle);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    EXPECT_EQ(bytes_of(first, conn_size), std::vector<u8>(conn_size));
    st_every *other = st_every_create_cr(handle);
    EXPECT_NE(static_cast<void *>(other), first);
    EXPECT_EQ(st_ldap_conn_create_cr(handle), first);
}

TEST_P(Lifecycle, WithoutMemoryTheCrFormKeepsTheErrorOfTheAllocator) {
    const FailingAllocator allocator(handle, ENOSPC);
    kel_clear_last_error(handle);
    EXPECT_NE(st_ldap_conn_create_cr(handle), nullptr);
    EXPECT_EQ(handle->last_error, ENOSPC);
}

TEST_P(Lifecycle, TheCrFormWithAnErrorSetReturnsTheFallbackObjectWithoutAllocating) {
    HookRecorder hooks(handle);
    kel_store_err(handle, EEXIST);
    st_ldap_conn *conn = st_ldap_conn_create_cr(handle);
    ASSERT_NE(conn, nullptr);
    EXPECT_EQ(hooks.count(Hook::alloc), 0U);
    EXPECT_EQ(handle->last_error, EEXIST);
    EXPECT_EQ(bytes_of(conn, conn_size), std::vector<u8>(conn_size));
}

TEST_P(Lifecycle, TheCrFormsUseTheHandlesTransaction) {
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    handle->cr_tx_id = tx;
    HookRecorder hooks(handle);
    st_ldap_conn *conn = st_ldap_conn_create_cr(handle);
    ASSERT_NE(conn, nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    st_ldap_conn_destroy_cr(handle, conn);
    EXPECT_EQ(head(conn)->descriptor, nullptr);
    for (const HookEvent &event : hooks.events) {
        if (event.hook == Hook::alloc || event.hook == Hook::free ||
            event.hook == Hook::write_log) {
            EXPECT_EQ(event.tx_id, tx);
        }
    }
}

TEST_P(Lifecycle, OnlyTheUserFormsOfCreateRegisterTheTraceModule) {
    st_ldap_conn_create_internal(handle, tx);
    lamp_state_create(handle, tx);
    EXPECT_EQ(services.count("ptrail_module_init_fn"), 0U);
    st_ldap_conn_create(handle, tx);
    EXPECT_EQ(services.count("ptrail_module_init_fn"), 1U);
    st_ldap_conn_create_cr(handle);
    EXPECT_EQ(services.count("ptrail_module_init_fn"), 2U);
}

TEST_P(Lifecycle, MarkingAnObjectAsEmbeddedMarksItsFieldsFirst) {
    st_every *every = make.every(1);
    HookRecorder hooks(handle);
    st_every_set_instance_embedded(handle, tx, every);
    for (const u32 offset : {0U, 48U, 64U, 80U, 96U, 128U, 160U, 176U, 208U, 224U}) {
        EXPECT_NE(head(at(every, offset))->flags & OBJ_EMBEDDED, 0) << offset;
        EXPECT_TRUE(hooks.announced(&head(at(every, offset))->flags, 1)) << offset;
    }
    EXPECT_EQ(hooks.of(Hook::write_log).back().address, &head(every)->flags);
    EXPECT_EQ(hooks.of(Hook::write_log).back().before[0] & OBJ_EMBEDDED, 0);
}

TEST_P(Lifecycle, MarkingNullAsEmbeddedIsTraced) {
    TraceCapture trace;
    st_every_set_instance_embedded(handle, tx, nullptr);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): Invalid object pointer passed in to set instance flag"));
}

TEST_P(Lifecycle, NoObjectHoldsReferences) {
    st_every *every = make.every(1);
    EXPECT_EQ(st_every_get_oid_count(handle, tx, every, &err), 0U);
    u64 references[2] = {7, 7};
    st_every_get_object_references(handle, tx, every, references, 2, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(references[0], 7U);
    EXPECT_EQ(references[1], 7U);
}

TEST_P(Lifecycle, ReferencesOfNullFailWithEinval) {
    TraceCapture trace;
    EXPECT_EQ(st_every_get_oid_count(handle, tx, nullptr, &err), 0U);
    expect_error(EINVAL);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): Invalid object passed in to get object oid count"));
    st_every_get_object_references(handle, tx, nullptr, nullptr, 0, &err);
    expect_error(EINVAL);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): Cannot get table references. Invalid object passed on"));
}

TEST_P(Lifecycle, ReadingReferencesWithAnErrorSetIsTraced) {
    TraceCapture trace;
    st_every *every = make.every(1);
    err = ENOMEM;
    EXPECT_EQ(st_every_get_oid_count(handle, tx, every, &err), 0U);
    st_every_get_object_references(handle, tx, every, nullptr, 0, &err);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_ERROR, "(ERR): Error already present in call to get object oid count"));
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          "(ERR): Error present in call to get table references from object"));
}

TEST_P(Lifecycle, ACopyOutHasItsOwnTextsAddressesAndNestedObjects) {
    st_every *source = make.every(5);
    st_every *copy = st_every_create(handle, tx);
    std::memcpy(static_cast<void *>(copy), source, every_size);
    services.clear();
    st_every_post_copyout_cleanup(handle, tx, copy, source, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(services.calls("kel_vstring_set", at(copy, 96)).size(), 1U);
    EXPECT_EQ(services.calls("ip_address_set", at(copy, 128)).size(), 1U);
    EXPECT_EQ(services.calls("kel_vstring_set", at(copy, 176)).size(), 1U);
    EXPECT_EQ(services.count("kel_boolean_set"), 0U);
    st_every_destroy(handle, tx, source);
    make.check(copy, 5);
    st_every_destroy(handle, tx, copy);
}

}  // namespace
}  // namespace tarn::test
