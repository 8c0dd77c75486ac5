// SPDX-License-Identifier: Apache-2.0
// Descriptors as a whole: the list, a store's copies of it, the variant dump, and
// the bundle handler.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "tarnbase/runtime.h"
#include "tarnbase/tarnbase.h"
#include "tests/support/fixture.h"
#include "tests/support/hooks.h"
#include "tests/support/services.h"
#include "tests/support/trace.h"

namespace {

using tarn::test::Hook;
using tarn::test::HookRecorder;
using tarn::test::Mode;
using tarn::test::ServiceCall;
using tarn::test::ServiceRecorder;
using tarn::test::Session;
using tarn::test::words;

std::size_t item_count() {
    std::size_t n = 0;
    while (tarnbase_type_list[n] != nullptr) ++n;
    return n;
}

class Descriptors : public ::testing::Test {
 protected:
    Session session{Mode::store_types};
    kel_handle *const handle = session.handle();
    ServiceRecorder services{handle};
    std::uint32_t err = 0;
};

TEST(DescriptorList, HoldsValidDescriptorsWithUniqueIdentities) {
    std::set<std::string> identities;
    ASSERT_GT(item_count(), 0U);
    for (std::size_t i = 0; i < item_count(); ++i) {
        const kel_type_info &item = *tarnbase_type_list[i];
        SCOPED_TRACE(item.name);
        EXPECT_EQ(item.magic, KEL_TYPE_INFO_MAGIC);
        EXPECT_STREQ(item.module_name, "tarnbase");
        EXPECT_EQ(item.type_slot, KEL_TYPE_SLOT_NONE);
        EXPECT_EQ(item.store_private, 0U);
        ASSERT_NE(item.variant_info, nullptr);
        std::string text;
        for (const std::uint8_t byte : item.luid) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", byte);
            text += digits;
        }
        EXPECT_EQ(text, item.luid_text);
        EXPECT_TRUE(identities.insert(text).second) << "a LUID is used twice";
    }
}

TEST(DescriptorList, ListsStructuresThenEnumerationsThenATableBeforeItsRecord) {
    std::size_t i = 0;
    while (i < item_count() && std::string(tarnbase_type_list[i]->kind) == "type") ++i;
    EXPECT_GT(i, 0U);
    while (i < item_count() && std::string(tarnbase_type_list[i]->kind) == "enum") ++i;
    for (; i + 1 < item_count(); i += 2) {
        EXPECT_STREQ(tarnbase_type_list[i]->kind, "table");
        EXPECT_STREQ(tarnbase_type_list[i + 1]->kind, "table_record");
        EXPECT_EQ(std::string(tarnbase_type_list[i]->name) + "_record",
                  tarnbase_type_list[i + 1]->name);
    }
    EXPECT_EQ(i, item_count());
}

TEST(DescriptorList, GivesATableAndItsRecordOneEntryOfVariantOne) {
    for (const kel_type_info *item : {&_tbl_ldap_conn_table_type_info_internal,
                                      &_tbl_ldap_conn_table_record_type_info_internal}) {
        ASSERT_EQ(item->variant_info->variant_count, 1);
        EXPECT_EQ(item->variant_info->variants[0].variant, 1U);
        EXPECT_EQ(item->variant_info->variants[0].used_length, 8U);
        EXPECT_EQ(item->variant_info->variants[0].alloc_slop, 0U);
    }
    const kel_variant_usage &conn = _st_ldap_conn_type_info_internal.variant_info->variants[0];
    EXPECT_EQ(conn.variant, 0U);
    EXPECT_EQ(conn.used_length, 52U);
    EXPECT_EQ(conn.alloc_slop, 12U);
}

TEST_F(Descriptors, AreCopiedIntoAStoreOnceEach) {
    HookRecorder hooks(handle);
    tarnbase_typeinfo_initialize(handle, 7, &err);
    ASSERT_EQ(err, 0U);

    EXPECT_EQ(hooks.count(Hook::type_map_insert), item_count());
    const auto updates = services.calls("kel_update_variant_info");
    ASSERT_EQ(updates.size(), item_count());
    for (std::size_t i = 0; i < item_count(); ++i) {
        EXPECT_EQ(updates[i].arguments_in(3, 5), words(tarnbase_type_list[i], 1));
    }
    const auto inserts = hooks.of(Hook::type_map_insert);
    for (std::size_t i = 0; i < inserts.size(); ++i) {
        EXPECT_EQ(inserts[i].tx_id, 7U);
        const auto *copy = static_cast<const kel_type_info_copy *>(inserts[i].address);
        EXPECT_STREQ(copy->info.name, tarnbase_type_list[i]->name);
        EXPECT_EQ(copy->info.store_private, 1U);
        EXPECT_EQ(copy->info.type_slot, KEL_TYPE_SLOT_NONE);
        EXPECT_EQ(copy->store_word_1, 0U);
        EXPECT_EQ(copy->store_word_2, 0U);
    }
    for (const auto &event : hooks.of(Hook::type_alloc)) EXPECT_EQ(event.tx_id, KEL_TX_NONE);
}

