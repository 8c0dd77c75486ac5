// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/object/objects.h"

#include <arpa/inet.h>

#include <array>

namespace tarn::test {

std::vector<u8> bytes_of(const void *object, u32 length) {
    const auto *first = static_cast<const u8 *>(object);
    return {first, first + length};
}

Places places_of(const std::vector<HookEvent> &events) {
    Places places;
    for (const HookEvent &event : events) places.emplace_back(event.address, event.length);
    return places;
}

FailingAllocator::FailingAllocator(kel_handle *handle, u32 error) : original_(handle->alloc_hook) {
    handle_ = handle;
    error_ = error;
    handle->alloc_hook = fail;
}

FailingAllocator::~FailingAllocator() { handle_->alloc_hook = original_; }

void *FailingAllocator::fail(void *, u32, u64) {
    handle_->last_error = error_;
    return nullptr;
}

Address::Address(const char *text) {
    u8 bytes[16] = {};
    if (inet_pton(AF_INET, text, bytes) == 1) {
        ip_address_refer(&address_, KEL_ADDRESS_IPV4, bytes);
    } else {
        EXPECT_EQ(inet_pton(AF_INET6, text, bytes), 1) << text;
        ip_address_refer(&address_, KEL_ADDRESS_IPV6, bytes);
    }
}

namespace {

// Even seeds give texts inside the string, odd ones texts outside it.
std::string text_from(const char *stem, u32 seed) {
    return std::string(stem) + (seed % 2 == 0 ? "" : " with a long tail") + std::to_string(seed);
}

std::string address_from(u32 seed) {
    return (seed % 2 == 0 ? "10.0.0." : "2001:db8::") + std::to_string(seed % 200);
}

std::array<u8, minutes> minutes_from(u32 seed) {
    std::array<u8, minutes> values;
    for (u32 i = 0; i < minutes; ++i) values[i] = static_cast<u8>(seed + i * 3);
    return values;
}

}  // namespace

st_ldap_conn *Maker::conn(const std::string &name, u32 connections) const {
    u32 err = 0;
    st_ldap_conn *made = st_ldap_conn_create(handle, tx);
    st_ldap_conn_sname_set(handle, tx, made, Text(name), &err);
    st_ldap_conn_num_conns_set_value(handle, tx, made, connections, &err);
    EXPECT_EQ(err, 0U);
    return made;
}

st_tag *Maker::tag(u32 seed) const {
    st_tag *made = st_tag_create(handle, tx);
    fill(made, seed);
    return made;
}

st_every *Maker::every(u32 seed) const {
    st_every *made = st_every_create(handle, tx);
    fill(made, seed);
    return made;
}

st_grown *Maker::grown(u32 seed) const {
    st_grown *made = st_grown_create(handle, tx);
    fill(made, seed);
    return made;
}

void Maker::fill(st_tag *tag, u32 seed) const {
    u32 err = 0;
    st_tag_name_set(handle, tx, tag, Text(text_from("tag", seed)), &err);
    st_tag_lamp_set_value(handle, tx, tag, seed % 3, &err);
    st_point *point = st_tag_point_get(handle, tx, tag, &err);
    st_point_x_set_value(handle, tx, point, static_cast<std::int32_t>(seed) * -3, &err);
    st_point_y_set_value(handle, tx, point, static_cast<std::int32_t>(seed) + 1, &err);
    EXPECT_EQ(err, 0U);
}

void Maker::check(st_tag *tag, u32 seed) const {
    u32 err = 0;
    EXPECT_EQ(text_of(st_tag_name_get(handle, tx, tag, &err)), text_from("tag", seed));
    EXPECT_EQ(st_tag_lamp_get_value(handle, tx, tag, &err), seed % 3);
    st_point *point = st_tag_point_get(handle, tx, tag, &err);
    EXPECT_EQ(st_point_x_get_value(handle, tx, point, &err), static_cast<std::int32_t>(seed) * -3);
    EXPECT_EQ(st_point_y_get_value(handle, tx, point, &err), static_cast<std::int32_t>(seed) + 1);
    EXPECT_EQ(err, 0U);
}

void Maker::fill(st_every *every, u32 seed) const {
    u32 err = 0;
    st_every_set_all(handle, tx, every, static_cast<u8>(seed), static_cast<u16>(seed * 257),
                     seed * 65537, seed * u64{0x100000001}, -static_cast<std::int32_t>(seed),
                     -static_cast<std::int64_t>(seed) * 0x100000000, seed % 2, seed % 3,
                     seed % 3 + 1, &err);
    st_every_label_set(handle, tx, every, Text(text_from("label", seed)), &err);
    st_every_addr_set(handle, tx, every, Address(address_from(seed).c_str()), &err);
    EXPECT_EQ(err, 0U);
    fill(st_every_tag_get(handle, tx, every, &err), seed + 1);
}

void Maker::check(st_every *every, u32 seed) const {
    u32 err = 0;
    EXPECT_EQ(st_every_a8_get_value(handle, tx, every, &err), static_cast<u8>(seed));
    EXPECT_EQ(st_every_a16_get_value(handle, tx, every, &err), static_cast<u16>(seed * 257));
    EXPECT_EQ(st_every_a32_get_value(handle, tx, every, &err), seed * 65537);
    EXPECT_EQ(st_every_a64_get_value(handle, tx, every, &err), seed * u64{0x100000001});
    EXPECT_EQ(st_every_s32_get_value(handle, tx, every, &err), -static_cast<std::int32_t>(seed));
    EXPECT_EQ(st_every_s64_get_value(handle, tx, every, &err),
              -static_cast<std::int64_t>(seed) * 0x100000000);
    EXPECT_EQ(st_every_flag_get_value(handle, tx, every, &err), seed % 2);
    EXPECT_EQ(st_every_lamp_get_value(handle, tx, every, &err), seed % 3);
    EXPECT_EQ(st_every_door_get_value(handle, tx, every, &err), seed % 3 + 1);
    EXPECT_EQ(text_of(st_every_label_get(handle, tx, every, &err)), text_from("label", seed));
    EXPECT_EQ(text_of(st_every_addr_get(handle, tx, every, &err)),
              text_of(Address(address_from(seed).c_str())));
    EXPECT_EQ(err, 0U);
    check(st_every_tag_get(handle, tx, every, &err), seed + 1);
}

void Maker::fill(st_grown *grown, u32 seed) const {
    u32 err = 0;
    st_grown_name_set(handle, tx, grown, Text(text_from("grown", seed)), &err);
    st_grown_total_set_value(handle, tx, grown, seed * 7, &err);
    st_grown_minute_set_mem(handle, tx, grown, minutes_from(seed).data(), minutes, &err);
    EXPECT_EQ(err, 0U);
    fill(st_grown_share_get(handle, tx, grown, &err), seed + 1);
    if (head(grown)->variant > 0) fill(st_grown_extra_get(handle, tx, grown, &err), seed + 2);
}

void Maker::check(st_grown *grown, u32 seed) const {
    u32 err = 0;
    EXPECT_EQ(text_of(st_grown_name_get(handle, tx, grown, &err)), text_from("grown", seed));
    EXPECT_EQ(st_grown_total_get_value(handle, tx, grown, &err), seed * 7);
    std::array<u8, minutes> values;
    st_grown_minute_get_mem(handle, tx, grown, values.data(), minutes, &err);
    EXPECT_EQ(values, minutes_from(seed));
    EXPECT_EQ(err, 0U);
    check(st_grown_share_get(handle, tx, grown, &err), seed + 1);
    if (head(grown)->variant > 0) check(st_grown_extra_get(handle, tx, grown, &err), seed + 2);
}

}  // namespace tarn::test
