// SPDX-License-Identifier: Apache-2.0
// The descriptors of tables and of records, which a handle with per-store descriptors fetches.
#include <string>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

// What has a descriptor, and how it is made and freed.
struct Item {
    const char *name;
    const kel_type_info *catalogue::Table::*descriptor;
    void *(*make)(const Subject &, kel_handle *, u32 tx, const char *name, u32 *err);
    void (*free)(const Subject &, kel_handle *, u32 tx, void *item, u32 *err);
};

const Item items[] = {
    {"Table", &catalogue::Table::descriptor,
     [](const Subject &s, kel_handle *handle, u32 tx, const char *name, u32 *err) -> void * {
         return s.plain.open(handle, tx, name, 0, err);
     },
     [](const Subject &s, kel_handle *handle, u32 tx, void *item, u32 *err) {
         s.plain.free(handle, tx, static_cast<kel_table *>(item), err);
     }},
    {"Record", &catalogue::Table::record_descriptor,
     [](const Subject &s, kel_handle *handle, u32 tx, const char *, u32 *err) -> void * {
         return s.plain.create_record(handle, tx, err);
     },
     [](const Subject &s, kel_handle *handle, u32 tx, void *item, u32 *err) {
         s.plain.destroy_record(handle, tx, static_cast<kel_record *>(item), err);
     }},
};

void PrintTo(const Item &item, std::ostream *out) { *out << item.name; }

// The runtime returns the descriptor of the test.
class DescriptorFixture : protected TableFixture {
 protected:
    explicit DescriptorFixture(const kel_type_info *catalogue::Table::*constant)
        : TableFixture(ldap_conn, Mode::store_types), descriptor(*(s.entry.*constant)) {
        descriptor.variant_info = &variants;
        services.always_return("kel_type_info_ptr_get", word(&descriptor));
    }
    kel_variant_usage usage = {1, 8, 0, 0, 0, 0};
    kel_variant_info variants = {1, &usage};
    kel_type_info descriptor;
};

class FetchedDescriptors : public ::testing::TestWithParam<Item>, protected DescriptorFixture {
 protected:
    FetchedDescriptors() : DescriptorFixture(GetParam().descriptor) {}
    void *make(const char *name = "made") { return GetParam().make(s, handle, tx, name, &err); }
    void free(void *item) { GetParam().free(s, handle, tx, item, &err); }
};

std::string item_name(const ::testing::TestParamInfo<Item> &info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(Items, FetchedDescriptors, ::testing::ValuesIn(items), item_name);

TEST_P(FetchedDescriptors, AreFetchedInTheCallersTransaction) {
    begin();
    services.clear();
    make();
    const ServiceCall fetch = services.calls("kel_type_info_ptr_get").at(0);
    EXPECT_EQ(fetch.tx_id(), tx);
    EXPECT_EQ(fetch.pointer<const void>(2), s.entry.*GetParam().descriptor);
    commit();
}

TEST_P(FetchedDescriptors, CountCreationsAndDestructions) {
    void *made = make();
    EXPECT_EQ(*static_cast<const kel_type_info **>(made), &descriptor) << "its first member";
    EXPECT_EQ(usage.created, 1U);
    free(made);
    EXPECT_EQ(usage.created, 1U);
    EXPECT_EQ(usage.destroyed, 1U);
    EXPECT_EQ(usage.live, 0U);
}

TEST_P(FetchedDescriptors, WithTooFewVariantsAreTracedAndCount) {
    variants.variant_count = -1;
    TraceCapture trace;
    const std::string text = "(info): variant 0 requested only 4294967295 variants present";
    void *made = make();
    EXPECT_EQ(trace.count(KEL_TRACE_INFO, text), 1U) << trace.all();
    free(made);
    EXPECT_EQ(trace.count(KEL_TRACE_INFO, text), 2U) << trace.all();
    EXPECT_EQ(usage.created, 1U);
    EXPECT_EQ(usage.destroyed, 1U);
    EXPECT_EQ(usage.live, 0U);
}

using FetchedDescriptorDeathTest = FetchedDescriptors;
INSTANTIATE_TEST_SUITE_P(Items, FetchedDescriptorDeathTest, ::testing::ValuesIn(items), item_name);

TEST_P(FetchedDescriptorDeathTest, WithoutVariantsEndTheProcess) {
    void *made = make();
    descriptor.variant_info = nullptr;
    EXPECT_DEATH(make("other"), "\\(FATAL\\): varinfo is NULL");
    EXPECT_DEATH(free(made), "\\(FATAL\\): varinfo is NULL");
}

class RecordDeathTest : public ::testing::Test, protected DescriptorFixture {
 protected:
    RecordDeathTest() : DescriptorFixture(&catalogue::Table::record_descriptor) {}
};

TEST_F(RecordDeathTest, ACorruptDescriptorEndsTheProcessAtDestruction) {
    kel_record *record = s.plain.create_record(handle, tx, &err);
    descriptor.magic = 1;
    EXPECT_DEATH(s.plain.destroy_record(handle, tx, record, &err),
                 "\\(FATAL\\): tinfo is null or corrupted");
    record->descriptor = nullptr;
    EXPECT_DEATH(s.plain.destroy_record(handle, tx, record, &err),
                 "\\(FATAL\\): tinfo is null or corrupted");
}

}  // namespace
}  // namespace tarn::test
