// SPDX-License-Identifier: Apache-2.0
// The arguments of the wire services while an object is written, and the effects of their
// errors.
#include <cerrno>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

class WireServices : public ObjectModeTest {
 protected:
    std::vector<u8> buffer = std::vector<u8>(8192, 0xee);
    u8 *place(u32 offset) { return buffer.data() + offset; }
    // Expects one call of the service about the item at `offset`.
    void expect_item(const std::string &service, const void *field, u32 offset, u32 space) {
        const auto calls = services.calls(service, field);
        ASSERT_EQ(calls.size(), 1U) << service << " at " << offset;
        EXPECT_EQ(calls[0].pointer<u8>(2), place(offset)) << service;
        EXPECT_EQ(calls[0].arguments.at(4), space - offset) << service;
    }
    u32 state() const { return tracking() ? 1 : 0; }
};
TARN_EACH_MODE(WireServices);
using FatalWire = ObjectTest;

TEST_P(WireServices, EachFieldGetsTheNextAddressAndTheRemainingLength) {
    st_every *every = make.every(0);
    const u32 space = 500;
    services.clear();
    st_every_marshal(handle, tx, buffer.data(), every, space, &err);
    ASSERT_EQ(err, 0U);
    u32 offset = 6;
    const auto expect_next = [&](const char *service, u32 field, u32 length) {
        expect_item(std::string(service) + "_marshal", at(every, field), offset, space);
        offset += length + state();
    };
    expect_next("u_int8", 11, 1);
    expect_next("u_int16", 12, 2);
    expect_next("u_int32", 16, 4);
    expect_next("u_int64", 24, 8);
    expect_next("int32", 32, 4);
    expect_next("int64", 40, 8);
    expect_next("kel_boolean", 48, 1);
    offset += 2 * (5 + state());  // lamp, door
    expect_next("kel_vstring", 96, 4 + 6);
    expect_next("ip_address", 128, 5);
    // Inside `tag`, after its own header.
    offset += 6;
    expect_next("kel_vstring", 160 + 16, 4 + 21);
    offset += 5 + state() + 6;
    expect_next("int32", 160 + 64 + 12, 4);
    expect_next("int32", 160 + 64 + 16, 4);
}

TEST_P(WireServices, TheHeaderIsVariantFlagsAndAJumpThatIsPatchedLater) {
    st_ldap_conn *conn = make.conn("server", 300);
    std::vector<std::int32_t> written;
    services.replace(
        _kel_variant_jump_marshal,
        [&](auto own, auto tx_id, void *to, const std::int32_t *jump, u32 space, u32 *error) {
            written.push_back(*jump);
            return _kel_variant_jump_marshal(own, tx_id, to, jump, space, error);
        });
    services.clear();
    const u32 length = st_ldap_conn_marshal(handle, tx, buffer.data(), conn, 700, &err);
    ASSERT_EQ(err, 0U);
    EXPECT_EQ(
        services.order({"_kel_instance_variant_marshal", "_kel_instance_obj_flag_marshal",
                        "_kel_variant_jump_marshal", "kel_vstring_marshal", "u_int32_marshal"}),
        "_kel_instance_variant_marshal _kel_instance_obj_flag_marshal "
        "_kel_variant_jump_marshal kel_vstring_marshal u_int32_marshal "
        "_kel_variant_jump_marshal");
    expect_item("_kel_instance_variant_marshal", buffer.data(), 0, 700);
    expect_item("_kel_instance_obj_flag_marshal", buffer.data() + 1, 1, 700);
    const auto jumps = services.calls("_kel_variant_jump_marshal");
    EXPECT_EQ(jumps[0].pointer<u8>(2), place(2));
    EXPECT_EQ(jumps[0].arguments.at(4), 698U);
    EXPECT_EQ(jumps[1].pointer<u8>(2), place(2));
    EXPECT_EQ(jumps[1].arguments.at(4), 4U);
    EXPECT_EQ(written, (std::vector<std::int32_t>{0, static_cast<std::int32_t>(length - 2)}));
}

