// SPDX-License-Identifier: Apache-2.0
// Opening tables by name, and closing them.
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>

#include "tarnbase/tarnbase.h"
#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

class Open : public TableTest {
 protected:
    std::string stored_name(const std::string &name) { return name + "/" + s.luid_text; }
    static constexpr std::size_t longest_name = 255 - 33;  // its key ends in the LUID
    u64 created() { return usage_of(table).created; }
};
TARN_EACH_TABLE_AND_MODE(Open);

TEST_P(Open, CreatesAZeroedBlockWithItsName) {
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(stored_name("t"), table->table_name);
    EXPECT_STREQ(table->descriptor->kind, "table");
    EXPECT_STREQ(table->descriptor->name, s.name);
    EXPECT_EQ(table->descriptor == s.entry.descriptor, GetParam().mode != Mode::store_types);
    EXPECT_EQ(table->open_mode, KEL_OPEN_BY_NAME);
    EXPECT_EQ(table->table_id, 0U);
    EXPECT_EQ(table->record_count, 0U);
    for (const u32 count : table->src_counts) EXPECT_EQ(count, 0U);
    EXPECT_EQ(table->variant, 0);
    EXPECT_EQ(table->created_variant, 0);
    EXPECT_EQ(table->range_word, 0U);
    EXPECT_EQ(table->index_root, nullptr);
    EXPECT_EQ(table->replication_marked, 0U);
    EXPECT_EQ(table->write_cursor_armed, 0U);
}

TEST_P(Open, PutsTheBlockAtTheEndOfTheTableList) {
    EXPECT_EQ(kel_store_first_table(session.store()), table);
    kel_table *second = s.plain.open(handle, tx, "second", 0, &err);
    EXPECT_EQ(table->toc_next, second);
    EXPECT_EQ(second->toc_prev, &table->toc_next);
    EXPECT_EQ(second->toc_next, nullptr);
    kel_table_list *list = kellib_database_table_toc_create(handle, tx, &err);
    EXPECT_EQ(list->first, table);
    EXPECT_EQ(list->last, &second->toc_next);
}

TEST_P(Open, OfTheSameNameReturnsTheSameBlockAndCountsItOnce) {
    const u64 before = created();
    const u64 blocks = session.blocks();
    for (const u32 open_only : {0U, 1U}) {
        EXPECT_EQ(s.plain.open(handle, tx, "t", open_only, &err), table);
        EXPECT_EQ(s.unsafe.open(handle, tx, "t", open_only, &err), table);
        EXPECT_EQ(s.cr.open(handle, open_only, KEL_OPEN_BY_NAME, "t", 0), table);
    }
    EXPECT_EQ(created(), before);
    EXPECT_EQ(session.blocks(), blocks);
    EXPECT_NE(s.plain.open(handle, tx, "other", 0, &err), table);
    EXPECT_EQ(created(), before + 1);
}

TEST_P(Open, WithOpenOnlyReturnsNullWithoutAnErrorIfNothingExists) {
    const u64 blocks = session.blocks();
    const u64 before = created();
    HookRecorder hooks(handle);
    EXPECT_EQ(s.plain.open(handle, tx, "absent", 1, &err), nullptr);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(session.blocks(), blocks);
    EXPECT_EQ(created(), before);
    EXPECT_EQ(table->toc_next, nullptr);
}

