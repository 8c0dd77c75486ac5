// SPDX-License-Identifier: Apache-2.0
// Destruction that fails, objects in mappings, state blocks of nested objects.
#include <algorithm>
#include <cerrno>
#include <map>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class LifecycleFailure : public ObjectTest {
 protected:
    // From now on every string holds these references.
    void hold_references(const std::vector<u64> &held) {
        services.always_return("kel_vstring_get_oid_count", held.size());
        services.replace(kel_vstring_get_object_references,
                         [this, held](auto, auto, auto, u64 *references, u32 count, u32 *error) {
                             *error = references_error;
                             std::copy_n(held.begin(), count, references);
                         });
        services.replace(kellib_lookup_and_update_oid_ref_count,
                         [this](auto, auto, u64 oid, auto, u32 *error) {
                             if (oid == lost_reference) *error = ENOENT;
                         });
    }
    u32 references_error = 0;  // when they are fetched
    u64 lost_reference = 0;    // the OID whose count can't be found
};
class NestedState : public TrackedTest {};
using FatalLifecycle = ObjectTest;

TEST_F(LifecycleFailure, CountingIgnoresADomainThatFails) {
    fail_domain(EINVAL);
    EXPECT_NE(st_point_create(handle, tx), nullptr);
}

TEST_F(LifecycleFailure, AnObjectThatCannotBeInitialisedIsFreedAndTraced) {
    // The fields' own look-ups fail after the counting, which clears the first failure.
    TraceCapture trace;
    HookRecorder hooks(handle);
    fail_domain(EINVAL);
    EXPECT_EQ(st_tag_create(handle, tx), nullptr);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): error in st_tag create: Invalid argument"));
    ASSERT_EQ(hooks.count(Hook::alloc), 1U);
    EXPECT_EQ(hooks.of(Hook::free).back().address, hooks.of(Hook::alloc)[0].address);
}

TEST_F(LifecycleFailure, AMappedObjectWithReferencesIsNotDestroyed) {
    st_ldap_conn *conn = make.conn("server", 1);
    head(conn)->flags |= OBJ_OID_MAPPED;
    const auto before = bytes_of(conn, conn_size);
    const kel_variant_usage counted = usage(&_st_ldap_conn_type_info_internal);
    services.always_return("kel_request_oid_mapping_destroy", 0);
    TraceCapture trace;
    HookRecorder hooks(handle);
    st_ldap_conn_destroy(handle, tx, conn);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(bytes_of(conn, conn_size), before);
    EXPECT_EQ(usage(&_st_ldap_conn_type_info_internal).destroyed, counted.destroyed);
    EXPECT_EQ(usage(&_st_ldap_conn_type_info_internal).live, counted.live);
    EXPECT_TRUE(trace.has(KEL_TRACE_INFO,
                          "(info): st_ldap_conn destroy: Object has references and will be cleaned "
                          "up when all of them are released"));
}

TEST_F(LifecycleFailure, AMappedObjectThatCannotBeUnmappedIsNotDestroyed) {
    st_ldap_conn *conn = make.conn("server", 1);
    head(conn)->flags |= OBJ_OID_MAPPED;
    services.replace(kel_request_oid_mapping_destroy, [](auto, auto, auto, u32 *error) {
        *error = EINVAL;
        return 1U;
    });
    TraceCapture trace;
    st_ldap_conn_destroy(handle, tx, conn);
    EXPECT_NE(head(conn)->descriptor, nullptr);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          "(ERR): st_ldap_conn destroy: Failed to remove oid mapping for object. "
                          "Error Invalid argument"));
}

