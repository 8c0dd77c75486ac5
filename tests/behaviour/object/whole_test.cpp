// SPDX-License-Identifier: Apache-2.0
// Reading, writing and copying a whole object.
#include <cerrno>
#include <ostream>
#include <vector>

#include "tests/behaviour/object/objects.h"

namespace tarn::test {
namespace {

struct Values {
    u8 a8 = 77;
    u16 a16 = 77;
    u32 a32 = 77;
    u64 a64 = 77;
    std::int32_t s32 = 77;
    std::int64_t s64 = 77;
    u32 flag = 77, lamp = 77, door = 77;

    bool operator==(const Values &) const = default;
};

void PrintTo(const Values &values, std::ostream *out) {
    *out << "a8 " << u32{values.a8} << " a16 " << values.a16 << " a32 " << values.a32 << " a64 "
         << values.a64 << " s32 " << values.s32 << " s64 " << values.s64 << " flag " << values.flag
         << " lamp " << values.lamp << " door " << values.door;
}

class WholeObjects : public ObjectModeTest {
 protected:
    Values values_of(const st_every *every) {
        Values values;
        st_every_get_all(handle, tx, every, &values.a8, &values.a16, &values.a32, &values.a64,
                         &values.s32, &values.s64, &values.flag, &values.lamp, &values.door, &err);
        return values;
    }
};
TARN_EACH_MODE(WholeObjects);

TEST_P(WholeObjects, AllPlainValuesAreReadInFieldOrderAndWidth) {
    EXPECT_EQ(values_of(make.every(4)), (Values{4, 4 * 257, 4U * 65537, 4 * u64{0x100000001}, -4,
                                                -4 * std::int64_t{0x100000000}, 0, 1, 2}));
    EXPECT_EQ(err, 0U);
}

TEST_P(WholeObjects, AllValuesOfANullObjectAre0) {
    EXPECT_EQ(values_of(nullptr), (Values{0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(err, 0U);
}

TEST_P(WholeObjects, AValueWithoutAccessIsReadAs0) {
    st_every *every = make.every(4);
    services.replace(u_int8_get, [](auto...) { return nullptr; });
    services.replace(u_int32_get, [](auto...) { return nullptr; });
    EXPECT_EQ(values_of(every), (Values{0, 4 * 257, 0, 4 * u64{0x100000001}, -4,
                                        -4 * std::int64_t{0x100000000}, 0, 1, 2}));
    EXPECT_EQ(err, 0U);
}

TEST_P(WholeObjects, SettingAllValuesSetsNoStateFlag) {
    st_every *every = st_every_create(handle, tx);
    services.clear();
    st_every_set_all(handle, tx, every, 1, 2, 3, 4, -5, -6, 1, 2, 3, &err);
    EXPECT_EQ(err, 0U);
    if (tracking()) {
        EXPECT_EQ(bytes_of(at(every, every_size), every_states), std::vector<u8>(every_states));
    }
    EXPECT_EQ(kel_get_instance_modified(every, 1, 0), 1U);
    std::vector<u64> sizes;
    for (const ServiceCall &call : services.calls("kel_set_instance_modified", every)) {
        EXPECT_EQ(call.arguments.at(1), 1U);
        EXPECT_EQ(call.arguments.at(3), 1U);
        sizes.push_back(call.arguments.at(2));
    }
    EXPECT_EQ(sizes, (std::vector<u64>{0, 0, 0, 0, 0, 0, 1, 1, 1}));
}

TEST_P(WholeObjects, AFailedValueStopsNeitherTheOthersNorTheMarks) {
    st_every *every = st_every_create(handle, tx);
    services.clear();
    services.replace(u_int32_set_value,
                     [](auto, auto, auto, auto, u32 *error) { *error = EINVAL; });
    st_every_set_all(handle, tx, every, 1, 2, 3, 4, -5, -6, 1, 2, 3, &err);
    expect_error(EINVAL);
    EXPECT_EQ(services.calls("kel_set_instance_modified", every).size(), 9U);
    EXPECT_EQ(values_of(every), (Values{1, 2, 0, 4, -5, -6, 1, 2, 3})) << "all but a32";
}

TEST_P(WholeObjects, TheFirstFailureOfSettingAllValuesIsTheResult) {
    st_every *every = st_every_create(handle, tx);
    st_every_set_all(handle, tx, every, 1, 2, 3, 4, -5, -6, 1, 99, 3, &err);
    expect_error(EIDRM);
    EXPECT_EQ(values_of(every), (Values{1, 2, 3, 4, -5, -6, 1, 0, 3})) << "all but lamp";
    services.replace(u_int32_set_value,
                     [](auto, auto, auto, auto, u32 *error) { *error = EINVAL; });
    st_every_set_all(handle, tx, every, 1, 2, 3, 4, -5, -6, 1, 99, 3, &err);
    expect_error(EINVAL);
}

TEST_P(WholeObjects, SettingAllValuesOfANullObjectFailsWithEnoent) {
    st_every_set_all(handle, tx, nullptr, 1, 2, 3, 4, -5, -6, 1, 2, 3, &err);
    expect_error(ENOENT);
}

TEST_P(WholeObjects, ACopyHasTheValuesAndItsOwnTexts) {
    for (u32 seed = 0; seed < 3; ++seed) {
        st_every *source = make.every(seed);
        st_every *copy = make.every(seed + 7);
        st_every_set(handle, tx, copy, source, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(st_every_compare(copy, source), 0);
        st_every_destroy(handle, tx, source);
        make.check(copy, seed);
        st_every_destroy(handle, tx, copy);
    }
}

TEST_P(WholeObjects, CopyingNeitherLeaksNorSharesText) {
    const auto round = [&] {
        st_grown *source = make.grown(1);
        st_grown *copy = make.grown(3);
        for (int i = 0; i < 3; ++i) st_grown_set(handle, tx, copy, source, &err);
        EXPECT_EQ(err, 0U);
        make.check(copy, 1);
        st_grown_destroy(handle, tx, source);
        make.check(copy, 1);
        st_grown_destroy(handle, tx, copy);
    };
    round();
    const u64 blocks = session.blocks();
    for (int i = 0; i < 5; ++i) round();
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_P(WholeObjects, CopyingAnObjectOntoItselfOnlyAdjustsTheVariant) {
    kel_handle_set_variant(handle, &_st_grown_type_info_internal, 0);
    st_grown *grown = make.grown(1);
    kel_handle_set_variant(handle, &_st_grown_type_info_internal, 1);
    auto expected = bytes_of(grown, st_grown_sizeof(handle));
    HookRecorder hooks(handle);
    services.clear();
    st_grown_set(handle, tx, grown, grown, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(hooks.count(Hook::write_log), 1U);
    EXPECT_TRUE(hooks.announced(&head(grown)->variant, 1));
    expected[offsetof(kel_object, variant)] = 1;
    EXPECT_EQ(bytes_of(grown, st_grown_sizeof(handle)), expected);
    EXPECT_EQ(services.count("kel_vstring_set"), 0U);
}

TEST_P(WholeObjects, ACopyAnnouncesThePlainSizeFirstAndSetsNoModifiedMark) {
    st_every *source = make.every(1);
    st_every *copy = make.every(2);
    kel_set_instance_modified(copy, 1, 0, 0);
    const auto before = bytes_of(copy, every_size);
    HookRecorder hooks(handle);
    services.clear();
    st_every_set(handle, tx, copy, source, &err);
    const auto stores = hooks.of(Hook::write_log);
    ASSERT_FALSE(stores.empty());
    EXPECT_EQ(stores[0].address, copy);
    EXPECT_EQ(stores[0].length, every_size);
    EXPECT_EQ(stores[0].before, before);
    EXPECT_EQ(services.calls("kel_set_instance_modified", copy).size(), 0U);
    EXPECT_EQ(kel_get_instance_modified(copy, 1, 0), 0U);
    EXPECT_EQ(services.order({"kel_vstring_set", "ip_address_set", "kel_boolean_set"}),
              "kel_vstring_set ip_address_set kel_vstring_set");
}

TEST_P(WholeObjects, ACopyRunsWithAnErrorSetAndKeepsIt) {
    st_every *source = make.every(1);
    st_every *copy = make.every(2);
    err = ENOMEM;
    st_every_set(handle, tx, copy, source, &err);
    EXPECT_EQ(err, ENOMEM);
    st_every_destroy(handle, tx, source);
    make.check(copy, 1);
}

TEST_P(WholeObjects, CopyingFromOrToNullFailsWithEnoent) {
    st_every *every = make.every(1);
    st_every_set(handle, tx, every, nullptr, &err);
    expect_error(ENOENT);
    st_every_set(handle, tx, nullptr, every, &err);
    expect_error(ENOENT);
    err = ENOMEM;
    st_every_set(handle, tx, every, nullptr, &err);
    EXPECT_EQ(err, ENOMEM) << "the first error stays";
    err = 0;
    make.check(every, 1);
}

TEST_P(WholeObjects, ANestedObjectIsCopiedWhole) {
    st_every *every = make.every(1);
    st_tag *tag = make.tag(9);
    st_every_tag_set(handle, tx, every, tag, &err);
    EXPECT_EQ(err, 0U);
    st_tag_destroy(handle, tx, tag);
    make.check(st_every_tag_get(handle, tx, every, &err), 9);
}

TEST_P(WholeObjects, TheFlagsAndTheDescriptorComeFromTheSource) {
    st_point *source = st_point_create(handle, tx);
    st_point *copy = st_point_create(handle, tx);
    st_point_set_instance_embedded(handle, tx, source);
    static kel_type_info other = _st_point_type_info_internal;
    head(source)->descriptor = &other;
    st_point_set(handle, tx, copy, source, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_NE(head(copy)->flags & OBJ_EMBEDDED, 0);
    EXPECT_EQ(head(copy)->descriptor, &other);
}

}  // namespace
}  // namespace tarn::test