TEST_P(Open, CreatesTheBlockOutsideTheCallersTransaction) {
    begin();
    HookRecorder hooks(handle);
    services.clear();
    kel_table *made = s.plain.open(handle, tx, "made", 0, &err);
    ASSERT_NE(made, nullptr);
    const auto allocations = hooks.of(Hook::alloc);
    ASSERT_EQ(allocations.size(), 1U);
    EXPECT_EQ(allocations[0].address, made);
    EXPECT_EQ(allocations[0].length, sizeof(kel_table));
    EXPECT_EQ(allocations[0].tx_id, KEL_TX_NONE);
    EXPECT_EQ(hooks.count(Hook::write_log), 0U);
    EXPECT_EQ(hooks.count(Hook::delta_log), 0U);
    EXPECT_EQ(services.calls("kellib_database_table_toc_create").at(0).tx_id(), KEL_TX_NONE);
    EXPECT_EQ(services.calls("loam_set_range").at(0).arguments_in(1, 4),
              (std::vector<u64>{word(&made->range_word), 8, KEL_TX_NONE}));
    EXPECT_EQ(services.calls("kel_oid_mapping_create").at(0).arguments_in(1, 6),
              (std::vector<u64>{tx, word(made), KEL_OID_KIND_TABLE, 0, 0}));
    EXPECT_EQ(services.calls("loam_set_key").at(0).text, stored_name("made"));
    EXPECT_EQ(services.calls("loam_set_key").at(0).pointer<const void>(2), made);
    EXPECT_EQ(
        services.order({"ptrail_module_init_fn", "kellib_database_table_toc_create", "loam_get_key",
                        "loam_set_range", "loam_set_key", "kel_oid_mapping_create"}),
        "ptrail_module_init_fn kellib_database_table_toc_create loam_get_key "
        "loam_set_range loam_set_key kel_oid_mapping_create");
    rollback();
    EXPECT_EQ(s.plain.open(handle, tx, "made", 1, &err), made);
}

TEST_P(Open, PassesTheIorToTheMapping) {
    services.clear();
    kel_table *made = s.plain.open_by_ior_with_name(handle, tx, "ior", 0x123456789abcULL, 0, &err);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->open_mode, KEL_OPEN_BY_NAME);
    EXPECT_EQ(services.calls("kel_oid_mapping_create").at(0).arguments_in(3, 6),
              (std::vector<u64>{KEL_OID_KIND_TABLE, 0, 0x123456789abcULL}));
    EXPECT_EQ(s.unsafe.open_by_ior_with_name(handle, tx, "ior", 0, 1, &err), made);
}

TEST_P(Open, StoresATableUnderItsPathOrUnderItsNameAndLuid) {
    const std::string path = "x/" + std::string(300, 'p');
    const std::string late_slash = std::string(290, 'p') + "/x";
    const std::string short_path = "n/" + std::string(longest_name - 1, 'n');
    const std::string name(longest_name, 'n');
    const struct {
        const char *what, *name;
        std::string stored;
    } cases[] = {
        {"a path", "a/path", "a/path"},
        {"a path one longer than the longest name", short_path.c_str(), short_path},
        {"a path that is cut", path.c_str(), path.substr(0, 255)},
        {"a path that loses its slash", late_slash.c_str(), late_slash.substr(0, 255)},
        {"the longest name", name.c_str(), stored_name(name)},
        {"no name", nullptr, stored_name("(null)")},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        kel_table *made = s.plain.open(handle, tx, c.name, 0, &err);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(c.stored, made->table_name);
        EXPECT_EQ(s.plain.open(handle, tx, c.name, 1, &err), made);
    }
    // Names that differ only after the cut are the same table.
    EXPECT_EQ(s.plain.open(handle, tx, (path + "y").c_str(), 1, &err),
              s.plain.open(handle, tx, path.c_str(), 1, &err));
}

TEST_P(Open, RefusesANameWhoseKeyDoesNotFit) {
    const std::string name(longest_name + 1, 'n');
    EXPECT_EQ(s.plain.open(handle, tx, name.c_str(), 0, &err), nullptr);
    EXPECT_EQ(err, E2BIG);
    EXPECT_EQ(handle->last_error, E2BIG);
}

