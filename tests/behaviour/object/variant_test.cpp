// SPDX-License-Identifier: Apache-2.0
// Variants of instances and domains, field numbers, modified marks.
#include <cerrno>

#include "tarnbase/runtime.h"
#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class Variants : public ObjectModeTest {
 protected:
    void domain(std::int8_t variant) {
        kel_handle_set_variant(handle, &_st_grown_type_info_internal, variant);
    }
    st_grown *grown_of(std::int8_t variant, u32 seed = 1) {
        domain(variant);
        return make.grown(seed);
    }
};
TARN_EACH_MODE(Variants);
class Backpropagation : public ObjectModeTest {};
TARN_EACH_MODE(Backpropagation);

TEST_P(Variants, AVariantIsCappedAtTheTypesTopAndMayBeNegative) {
    EXPECT_EQ(st_grown_variant_data_index_cap(2), 1);
    EXPECT_EQ(st_grown_variant_data_index_cap(1), 1);
    EXPECT_EQ(st_grown_variant_data_index_cap(0), 0);
    EXPECT_EQ(st_grown_variant_data_index_cap(-1), -1);
    EXPECT_EQ(st_ldap_conn_variant_data_index_cap(1), 0);
    EXPECT_EQ(st_ldap_conn_variant_data_index_cap(0), 0);
    EXPECT_EQ(st_ldap_conn_variant_data_index_cap(-128), -128);
}

TEST_P(Variants, ANewInstanceHasTheDomainsVariantCappedAtTheTypesTop) {
    EXPECT_EQ(head(grown_of(0))->variant, 0);
    EXPECT_EQ(head(grown_of(1))->variant, 1);
    EXPECT_EQ(head(grown_of(2))->variant, 1);
    kel_handle_set_variant(handle, &_st_point_type_info_internal, 3);
    EXPECT_EQ(head(st_point_create(handle, tx))->variant, 0);
}

TEST_P(Variants, AnEnumerationOfALaterVariantIsCountedInItsOnlyRecord) {
    kel_handle_set_variant(handle, &_lamp_state_type_info_internal, 3);
    lamp_state *lamp = lamp_state_create(handle, tx);
    const kel_type_info *descriptor = head(lamp)->descriptor;
    const kel_variant_usage before = usage(descriptor);
    lamp_state *second = lamp_state_create(handle, tx);
    EXPECT_EQ(head(second)->variant, 3);
    EXPECT_EQ(usage(descriptor).created, before.created + 1);
    lamp_state_destroy(handle, tx, second);
    EXPECT_EQ(usage(descriptor).destroyed, before.destroyed + 1);
}

TEST_P(Variants, AnInstanceOfANegativeVariantCanBeCreatedAndDestroyed) {
    kel_handle_set_variant(handle, &_st_point_type_info_internal, -1);
    const kel_variant_usage before = usage(&_st_point_type_info_internal);
    st_point *point = st_point_create(handle, tx);
    ASSERT_NE(point, nullptr);
    EXPECT_EQ(head(point)->variant, -1);
    EXPECT_EQ(head(point)->created_variant, -1);
    if (GetParam() != Mode::store_types) {
        EXPECT_EQ(usage(&_st_point_type_info_internal).live, before.live + 1);
    }
    EXPECT_EQ(st_point_x_get_value(handle, tx, point, &err), 0);
    expect_error(EIDRM);
    st_point_destroy(handle, tx, point);
    EXPECT_EQ(usage(&_st_point_type_info_internal).live, before.live);
}

TEST_P(Variants, FieldNumbersAreValidWithinTheType) {
    constexpr struct {
        std::int8_t domain;
        u32 number;
        u32 valid;
    } cases[] = {{0, 3, 1}, {0, 4, 0}, {0, 5, 0}, {0, 6, 0},           {1, 3, 1},  {1, 4, 1},
                 {1, 5, 1}, {1, 6, 0}, {2, 6, 1}, {2, 0xffffffffU, 1}, {-1, 3, 1}, {-1, 4, 0}};
    for (const auto &each : cases) {
        domain(each.domain);
        EXPECT_EQ(st_grown_is_valid_cr(handle, nullptr, each.number), each.valid)
            << "number " << each.number << " in a domain of " << int{each.domain};
    }
}