TEST_F(LifecycleFailure, AMappedObjectWithoutReferencesIsDestroyed) {
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    st_ldap_conn *conn = make.conn("server", 1);
    u64 oid = 0;
    ASSERT_EQ(kel_object_map(handle, tx, conn, &oid), 0U);
    ASSERT_NE(head(conn)->flags & OBJ_OID_MAPPED, 0);
    TraceCapture trace;
    st_ldap_conn_destroy(handle, tx, conn);
    EXPECT_EQ(head(conn)->descriptor, nullptr);
    EXPECT_EQ(kel_object_find(handle, oid), nullptr);
    EXPECT_TRUE(trace.has(KEL_TRACE_DEBUG,
                          "(debug): st_ldap_conn destroy: Successfully removed OID mapping"));
}

TEST_F(LifecycleFailure, EachReferenceOfAFieldIsReleased) {
    st_ldap_conn *conn = make.conn("server", 1);
    hold_references({11, 12, 13});
    st_ldap_conn_destroy(handle, tx, conn);
    const auto drops = services.calls("kellib_lookup_and_update_oid_ref_count");
    ASSERT_EQ(drops.size(), 3U);
    for (u64 i = 0; i < 3; ++i) EXPECT_EQ(drops[i].arguments_in(2, 4), words(11 + i, 0));
    EXPECT_EQ(services.calls("kel_vstring_get_object_references").at(0).arguments.at(4), 3U);
    EXPECT_EQ(services.count("kel_vstring_destroy_internal"), 1U);
}

TEST_F(LifecycleFailure, AMissingReferenceIsTracedAndTheOthersAreReleased) {
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    st_ldap_conn *conn = make.conn("server", 1);
    hold_references({11, 12, 13});
    lost_reference = 12;
    TraceCapture trace;
    st_ldap_conn_destroy(handle, tx, conn);
    EXPECT_EQ(services.count("kellib_lookup_and_update_oid_ref_count"), 3U);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          "(ERR): st_ldap_conn destroy: Failed to decrement ref count of oid 0xc. "
                          "Error No such file or directory"));
    EXPECT_EQ(trace.lines.size(), 1U) << trace.all();
    EXPECT_EQ(head(conn)->descriptor, nullptr);
}

TEST_F(LifecycleFailure, ReferencesThatCannotBeReadLeaveTheObjectHalfDestroyed) {
    st_ldap_conn *conn = make.conn("server", 1);
    const kel_variant_usage counted = usage(&_st_ldap_conn_type_info_internal);
    hold_references({11});
    references_error = EINVAL;
    TraceCapture trace;
    st_ldap_conn_destroy(handle, tx, conn);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          "(ERR): st_ldap_conn destroy: Failed to get oid references from object. "
                          "Error Invalid argument"));
    EXPECT_NE(head(conn)->descriptor, nullptr);
    EXPECT_EQ(services.count("kel_vstring_destroy_internal"), 0U);
    EXPECT_EQ(usage(&_st_ldap_conn_type_info_internal).destroyed, counted.destroyed);
}

TEST_F(LifecycleFailure, AnHdMappingThatCannotBeRemovedKeepsTheMemory) {
    st_ldap_conn *conn = make.conn("server", 1);
    head(conn)->flags |= OBJ_RA_DATA;
    handle->hd_mapping_enabled = 1;
    services.replace(kel_hd_mapping_destroy,
                     [conn](kel_handle *own, u32 tx_id, void *object, u32 *error) {
                         if (object != conn)
                             return kel_hd_mapping_destroy(own, tx_id, object, error);
                         *error = EINVAL;
                     });
    TraceCapture trace;
    HookRecorder hooks(handle);
    st_ldap_conn_destroy(handle, tx, conn);
    EXPECT_NE(head(conn)->descriptor, nullptr);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_EQ(hooks.count(Hook::free), 0U);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          "(ERR): st_ldap_conn destroy: Failed to remove oid mapping for object. "
                          "Error Invalid argument"));
}