TEST_P(Open, EnteredWithAnErrorChangesNothing) {
    handle->last_error = EINVAL;
    err = EIO;
    services.clear();
    HookRecorder hooks(handle);
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        EXPECT_EQ(form->open(handle, tx, "other", 0, &err), nullptr);
        EXPECT_EQ(form->open_by_id(handle, tx, 1, 0, &err), nullptr);
        EXPECT_EQ(form->open_auto_id(handle, tx, 0, &err), nullptr);
        EXPECT_EQ(form->dynamic_open_auto_id(handle, tx, 0, &err), nullptr);
        EXPECT_EQ(form->open_by_ior_with_name(handle, tx, "other", 1, 0, &err), nullptr);
        EXPECT_EQ(form->open_by_ior_with_id(handle, tx, 1, 1, 0, &err), nullptr);
        form->close(handle, tx, table, &err);
        form->free(handle, tx, table, &err);
    }
    EXPECT_EQ(s.cr.open(handle, 0, KEL_OPEN_BY_NAME, "other", 0), nullptr);
    EXPECT_EQ(err, EIO);
    EXPECT_EQ(handle->last_error, EINVAL);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_TRUE(services.calls().empty());
}

TEST_P(Open, KeepsTheErrorOfTheTableList) {
    services.always_fail("kellib_database_table_toc_create");
    services.clear();
    HookRecorder hooks(handle);
    EXPECT_EQ(s.plain.open(handle, tx, "t", 0, &err), nullptr);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(services.calls().back().name, "kellib_database_table_toc_create");
    EXPECT_TRUE(hooks.events.empty());
}

TEST_P(Open, WithoutMemoryReportsEnomem) {
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    EXPECT_EQ(s.plain.open(handle, tx, "other", 0, &err), nullptr);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(handle->last_error, ENOMEM);
    hooks.fail_allocations(false);
    err = 0;
    EXPECT_EQ(s.plain.open(handle, tx, "other", 1, &err), nullptr);
    EXPECT_EQ(table->toc_next, nullptr);
}

TEST_P(Open, ContinuesIfTheStoreRefusesTheKey) {
    TraceCapture trace;
    services.always_fail("loam_set_key");
    kel_table *made = s.plain.open(handle, tx, "other", 0, &err);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(err, 0U);
    EXPECT_TRUE(trace.has(KEL_TRACE_ERROR, "(ERR): table TOC loam set key failed")) << trace.all();
    EXPECT_EQ(table->toc_next, made);
    EXPECT_EQ(s.plain.open(handle, tx, "other", 1, &err), nullptr);
}

TEST_P(Open, ContinuesWithoutAMapping) {
    const std::string text =
        std::string("(ERR): Failed to create mapping for ") + s.name + " table";
    for (const bool has_error : {false, true}) {
        SCOPED_TRACE(has_error);
        if (has_error) services.always_fail("kel_oid_mapping_create");
        else services.always_return("kel_oid_mapping_create", 0);
        TraceCapture trace;
        EXPECT_NE(s.plain.open(handle, tx, has_error ? "failed" : "null", 0, &err), nullptr);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(trace.count(KEL_TRACE_ERROR, text), 1U) << trace.all();
        services.stop_failing();
    }
}

TEST_P(Open, ClearsTheErrorRegistersTheTraceModuleAndLooksTheNameUp) {
    for (const u32 open_only : {0U, 1U}) {
        handle->last_error = EINVAL;
        services.clear();
        EXPECT_EQ(s.plain.open(handle, tx, "t", open_only, &err), table);
        EXPECT_EQ(handle->last_error, 0U);
        EXPECT_EQ(services.order(),
                  "kel_clear_last_error ptrail_module_init_fn kellib_database_table_toc_create "
                  "loam_get_key");
        EXPECT_EQ(services.calls()[1].text, "kel_tarnbase_type");
        EXPECT_EQ(services.calls()[3].text, stored_name("t"));
    }
}