TEST_P(Variants, AFieldNumberBeyondATypeOfOneVariantIsValidInAHigherDomain) {
    EXPECT_EQ(st_ldap_conn_is_valid_cr(handle, nullptr, 1), 1U);
    EXPECT_EQ(st_ldap_conn_is_valid_cr(handle, nullptr, 2), 0U);
    kel_handle_set_variant(handle, &_st_ldap_conn_type_info_internal, 1);
    EXPECT_EQ(st_ldap_conn_is_valid_cr(handle, nullptr, 1), 1U);
    EXPECT_EQ(st_ldap_conn_is_valid_cr(handle, nullptr, 2), 1U);
}

TEST_P(Variants, AFieldOfALaterVariantCannotBeReadFromAnOlderInstance) {
    st_grown *grown = grown_of(0);
    domain(1);
    EXPECT_EQ(st_grown_extra_get(handle, tx, grown, &err), nullptr);
    expect_error(EIDRM);
    if (tracking()) {
        EXPECT_EQ(st_grown_extra_state_flag_get(handle, tx, grown, &err), 0);
        EXPECT_EQ(err, 0U);
    }
}

TEST_P(Variants, AWriteRaisesAnOlderInstanceIfTheDomainAllowsIt) {
    st_grown *grown = grown_of(0);
    st_tag *source = make.tag(9);
    const auto before = bytes_of(at(grown, 1608), tag_size);
    st_grown_extra_set(handle, tx, grown, source, &err);
    expect_error(EIDRM);
    EXPECT_EQ(head(grown)->variant, 0);
    EXPECT_EQ(bytes_of(at(grown, 1608), tag_size), before);
    domain(1);
    HookRecorder hooks(handle);
    st_grown_extra_set(handle, tx, grown, source, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(head(grown)->variant, 1);
    EXPECT_EQ(head(grown)->created_variant, 0);
    EXPECT_TRUE(hooks.announced(&head(grown)->variant, 1));
    make.check(st_grown_extra_get(handle, tx, grown, &err), 9);
}

TEST_P(Variants, EveryWriteAdjustsWithTheTypesTopVariantAndTheObjectsDescriptor) {
    st_grown *grown = grown_of(1);
    services.clear();
    st_grown_total_set_value(handle, tx, grown, 5, &err);
    st_grown_set_all(handle, tx, grown, 6, &err);
    st_grown_minute_set_value(handle, tx, grown, 0, 1, &err);
    EXPECT_EQ(st_grown_adjust_variant(handle, tx, grown, &err), 1);
    const auto calls = services.calls("kellib_adjust_variant", grown);
    ASSERT_EQ(calls.size(), 4U);
    for (const ServiceCall &call : calls) {
        EXPECT_EQ(call.arguments, words(handle, tx, grown, head(grown)->descriptor, 1, &err));
    }
    services.clear();
    EXPECT_EQ(st_grown_adjust_variant(handle, tx, nullptr, &err), 0);
    EXPECT_EQ(services.calls("kellib_adjust_variant").at(0).pointer<void>(3), nullptr);
    st_ldap_conn *conn = make.conn("a", 1);
    services.clear();
    st_ldap_conn_adjust_variant(handle, tx, conn, &err);
    EXPECT_EQ(services.calls("kellib_adjust_variant").at(0).arguments.at(4), 0U);
}

TEST_P(Variants, ANegativeVariantMakesEveryFieldAccessFailWithEidrm) {
    st_ldap_conn *conn = make.conn("server", 7);
    kel_handle_set_variant(handle, &_st_ldap_conn_type_info_internal, -1);
    head(conn)->variant = -1;
    const auto before = bytes_of(conn, conn_size);
    EXPECT_EQ(st_ldap_conn_sname_get(handle, tx, conn, &err), nullptr);
    expect_error(EIDRM);
    EXPECT_EQ(st_ldap_conn_num_conns_get_value(handle, tx, conn, &err), 0U);
    expect_error(EIDRM);
    st_ldap_conn_num_conns_set_value(handle, tx, conn, 8, &err);
    expect_error(EIDRM);
    st_ldap_conn_sname_set(handle, tx, conn, Text("other"), &err);
    expect_error(EIDRM);
    if (tracking()) {
        st_ldap_conn_sname_state_flag_set(handle, tx, conn, 1, &err);
        expect_error(EIDRM);
        EXPECT_EQ(*at(conn, conn_size), 2);
    }
    EXPECT_EQ(bytes_of(conn, conn_size), before);
}

TEST_P(Variants, WholeObjectReadsAndWritesStopSilentlyAtANegativeVariant) {
    st_ldap_conn *conn = make.conn("server", 7);
    kel_handle_set_variant(handle, &_st_ldap_conn_type_info_internal, -1);
    head(conn)->variant = -1;
    u32 value = 99;
    st_ldap_conn_get_all(handle, tx, conn, &value, &err);
    EXPECT_EQ(value, 99U);
    st_ldap_conn_set_all(handle, tx, conn, 5, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(*at<u32>(conn, 48), 7U);
}

TEST_P(Variants, CompareAndHashUseTheFieldsOfAllVariants) {
    st_grown *a = grown_of(1, 3);
    st_grown *b = grown_of(1, 3);
    head(a)->variant = 0;
    head(b)->variant = 0;
    EXPECT_EQ(st_grown_compare(a, b), 0);
    EXPECT_EQ(st_grown_hash(a, 5), st_grown_hash(b, 5));
    st_tag *extra = at<st_tag>(b, 1608);
    st_tag_lamp_set_value(handle, tx, extra, (5 + 1) % 3, &err);
    EXPECT_NE(st_grown_compare(a, b), 0);
    EXPECT_NE(st_grown_hash(a, 5), st_grown_hash(b, 5));
}

TEST_P(Variants, ReadersAndWritersGetTheVariantOfTheStructureByTheFieldsSize) {
    st_every *every = make.every(1);
    const auto variant_reads = [&](auto operation) {
        services.clear();
        operation();
        const auto calls = services.calls("kel_get_instance_variant", every);
        return calls.empty() ? words() : calls[0].arguments;
    };
    const auto large = words(every, 1, 0);
    const auto small = words(every, 1, 1);
    EXPECT_EQ(variant_reads([&] { st_every_a8_get(handle, tx, every, &err); }), large);
    EXPECT_EQ(variant_reads([&] { st_every_label_get(handle, tx, every, &err); }), large);
    EXPECT_EQ(variant_reads([&] { st_every_addr_get(handle, tx, every, &err); }), large);
    EXPECT_EQ(variant_reads([&] { st_every_tag_get(handle, tx, every, &err); }), large);
    EXPECT_EQ(variant_reads([&] { st_every_flag_get(handle, tx, every, &err); }), small);
    EXPECT_EQ(variant_reads([&] { st_every_lamp_get_value(handle, tx, every, &err); }), small);
    EXPECT_EQ(variant_reads([&] { st_every_door_set_value(handle, tx, every, 1, &err); }), small);
    EXPECT_EQ(variant_reads([&] { st_every_a64_set_value(handle, tx, every, 1, &err); }), large);
    EXPECT_EQ(variant_reads([&] { st_every_len(handle, tx, every); }), large);
}

TEST_P(Variants, TheVariantOfAnEnumerationIsReadAsThatOfASmallObject) {
    lamp_state *lamp = lamp_state_create(handle, tx);
    services.clear();
    lamp_state_set_value(handle, tx, lamp, 1, &err);
    const auto calls = services.calls("kel_get_instance_variant", lamp);
    ASSERT_FALSE(calls.empty());
    for (const ServiceCall &call : calls) EXPECT_EQ(call.arguments, words(lamp, 0, 1));
}

TEST_P(Variants, ANestedObjectHasItsOwnVariant) {
    kel_handle_set_variant(handle, &_st_point_type_info_internal, -1);
    st_tag *tag = st_tag_create(handle, tx);
    EXPECT_EQ(head(tag)->variant, 0);
    EXPECT_EQ(head(at(tag, 64))->variant, -1);
    st_point *point = st_tag_point_get(handle, tx, tag, &err);
    EXPECT_EQ(static_cast<void *>(point), at(tag, 64));
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(st_point_x_get_value(handle, tx, point, &err), 0);
    expect_error(EIDRM);
}

TEST_P(Variants, AModifiedMarkIsSetInTheObjectByTheFieldsSize) {
    st_every *every = make.every(1);
    services.clear();
    st_every_a16_set_value(handle, tx, every, 1, &err);
    st_every_flag_set_value(handle, tx, every, 1, &err);
    st_every_lamp_set_value(handle, tx, every, 1, &err);
    st_every_label_set(handle, tx, every, Text("x"), &err);
    const auto calls = services.calls("kel_set_instance_modified", every);
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_EQ(calls[0].arguments, words(every, 1, 0, 1));
    EXPECT_EQ(calls[1].arguments, words(every, 1, 1, 1));
    EXPECT_EQ(calls[2].arguments, words(every, 1, 1, 1));
    EXPECT_EQ(calls[3].arguments, words(every, 1, 0, 1));
}

// ---- Modified marks ------------------------------------------------------------------

TEST_P(Backpropagation, ANullObjectReturns0AndIsTraced) {
    TraceCapture trace;
    EXPECT_EQ(st_ldap_conn_type_type_backpropagate(handle, tx, nullptr, &err), 0U);
    EXPECT_EQ(err, 0U);
    EXPECT_TRUE(
        trace.has(KEL_TRACE_INFO, "(info): backpropagate: Null pointer to st_ldap_conn type"));
}

TEST_P(Backpropagation, AChangedFieldIsReportedOnceAndItsMarkCleared) {
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    EXPECT_EQ(st_ldap_conn_type_type_backpropagate(handle, tx, conn, &err), 0U);
    st_ldap_conn_num_conns_set_value(handle, tx, conn, 4, &err);
    EXPECT_EQ(st_ldap_conn_type_type_backpropagate(handle, tx, conn, &err), 1U);
    EXPECT_EQ(kel_get_instance_modified(conn, 1, 0), 0U);
    EXPECT_EQ(st_ldap_conn_type_type_backpropagate(handle, tx, conn, &err), 0U);
}

TEST_P(Backpropagation, TheFirstMarkedFieldEndsTheSearchAndLaterFieldsKeepTheirMarks) {
    st_grown *grown = st_grown_create(handle, tx);
    st_tag *share = st_grown_share_get(handle, tx, grown, &err);
    st_tag *extra = st_grown_extra_get(handle, tx, grown, &err);
    kel_set_instance_modified(share, 1, 0, 1);
    kel_set_instance_modified(extra, 1, 0, 1);
    EXPECT_EQ(st_grown_type_type_backpropagate(handle, tx, grown, &err), 1U);
    EXPECT_EQ(kel_get_instance_modified(share, 1, 0), 0U);
    EXPECT_EQ(kel_get_instance_modified(extra, 1, 0), 1U);
    EXPECT_EQ(st_grown_type_type_backpropagate(handle, tx, grown, &err), 1U);
    EXPECT_EQ(kel_get_instance_modified(extra, 1, 0), 0U);
    EXPECT_EQ(st_grown_type_type_backpropagate(handle, tx, grown, &err), 0U);
}

TEST_P(Backpropagation, AMarkedFieldIsClearedAlongWithTheObjectsOwnMark) {
    st_every *every = st_every_create(handle, tx);
    st_every_lamp_set_value(handle, tx, every, 1, &err);
    EXPECT_EQ(kel_get_instance_modified(at(every, 64), 0, 1), 1U);
    EXPECT_EQ(kel_get_instance_modified(every, 1, 0), 1U);
    services.clear();
    EXPECT_EQ(st_every_type_type_backpropagate(handle, tx, every, &err), 1U);
    EXPECT_EQ(kel_get_instance_modified(at(every, 64), 0, 1), 0U);
    EXPECT_EQ(kel_get_instance_modified(every, 1, 0), 0U);
    EXPECT_EQ(services.calls("kel_set_instance_modified", every).at(0).arguments,
              words(every, 1, 0, 0));
}

TEST_P(Backpropagation, AMarkOfADeeplyNestedObjectIsFound) {
    st_every *every = st_every_create(handle, tx);
    kel_set_instance_modified(at(every, 224), 1, 0, 1);
    EXPECT_EQ(st_every_type_type_backpropagate(handle, tx, every, &err), 1U);
    EXPECT_EQ(st_every_type_type_backpropagate(handle, tx, every, &err), 0U);
}

TEST_P(Backpropagation, AnArrayIsNeverVisited) {
    st_day *day = st_day_create(handle, tx);
    services.clear();
    st_day_minute_set(handle, tx, day, 3, std::vector<u8>{9}.data(), &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(st_day_type_type_backpropagate(handle, tx, day, &err), 0U);
}

}  // namespace
}  // namespace tarn::test