TEST_F(Descriptors, InTheStoreAreOnlyUpdated) {
    tarnbase_typeinfo_initialize(handle, 7, &err);
    services.clear();
    HookRecorder hooks(handle);
    tarnbase_typeinfo_initialize(handle, 7, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(hooks.count(Hook::type_alloc), 0U);
    EXPECT_EQ(hooks.count(Hook::type_map_insert), 0U);
    const auto updates = services.calls("kel_update_variant_info");
    ASSERT_EQ(updates.size(), item_count());
    for (const ServiceCall &update : updates) EXPECT_EQ(update.arguments.at(4), 0U) << "is_new";
}

TEST_F(Descriptors, ThatCannotBeCopiedKeepTheOthersAndASecondCallCompletesThem) {
    for (std::uint64_t n = 1; n < 4; ++n) {
        kel_store_fail_allocation(session.store(), n * 5);
        err = 0;
        tarnbase_typeinfo_initialize(handle, KEL_TX_NONE, &err);
        if (err == 0) continue;  // the failure met the variant information of a copy
        EXPECT_EQ(err, ENOMEM);
        EXPECT_EQ(handle->last_error, ENOMEM);
    }
    kel_store_fail_allocation(session.store(), 0);
    err = 0;
    tarnbase_typeinfo_initialize(handle, KEL_TX_NONE, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(session.describe().types, item_count());
}

TEST_F(Descriptors, ReportEnomemAtTheFirstCopyThatFails) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    tarnbase_typeinfo_initialize(handle, KEL_TX_NONE, &err);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(hooks.count(Hook::type_alloc), 1U);
    EXPECT_EQ(services.count("kel_update_variant_info"), 0U);
}

TEST_F(Descriptors, OfAStoreCountWithoutChangingTheConstantOnes) {
    const std::uint64_t constant_before =
        _st_ldap_conn_type_info_internal.variant_info->variants[0].created;
    st_ldap_conn *object = st_ldap_conn_create(handle, KEL_TX_NONE);
    ASSERT_NE(object, nullptr);
    const kel_type_info *descriptor = reinterpret_cast<kel_object *>(object)->descriptor;
    EXPECT_NE(descriptor, &_st_ldap_conn_type_info_internal);
    EXPECT_EQ(descriptor->variant_info->variants[0].created, 1U);
    EXPECT_EQ(descriptor->variant_info->variants[0].live, 1U);
    EXPECT_EQ(_st_ldap_conn_type_info_internal.variant_info->variants[0].created, constant_before);
    st_ldap_conn_destroy(handle, KEL_TX_NONE, object);
    EXPECT_EQ(descriptor->variant_info->variants[0].destroyed, 1U);
    EXPECT_EQ(descriptor->variant_info->variants[0].live, 0U);
}

TEST(ConstantDescriptors, NeverCallTheTypeHooks) {
    Session session;
    HookRecorder hooks(session.handle());
    std::uint32_t err = 0;
    st_ldap_conn *object = st_ldap_conn_create(session.handle(), KEL_TX_NONE);
    kel_record *record = tbl_ldap_conn_create_record(session.handle(), KEL_TX_NONE, &err);
    kel_table *table = tbl_ldap_conn_table_open(session.handle(), KEL_TX_NONE, "t", 0, &err);
    ASSERT_NE(table, nullptr);
    tbl_ldap_conn_destroy_record(session.handle(), KEL_TX_NONE, record, &err);
    st_ldap_conn_destroy(session.handle(), KEL_TX_NONE, object);
    EXPECT_GT(hooks.count(Hook::alloc), 0U);
    EXPECT_EQ(hooks.count(Hook::type_alloc), 0U);
    EXPECT_EQ(hooks.count(Hook::type_map_insert), 0U);
    EXPECT_EQ(hooks.count(Hook::type_map_lookup), 0U);
}

std::vector<std::string> dumped;

void note_line(const char *format, ...) {
    char line[128];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    dumped.emplace_back(line);
}

TEST(VariantDump, ListsEachItemsVariantsInTheOrderOfTheList) {
    dumped.clear();
    tarnbase_type_variant_dump(&note_line);
    std::size_t row = 0;
    for (std::size_t i = 0; i < item_count(); ++i) {
        const kel_variant_info &info = *tarnbase_type_list[i]->variant_info;
        ASSERT_LT(row, dumped.size());
        EXPECT_EQ(dumped[row++], "n_variants " + std::to_string(info.variant_count) + "\n");
        for (int v = 0; v < info.variant_count; ++v) {
            ASSERT_LT(row, dumped.size());
            EXPECT_EQ(dumped[row++], "variant " + std::to_string(v) + " used length " +
                                         std::to_string(info.variants[v].used_length) +
                                         " alloc slop " +
                                         std::to_string(info.variants[v].alloc_slop) + "\n");
        }
    }
    EXPECT_EQ(row, dumped.size());
    // One item, a structure of two variants, has a line more than the others.
    EXPECT_EQ(dumped.size(), 2 * item_count() + 1);
}

TEST(BundleHandler, IsRegisteredInBothRegistriesAndThePreviousOneIsReturned) {
    Session session;
    ServiceRecorder services(session.handle());
    int first = 0;
    int second = 0;
    EXPECT_EQ(tarnbase_bundle_handler_register(&first), nullptr);
    EXPECT_EQ(tarnbase_bundle_registered_handler, &first);
    EXPECT_EQ(tarnbase_bundle_handler_register(&second), &first);
    EXPECT_EQ(tarnbase_bundle_handler_unregister(), &second);
    EXPECT_EQ(tarnbase_bundle_handler_unregister(), nullptr);
    const std::string registered =
        "ridge_comm_bundle_handler_register if_common_bundle_handler_register ";
    const std::string unregistered =
        "ridge_comm_bundle_handler_unregister if_common_bundle_handler_unregister";
    EXPECT_EQ(services.order(), registered + registered + unregistered + " " + unregistered);
}

}  // namespace