TEST_F(LifecycleFailure, OnlyMappedObjectsAreRemovedFromTheHdMapping) {
    handle->hd_mapping_enabled = 1;
    st_ldap_conn *plain = make.conn("server", 1);
    st_ldap_conn_destroy(handle, tx, plain);
    EXPECT_EQ(services.calls("kel_hd_mapping_destroy", plain).size(), 0U);

    st_ldap_conn *marked = make.conn("server", 1);
    kellib_update_ra_all(handle, tx, marked, 5, 6);
    st_ldap_conn_destroy(handle, tx, marked);
    EXPECT_EQ(services.calls("kel_hd_mapping_destroy", marked).size(), 1U);

    services.clear();
    handle->hd_mapping_enabled = 0;
    st_ldap_conn *unmapped = make.conn("server", 1);
    head(unmapped)->flags |= OBJ_RA_DATA;
    st_ldap_conn_destroy(handle, tx, unmapped);
    EXPECT_EQ(services.calls("kel_hd_mapping_destroy", unmapped).size(), 0U);
}

TEST_F(LifecycleFailure, ATypeWithFewerVariantsThanTheDomainIsTraced) {
    // The store's copy may have fewer variants than the library: here the count is reduced.
    kel_variant_info *info = _st_grown_type_info_internal.variant_info;
    const std::int8_t count = info->variant_count;
    kel_handle_set_variant(handle, &_st_grown_type_info_internal, 1);
    info->variant_count = 0;
    TraceCapture trace;
    st_grown *grown = st_grown_create(handle, tx);
    EXPECT_TRUE(trace.has(KEL_TRACE_INFO, "(info): variant 1 requested only 0 variants present"));
    trace.lines.clear();
    st_grown_destroy(handle, tx, grown);
    EXPECT_TRUE(trace.has(KEL_TRACE_INFO, "(info): variant 1 requested only 0 variants present"));
    info->variant_count = count;
}

TEST_F(LifecycleFailure, ATypeWithAsManyVariantsAsTheDomainIsNotTraced) {
    kel_variant_info *info = _st_grown_type_info_internal.variant_info;
    const std::int8_t count = info->variant_count;
    kel_handle_set_variant(handle, &_st_grown_type_info_internal, 1);
    info->variant_count = 1;
    TraceCapture trace;
    st_grown *grown = st_grown_create(handle, tx);
    st_grown_destroy(handle, tx, grown);
    EXPECT_TRUE(trace.lines.empty()) << trace.all();
    info->variant_count = count;
}

TEST_F(LifecycleFailure, AQuietInitializationReadsNoVariantInfo) {
    static kel_type_info forged = _st_point_type_info_internal;
    forged.variant_info = nullptr;
    std::vector<u8> memory(point_size);
    st_point *point = at<st_point>(memory.data(), 0);
    st_point_initialize(handle, tx, point, &forged, 0, 1, 0, nullptr, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(point)->descriptor, &forged);
}

// ---- State blocks of nested objects ----------------------------------------------------

TEST_F(NestedState, ANestedObjectWithoutABaseFailsWithItsHeaderWritten) {
    std::vector<u8> memory(tag_size + tag_states);
    st_tag *tag = at<st_tag>(memory.data(), 0);
    TraceCapture trace;
    st_tag_initialize(handle, tx, tag, &_st_tag_type_info_internal, 0, 0, OBJ_NESTED, nullptr,
                      &err);
    expect_error(EINVAL);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR,
                          "(ERR): sttr_base can not be NULL in NESTED case. Please check the "
                          "parent object and provide the correct state tracking base pointer"));
    EXPECT_STREQ(head(tag)->descriptor->name, "st_tag");
    EXPECT_EQ(head(tag)->flags, OBJ_NESTED | OBJ_STATE_TRACKED);
    EXPECT_EQ(head(at(tag, 16))->descriptor, nullptr);
}