TEST_P(Open, ZeroesTheBlock) {
    HookRecorder hooks(handle);
    hooks.fill_allocations(true);
    kel_table *made = s.plain.open(handle, tx, "filled", 0, &err);
    ASSERT_NE(made, nullptr);
    kel_table expected = {};
    expected.descriptor = made->descriptor;
    std::strcpy(expected.table_name, stored_name("filled").c_str());
    expected.toc_prev = &table->toc_next;
    EXPECT_EQ(0, std::memcmp(&expected.variant, &made->variant, 3));
    const std::size_t named = offsetof(kel_table, table_name);
    EXPECT_EQ(0, std::memcmp(reinterpret_cast<u8 *>(&expected) + named,
                             reinterpret_cast<u8 *>(made) + named, sizeof expected - named));
}

TEST_P(Open, ClearsTheRangeThatItRegistered) {
    services.at_each = [](const ServiceCall &call) {
        if (call.name == "loam_set_range") *call.pointer<u64>(1) = 7;
    };
    kel_table *made = s.plain.open(handle, tx, "ranged", 0, &err);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->range_word, 0U);
}

TEST_P(Open, FillsTheBlockBeforeItIsStored) {
    bool linked = false;
    services.at_each = [&](const ServiceCall &call) {
        if (call.name != "loam_set_key") return;
        const kel_table *made = table->toc_next;
        linked = made != nullptr && made->descriptor != nullptr &&
                 stored_name("made") == made->table_name;
    };
    s.plain.open(handle, tx, "made", 0, &err);
    EXPECT_TRUE(linked);
}

TEST_P(Open, InTheCrFormUsesTheHandlesErrorAndTransaction) {
    handle->cr_tx_id = 43;
    const std::string name(255, 'n');
    EXPECT_EQ(s.cr.open(handle, 0, KEL_OPEN_BY_NAME, name.c_str(), 0), nullptr);
    EXPECT_EQ(handle->last_error, E2BIG);
    EXPECT_EQ(s.cr.open(handle, 0, KEL_OPEN_BY_NAME, "t", 0), nullptr) << "an error sticks";
    kel_clear_last_error(handle);
    services.clear();
    EXPECT_NE(s.cr.open(handle, 0, KEL_OPEN_BY_NAME, "made", 0), nullptr);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(services.calls("kel_oid_mapping_create").at(0).tx_id(), 43U);
    handle->cr_tx_id = KEL_TX_NONE;
}

TEST_P(Open, CloseOnlyClearsTheLastError) {
    const kel_table before = *table;
    handle->last_error = EINVAL;
    HookRecorder hooks(handle);
    s.plain.close(handle, tx, table, &err);
    EXPECT_EQ(handle->last_error, 0U);
    s.unsafe.close(handle, tx, table, &err);
    s.cr.close(handle, table);
    EXPECT_EQ(err, 0U);
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(0, std::memcmp(&before, table, sizeof before));
    handle->last_error = EINVAL;
    s.cr.close(handle, table);
    EXPECT_EQ(handle->last_error, EINVAL);
}

class OpenOfTwoTables : public LdapTest {};

TEST_F(OpenOfTwoTables, WithTheSamePathReturnsTheBlockOfTheFirst) {
    kel_table *first = tbl_ldap_conn_table_open(handle, tx, "shared/path", 0, &err);
    EXPECT_EQ(tbl_ldap_stats_table_open(handle, tx, "shared/path", 0, &err), first);
    EXPECT_STREQ(first->descriptor->name, "tbl_ldap_conn");
    EXPECT_NE(tbl_ldap_stats_table_open(handle, tx, "t", 0, &err), table);
}

using OpenDeathTest = LdapTest;

TEST_F(OpenDeathTest, ARefusedRangeEndsTheProcess) {
    // The store traces its failure first. Only 1 is success.
    for (const u32 result : {0U, 2U}) {
        services.always_return("loam_set_range", result);
        EXPECT_DEATH(s.plain.open(handle, tx, "other", 0, &err),
                     "\\(ERR\\): .*\\(FATAL\\): loam internal error");
    }
}

}  // namespace
}  // namespace tarn::test