TEST_P(WireServices, TheDomainGetsTheObjectsDescriptorOrNull) {
    st_point *point = st_point_create(handle, tx);
    services.clear();
    st_point_marshal(handle, tx, buffer.data(), point, 100, &err);
    ASSERT_EQ(services.count("kel_domain_lookup_variant"), 1U);
    EXPECT_EQ(services.calls("kel_domain_lookup_variant")[0].pointer<void>(2),
              head(point)->descriptor);
    const auto reads = services.calls("kel_get_instance_variant", point);
    ASSERT_EQ(reads.size(), 1U);
    EXPECT_EQ(reads[0].arguments, words(point, 1, 0));
    services.clear();
    st_point_marshal(handle, tx, buffer.data(), nullptr, 100, &err);
    ASSERT_EQ(services.count("kel_domain_lookup_variant"), 1U);
    EXPECT_EQ(services.calls("kel_domain_lookup_variant")[0].pointer<void>(2), nullptr);
}

TEST_P(WireServices, ANullObjectIsWrittenAsEmptyFields) {
    const u32 length = st_point_marshal(handle, tx, buffer.data(), nullptr, 100, &err);
    EXPECT_EQ(err, 0U);
    const std::vector<u8> plain = {0, 0, 12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const std::vector<u8> tracked = {0, 8, 14, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(bytes_of(buffer.data(), length), tracking() ? tracked : plain);
}

TEST_P(WireServices, AnInstanceIsLimitedByADomainWithoutVariants) {
    st_ldap_conn *conn = make.conn("server", 300);
    kel_handle_set_variant(handle, &_st_ldap_conn_type_info_internal, -1);
    const u32 length = st_ldap_conn_marshal(handle, tx, buffer.data(), conn, 700, &err);
    expect_error(EIDRM);
    EXPECT_EQ(bytes_of(buffer.data(), length),
              (std::vector<u8>{0xff, static_cast<u8>(tracking() ? 8 : 0), 4, 0, 0, 0}));
    // Variants are compared as signed numbers: -3 isn't above -1.
    head(conn)->variant = -3;
    EXPECT_EQ(st_ldap_conn_marshal(handle, tx, buffer.data(), conn, 700, &err), 6U);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(buffer[0], 0xfd);
}

// ---- Errors --------------------------------------------------------------------------

TEST_P(WireServices, AnErrorOfTheDomainOmitsEveryItem) {
    st_ldap_conn *conn = make.conn("server", 300);
    fail_domain(EIO);
    const u32 length = st_ldap_conn_marshal(handle, tx, buffer.data(), conn, 700, &err);
    EXPECT_EQ(err, EIO);
    // The state bytes of two fields are stored nevertheless.
    EXPECT_EQ(length, 2 * state());
    EXPECT_EQ(services.count("u_int32_marshal"), 1U) << "the fields are visited";
}

TEST_P(WireServices, TheResultOfFetchingTraceDataReplacesAnEarlierError) {
    st_point *point = st_point_create(handle, tx);
    kellib_update_ra_all(handle, tx, point, 0x0807060504030201, 9);
    fail_domain(EIO);
    const u32 length = st_point_marshal(handle, tx, buffer.data(), point, 700, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(length, 9 + 4 + 8 + 2 * state());
    EXPECT_EQ(bytes_of(buffer.data(), 9), (std::vector<u8>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(buffer[9], length - 9) << "the jump counts from its own position";
}

TEST_P(WireServices, TraceDataThatDoesNotFitFailsWithEmsgsize) {
    st_point *point = st_point_create(handle, tx);
    kellib_update_ra_all(handle, tx, point, 1, 9);
    st_point_marshal(handle, tx, buffer.data(), point, 10, &err);
    expect_error(EMSGSIZE);
    EXPECT_EQ(buffer[2], tracking() ? 0 : 0xee) << "state bytes alone";
    st_point_marshal(handle, tx, buffer.data(), point, 11, &err);
    expect_error(EMSGSIZE);
    EXPECT_EQ(buffer[2], 1);
    EXPECT_EQ(buffer[10], 9);
}

TEST_P(WireServices, WithoutTraceDataNothingIsFetched) {
    st_point *point = st_point_create(handle, tx);
    services.clear();
    st_point_marshal(handle, tx, buffer.data(), point, 700, &err);
    EXPECT_EQ(services.count("kellib_get_ra_data"), 0U);
    EXPECT_EQ(services.count("_kel_instance_ra_data_marshal"), 0U);
}

TEST_P(WireServices, TheEpochErrorIsRestoredUnlessTheFormFailed) {
    st_grown *grown = make.grown(2);
    kel_handle_set_variant(handle, &_st_grown_type_info_internal, 0);
    st_grown_marshal(handle, tx, buffer.data(), grown, 18, &err);
    expect_error(EMSGSIZE);
    st_grown_marshal(handle, tx, buffer.data(), grown, 8000, &err);
    expect_error(EIDRM);
}

TEST_P(WireServices, AfterAnErrorLaterFieldsWriteOnlyTheirStateBytes) {
    st_every *every = make.every(0);
    // Space for a8, a16 and three bytes of a32.
    const u32 space = 6 + 3 + 2 * state() + 3;
    const u32 length = st_every_marshal(handle, tx, buffer.data(), every, space, &err);
    expect_error(EMSGSIZE);
    EXPECT_EQ(length, tracking() ? space : 9U);
    EXPECT_EQ(buffer[2], length - 2) << "the jump";
}

// ---- The mode word -------------------------------------------------------------------

TEST_F(FatalWire, AnUnknownModeEndsTheProcessOfEveryWriter) {
    st_ldap_conn *conn = make.conn("server", 300);
    track(KEL_STATE_TRACKING_ON);
    handle->state_tracking->state_tracking_mode = 5;
    u8 buffer[200];
    const char *text = "\\(FATAL\\): Corrupted KEL Handle";
    EXPECT_DEATH(st_ldap_conn_marshal(handle, tx, buffer, conn, 200, &err), text);
    EXPECT_DEATH(st_ldap_conn_marshal_for_clone(handle, tx, buffer, conn, 200, &err), text);
    EXPECT_DEATH(st_ldap_conn_len(handle, tx, conn), text);
    EXPECT_DEATH(
        st_ldap_conn_to_xml(handle, tx, "c", reinterpret_cast<char *>(buffer), conn, 200, 0, &err),
        text);
}

TEST_F(FatalWire, ALengthThatNeedsNoModeDoesNotReadIt) {
    st_ldap_conn *conn = make.conn("server", 300);
    head(conn)->variant = -1;
    track(KEL_STATE_TRACKING_ON);
    handle->state_tracking->state_tracking_mode = 5;
    EXPECT_EQ(st_ldap_conn_len(handle, tx, conn), 6U);
    EXPECT_EQ(st_ldap_conn_len(handle, tx, nullptr), 14U);
    handle->state_tracking->state_tracking_mode = KEL_STATE_TRACKING_ON;
}

// ---- Array flags at the end of the buffer --------------------------------------------

class ShortBufferFlags : public TrackedTest {
 protected:
    ShortBufferFlags() {
        head(grown)->variant = 0;  // ends with the array
        for (u32 i = 0; i < grown_states; ++i) *at(grown, grown_size + i) = static_cast<u8>(i | 1);
        length = st_grown_len(handle, tx, grown);
        st_grown_marshal(handle, tx, whole.data(), grown, length, &err);
    }
    st_grown *grown = make.grown(3);
    u32 length = 0;
    std::vector<u8> whole = std::vector<u8>(8192);
};

TEST_F(ShortBufferFlags, ElementFlagsAreWrittenAsFarAsTheyFit) {
    for (const u32 missing : {1U, 2U, 700U, 1438U, 1439U, 1440U}) {
        std::vector<u8> buffer(length + 1, 0xee);
        const u32 space = length - missing;
        EXPECT_EQ(st_grown_marshal(handle, tx, buffer.data(), grown, space, &err), space)
            << missing;
        EXPECT_EQ(err, 0U);
        // All but the jump, which counts what is written.
        EXPECT_TRUE(std::equal(buffer.begin() + 6, buffer.begin() + space, whole.begin() + 6));
        EXPECT_EQ(buffer[2] + 256 * buffer[3], space - 2);
        EXPECT_EQ(buffer[space], 0xee);
    }
}

TEST_F(ShortBufferFlags, TheArraysOwnFlagIsWrittenAfterAFullBuffer) {
    std::vector<u8> buffer(length + 1, 0xee);
    const u32 space = length - 1441;
    EXPECT_EQ(st_grown_marshal(handle, tx, buffer.data(), grown, space, &err), space);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(buffer[space], whole[space]);
    EXPECT_EQ(buffer[space + 1], 0xee);
}

}  // namespace
}  // namespace tarn::test