TEST_F(NestedState, ANestedObjectWithoutAnOffsetInitialisesItsFieldsWithoutOffsets) {
    std::vector<u8> memory(tag_size + tag_states);
    st_tag *tag = at<st_tag>(memory.data(), 0);
    st_tag_initialize(handle, tx, tag, &_st_tag_type_info_internal, 0, 0, OBJ_NESTED,
                      memory.data() + tag_size, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(services.count("kellib_update_sttr_offset"), 0U);
    EXPECT_EQ(services.calls("kel_vstring_initialize").at(0).pointer<u8>(7),
              memory.data() + tag_size);
}

TEST_F(NestedState, AParentSetsTheOffsetsOfItsFields) {
    st_every *every = st_every_create(handle, tx);
    u8 *block = at(every, every_size);
    const auto share = [&](u32 offset) {
        return at(every, offset) + kellib_get_sttr_offset(handle, tx, at(every, offset));
    };
    EXPECT_EQ(share(96), block + 9 + 1);
    EXPECT_EQ(share(128), block + 11 + 1);
    EXPECT_EQ(share(160), block + 19 + 1);
    EXPECT_EQ(share(176), block + 20 + 0 + 1);
    EXPECT_EQ(share(224), block + 20 + 3 + 1);
    for (const u32 offset : sharing) {
        EXPECT_NE(head(at(every, offset))->flags & OBJ_STATE_ELSEWHERE, 0) << offset;
    }
    EXPECT_EQ(head(every)->flags & OBJ_STATE_ELSEWHERE, 0);
    EXPECT_EQ(services.calls("kel_vstring_offset_update", at(every, 96)).at(0).pointer<u8>(3),
              block + 10);
}

TEST_F(NestedState, OffsetUpdateMovesTheOffsetsAndOffsetRemoveClearsThem) {
    st_every *every = st_every_create(handle, tx);
    std::vector<u8> block(every_states);
    u8 *elsewhere = at(every, every_size) + 100;
    st_every_offset_update(handle, tx, every, elsewhere, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(at(every, 160) + kellib_get_sttr_offset(handle, tx, at(every, 160)), elsewhere + 20);
    EXPECT_EQ(at(every, 224) + kellib_get_sttr_offset(handle, tx, at(every, 224)), elsewhere + 24);
    services.clear();
    st_every_offset_remove(handle, tx, every, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(services.order({"kel_hd_mapping_destroy", "kel_vstring_offset_remove",
                              "ip_address_offset_remove"}),
              "kel_hd_mapping_destroy kel_vstring_offset_remove "
              "kel_hd_mapping_destroy ip_address_offset_remove "
              "kel_hd_mapping_destroy "
              "kel_hd_mapping_destroy kel_vstring_offset_remove kel_hd_mapping_destroy");
}

TEST_F(NestedState, CreationWorksWithARuntimeThatOnlyStoresTheOffsets) {
    std::map<const void *, u32> distances;
    services.replace(kellib_update_sttr_offset,
                     [&](auto, auto, void *object, u32 distance) { distances[object] = distance; });
    services.replace(kellib_get_sttr_offset,
                     [&](auto, auto, const void *object) { return distances[object]; });
    st_every *every = st_every_create(handle, tx);
    ASSERT_NE(every, nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    for (const u32 offset : sharing) {
        EXPECT_EQ(distances.count(at(every, offset)), 1U) << offset;
        EXPECT_EQ(head(at(every, offset))->flags & OBJ_STATE_ELSEWHERE, 0) << offset;
    }
    st_every_offset_update(handle, tx, every, at(every, every_size) + 100, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(at(every, 160) + distances[at(every, 160)], at(every, every_size) + 120);
    EXPECT_EQ(at(every, 224) + distances[at(every, 224)], at(every, every_size) + 124);
}

TEST_F(NestedState, WithoutMemoryForAnOffsetCreationFailsAndLeaksNothing) {
    st_every_destroy(handle, tx, st_every_create(handle, tx));
    const u64 blocks = session.blocks();
    for (u64 n = 1; n < 20; ++n) {
        kel_store_fail_allocation(session.store(), n);
        st_every *every = st_every_create(handle, tx);
        kel_store_fail_allocation(session.store(), 0);
        if (every != nullptr) {
            EXPECT_GT(n, 5U) << "the object and its places";
            return;
        }
        EXPECT_EQ(handle->last_error, n == 1 ? 0 : ENOMEM);
        EXPECT_EQ(session.blocks(), blocks) << "allocation " << n;
    }
    FAIL() << "it never succeeds";
}

TEST_F(NestedState, WithoutMemoryForAnOffsetOffsetUpdateFailsWithEnomem) {
    st_every *every = st_every_create(handle, tx);
    st_every_offset_remove(handle, tx, every, &err);
    kel_store_fail_allocation(session.store(), 1);
    st_every_offset_update(handle, tx, every, at(every, every_size), &err);
    kel_store_fail_allocation(session.store(), 0);
    expect_error(ENOMEM);
    EXPECT_EQ(services.calls("kellib_update_sttr_offset").back().pointer<u8>(2), at(every, 96));
}

TEST_F(NestedState, OffsetsOfAFlatStructureHaveNoEffect) {
    st_point *point = st_point_create(handle, tx);
    const auto before = bytes_of(point, point_size);
    services.clear();
    HookRecorder hooks(handle);
    st_point_offset_update(handle, tx, point, at(point, point_size), &err);
    st_point_offset_remove(handle, tx, point, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(bytes_of(point, point_size), before);
    EXPECT_EQ(services.count("kellib_update_sttr_offset"), 0U);
    EXPECT_EQ(services.count("kel_hd_mapping_destroy"), 0U);
}

TEST_F(NestedState, DestructionReadsTheOffsetOfABlockElsewhere) {
    st_every *every = st_every_create(handle, tx);
    services.clear();
    st_every_destroy(handle, tx, every);
    EXPECT_EQ(services.calls("kellib_get_sttr_offset", at(every, 160)).size(), 1U);
    EXPECT_EQ(services.calls("kellib_get_sttr_offset", every).size(), 0U);
}

// ---- Broken invariants -----------------------------------------------------------------

TEST_F(FatalLifecycle, ASecondDestructionEndsTheProcess) {
    ASSERT_EQ(kel_transaction_begin(handle, &tx), 0U);
    st_point *point = st_point_create(handle, tx);
    st_point_destroy(handle, tx, point);
    EXPECT_DEATH(st_point_destroy(handle, tx, point), "\\(FATAL\\): tinfo is null or corrupted");
}

TEST_F(FatalLifecycle, ADescriptorWithoutItsMagicWordEndsTheProcess) {
    static kel_type_info forged = _st_point_type_info_internal;
    forged.magic = 1;
    st_point *point = st_point_create(handle, tx);
    head(point)->descriptor = &forged;
    EXPECT_DEATH(st_point_destroy(handle, tx, point), "\\(FATAL\\): tinfo is null or corrupted");
}

TEST_F(FatalLifecycle, ADescriptorWithoutVariantInfoEndsTheProcess) {
    static kel_type_info forged = _st_point_type_info_internal;
    forged.variant_info = nullptr;
    st_point *point = st_point_create(handle, tx);
    EXPECT_DEATH(st_point_initialize(handle, tx, point, &forged, 0, 0, 0, nullptr, &err),
                 "\\(FATAL\\): varinfo is NULL");
    head(point)->descriptor = &forged;
    EXPECT_DEATH(st_point_destroy(handle, tx, point), "\\(FATAL\\): varinfo is NULL");
}

TEST_F(FatalLifecycle, AnUnknownTrackingModeEndsTheProcessAtTheFirstCreation) {
    track(KEL_STATE_TRACKING_ON);
    handle->state_tracking->state_tracking_mode = 5;
    EXPECT_DEATH(st_point_create(handle, tx), "\\(FATAL\\): Corrupted KEL Handle");
    EXPECT_DEATH(st_point_sizeof(handle), "\\(FATAL\\): Corrupted KEL Handle");
}

}  // namespace
}  // namespace tarn::test
