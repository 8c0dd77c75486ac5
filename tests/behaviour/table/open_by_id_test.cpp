// SPDX-License-Identifier: Apache-2.0
// Tables opened by id. A table's root is cached for the whole process, so each of these
// tests runs in its own process.
#include <cerrno>
#include <string>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {
namespace {

class OpenById : public TableTest {
 protected:
    std::string root_key() { return std::string("__kel_TBI__") + s.luid_text; }
    kel_table_id_root *root() {
        return static_cast<kel_table_id_root *>(loam_get_key(handle->arena, root_key().c_str()));
    }
    // A root made by another process: it is in the store and not in this process's cache.
    kel_table_id_root *root_of_another_process() {
        auto *made = static_cast<kel_table_id_root *>(
            handle->alloc_hook(handle->arena, tx, sizeof(kel_table_id_root)));
        *made = {};
        loam_set_key(handle->arena, root_key().c_str(), made);
        services.clear();
        return made;
    }
};
TARN_EACH_TABLE_AND_MODE(OpenById);

TEST_P(OpenById, FindsABlockAgainByItsId) {
    in_own_process([&] {
        kel_table *made = s.plain.open_by_id(handle, tx, 42, 0, &err);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(made->table_id, 42U);
        EXPECT_EQ(made->open_mode, KEL_OPEN_BY_ID);
        EXPECT_STREQ(made->table_name, "");
        EXPECT_EQ(table->toc_next, made);
        for (const u32 open_only : {0U, 1U}) {
            for (const Operations *form : {&s.plain, &s.unsafe}) {
                EXPECT_EQ(form->open_by_id(handle, tx, 42, open_only, &err), made);
                EXPECT_EQ(form->open_by_ior_with_id(handle, tx, 42, 7, open_only, &err), made);
            }
            EXPECT_EQ(s.cr.open(handle, open_only, KEL_OPEN_BY_ID, nullptr, 42), made);
        }
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 43, 1, &err), nullptr);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(root()->id_table_count, 1U);
    });
}

TEST_P(OpenById, NumbersAutomaticIdsUpwardFromZero) {
    in_own_process([&] {
        kel_table *first = s.plain.open_auto_id(handle, tx, 0, &err);
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(first->table_id, 0U);
        EXPECT_EQ(first->open_mode, KEL_OPEN_AUTO_ID);
        EXPECT_EQ(s.unsafe.open_auto_id(handle, tx, 0, &err)->table_id, 1U);
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 70, 0, &err)->table_id, 70U);
        kel_table *fourth = s.plain.dynamic_open_auto_id(handle, tx, 0, &err);
        EXPECT_EQ(fourth->table_id, 3U);
        EXPECT_EQ(root()->next_id, 4U);
        EXPECT_EQ(root()->id_table_count, 4U);

        s.plain.free(handle, tx, fourth, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(root()->id_table_count, 3U);
        EXPECT_EQ(root()->next_id, 4U);
        EXPECT_EQ(s.plain.open_auto_id(handle, tx, 0, &err)->table_id, 4U);
        // An automatic id's block is found by that id.
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 0, 1, &err), first);
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 3, 1, &err), nullptr);
    });
}

TEST_P(OpenById, DoesNotCheckWhetherAnAutomaticIdIsInUse) {
    in_own_process([&] {
        kel_table *given = s.plain.open_by_id(handle, tx, 1, 0, &err);
        kel_table *automatic = s.plain.open_auto_id(handle, tx, 0, &err);
        EXPECT_EQ(automatic->table_id, 1U);
        EXPECT_NE(automatic, given);
        EXPECT_EQ(err, 0U);
    });
}

TEST_P(OpenById, WithOpenOnlyCreatesTheRoot) {
    in_own_process([&] {
        EXPECT_EQ(root(), nullptr);
        EXPECT_EQ(s.plain.open_auto_id(handle, tx, 1, &err), nullptr);
        EXPECT_EQ(err, 0U);
        ASSERT_NE(root(), nullptr);
        EXPECT_EQ(root()->next_id, 0U);
        EXPECT_EQ(root()->id_table_count, 0U);
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 5, 1, &err), nullptr);
        EXPECT_EQ(s.plain.dynamic_open_auto_id(handle, tx, 1, &err), nullptr);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(table->toc_next, nullptr);
    });
}

TEST_P(OpenById, CreatesRootAndBlockOutsideTheCallersTransaction) {
    in_own_process([&] {
        begin();
        HookRecorder hooks(handle);
        u64 looked_for = 0;
        services.at_each = [&](const ServiceCall &call) {
            if (call.name != "tbi_rb_tree_LM_RB_FIND") return;
            looked_for = call.pointer<const kel_table>(3)->table_id;
        };
        services.clear();
        kel_table *made = s.plain.open_by_id(handle, tx, 9, 0, &err);
        const auto allocations = hooks.of(Hook::alloc);
        ASSERT_EQ(allocations.size(), 2U);
        EXPECT_EQ(allocations[0].address, root());
        EXPECT_EQ(allocations[0].length, sizeof(kel_table_id_root));
        EXPECT_EQ(allocations[0].tx_id, KEL_TX_NONE);
        EXPECT_EQ(allocations[1].address, made);
        EXPECT_EQ(allocations[1].tx_id, KEL_TX_NONE);
        EXPECT_EQ(hooks.count(Hook::write_log), 0U);
        EXPECT_EQ(services.calls("tbi_rb_tree_LM_RB_FIND").at(0).tx_id(), KEL_TX_NONE);
        EXPECT_EQ(looked_for, 9U);
        EXPECT_EQ(services.calls("tbi_rb_tree_LM_RB_INSERT").at(0).tx_id(), KEL_TX_NONE);
        EXPECT_EQ(services.calls("loam_set_key").at(0).text, root_key());
        EXPECT_EQ(services.count("loam_set_key"), 1U);
        rollback();
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 9, 1, &err), made);
        s.plain.free(handle, 7, made, &err);
        EXPECT_EQ(services.calls("tbi_rb_tree_LM_RB_REMOVE").at(0).tx_id(), 7U);
    });
}

TEST_P(OpenById, LooksTheRootUpInTheStoreOnce) {
    in_own_process([&] {
        services.clear();
        s.plain.open_by_id(handle, tx, 1, 0, &err);
        s.plain.open_by_id(handle, tx, 2, 0, &err);
        s.plain.open_auto_id(handle, tx, 0, &err);
        EXPECT_EQ(services.count("loam_get_key"), 1U);
        EXPECT_EQ(services.calls("loam_get_key").at(0).text, root_key());
    });
}

TEST_P(OpenById, AnAutomaticIdSearchesNothing) {
    in_own_process([&] {
        s.plain.open_auto_id(handle, tx, 0, &err);
        EXPECT_EQ(services.count("tbi_rb_tree_LM_RB_FIND"), 0U);
    });
}

TEST_P(OpenById, PassesIorAndDynamicToTheMapping) {
    in_own_process([&] {
        services.clear();
        s.plain.open_by_ior_with_id(handle, tx, 5, 77, 0, &err);
        s.plain.dynamic_open_auto_id(handle, tx, 0, &err);
        s.unsafe.dynamic_open_auto_id(handle, tx, 0, &err);
        s.cr.open(handle, 0, KEL_OPEN_AUTO_ID, nullptr, 0);
        std::vector<std::vector<u64>> mappings;
        for (const ServiceCall &call : services.calls("kel_oid_mapping_create")) {
            mappings.push_back(call.arguments_in(3, 6));
        }
        EXPECT_EQ(mappings, (std::vector<std::vector<u64>>{{KEL_OID_KIND_TABLE, 0, 77},
                                                           {KEL_OID_KIND_TABLE, 1, 0},
                                                           {KEL_OID_KIND_TABLE, 1, 0},
                                                           {KEL_OID_KIND_TABLE, 0, 0}}));
    });
}

TEST_P(OpenById, KeepsARootThatTheStoreRefuses) {
    in_own_process([&] {
        TraceCapture trace;
        services.always_fail("loam_set_key");
        kel_table *made = s.plain.open_by_id(handle, tx, 5, 0, &err);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(trace.count(KEL_TRACE_ERROR, "(ERR): Setting tbi root failed\n"), 1U)
            << trace.all();
        services.stop_failing();
        EXPECT_EQ(root(), nullptr);
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 5, 1, &err), made);
    });
}

TEST_P(OpenById, WithoutMemoryReportsEnomemAndKeepsTheRoot) {
    in_own_process([&] {
        HookRecorder hooks(handle);
        hooks.fail_allocations(true);
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 5, 0, &err), nullptr);
        EXPECT_EQ(err, ENOMEM);
        EXPECT_EQ(handle->last_error, ENOMEM);
        EXPECT_EQ(root(), nullptr);
        hooks.fail_allocations(false);
        err = 0;
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 5, 1, &err), nullptr);
        hooks.fail_allocations(true);
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 5, 0, &err), nullptr);
        EXPECT_EQ(err, ENOMEM);
        EXPECT_NE(root(), nullptr);
        EXPECT_EQ(root()->next_id, 0U);
    });
}

TEST_P(OpenById, FreeWithoutARootReportsEnoentAndKeepsTheBlockListed) {
    in_own_process([&] {
        table->open_mode = KEL_OPEN_BY_ID;
        services.clear();
        HookRecorder hooks(handle);
        s.plain.free(handle, tx, table, &err);
        EXPECT_EQ(err, ENOENT);
        // The mapping is removed.
        EXPECT_EQ(services.order({"kel_request_oid_mapping_destroy", "loam_get_key",
                                  "tbi_rb_tree_LM_RB_REMOVE", "loam_delete_key",
                                  "kellib_database_table_toc_create"}),
                  "kel_request_oid_mapping_destroy loam_get_key");
        EXPECT_TRUE(hooks.events.empty());
        EXPECT_EQ(handle->last_error, ENOENT);
        EXPECT_EQ(kel_store_first_table(session.store()), table);
    });
}

TEST_P(OpenById, FreedBlocksAreCountedAndReleased) {
    in_own_process([&] {
        kel_table *made = s.plain.open_auto_id(handle, tx, 0, &err);
        kel_variant_usage &usage = usage_of(made);
        const u64 destroyed = usage.destroyed;
        HookRecorder hooks(handle);
        s.unsafe.free(handle, tx, made, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(usage.destroyed, destroyed + 1);
        EXPECT_EQ(hooks.of(Hook::free).at(0).address, made);
        EXPECT_EQ(services.count("loam_delete_key"), 0U);
        EXPECT_EQ(table->toc_next, nullptr);
    });
}

TEST_P(OpenById, UsesTheRootOfTheStore) {
    in_own_process([&] {
        kel_table_id_root *known = root_of_another_process();
        known->next_id = 70;
        EXPECT_EQ(s.plain.open_auto_id(handle, tx, 0, &err)->table_id, 70U);
        EXPECT_EQ(known->next_id, 71U);
        EXPECT_EQ(known->id_table_count, 1U);
        EXPECT_EQ(services.count("loam_set_key"), 0U);
    });
}

TEST_P(OpenById, FreeFindsTheRootInTheStoreAndCachesIt) {
    in_own_process([&] {
        kel_table_id_root *known = root_of_another_process();
        known->id_table_count = 1;
        table->open_mode = KEL_OPEN_AUTO_ID;
        tbi_rb_tree_LM_RB_INSERT(handle->arena, KEL_TX_NONE, &known->tree_head, table);
        services.clear();
        s.plain.free(handle, 42, table, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(known->id_table_count, 0U);
        EXPECT_EQ(known->next_id, 0U);
        EXPECT_EQ(services.calls("loam_get_key").at(0).text, root_key());
        EXPECT_EQ(services.calls("tbi_rb_tree_LM_RB_REMOVE").at(0).tx_id(), 42U);
        EXPECT_EQ(services.calls("tbi_rb_tree_LM_RB_REMOVE").at(0).pointer<const void>(3), table);
        s.plain.open_by_id(handle, tx, 1, 1, &err);
        EXPECT_EQ(services.count("loam_get_key"), 1U);
    });
}

// A process uses one store per table: the library passes the first root with every handle.
// The runtime refuses it in another store.
TEST_P(OpenById, TheFirstRootIsUsedByTheWholeProcess) {
    in_own_process([&] {
        s.plain.open_by_id(handle, tx, 5, 0, &err);
        const kel_table_id_root *first = root();
        Session elsewhere(GetParam().mode);
        services.clear();
        s.plain.open_by_id(elsewhere.handle(), tx, 5, 1, &err);
        EXPECT_EQ(services.calls("tbi_rb_tree_LM_RB_FIND").at(0).pointer<const void>(2),
                  &first->tree_head);
        EXPECT_EQ(services.count("loam_get_key"), 0U);
        EXPECT_EQ(loam_get_key(elsewhere.handle()->arena, root_key().c_str()), nullptr);
    });
}

TEST_P(OpenById, EveryTableHasItsOwnRoot) {
    in_own_process([&] {
        kel_table *made = s.plain.open_by_id(handle, tx, 5, 0, &err);
        for (const Subject *other : all_subjects) {
            if (other == &s) continue;
            EXPECT_EQ(other->plain.open_by_id(handle, tx, 5, 1, &err), nullptr) << other->name;
            EXPECT_EQ(other->plain.open_auto_id(handle, tx, 0, &err)->table_id, 0U);
        }
        EXPECT_EQ(s.plain.open_by_id(handle, tx, 5, 1, &err), made);
    });
}

TEST_P(OpenById, ZeroesRootAndBlock) {
    in_own_process([&] {
        HookRecorder hooks(handle);
        hooks.fill_allocations(true);
        EXPECT_EQ(s.plain.open_auto_id(handle, tx, 1, &err), nullptr);
        ASSERT_NE(root(), nullptr);
        EXPECT_EQ(root()->reserved, 0U);
        EXPECT_EQ(root()->id_table_count, 0U);
        EXPECT_EQ(root()->next_id, 0U);
        kel_table *made = s.plain.open_auto_id(handle, tx, 0, &err);
        EXPECT_EQ(made->table_id, 0U);
        EXPECT_EQ(made->record_count, 0U);
        EXPECT_STREQ(made->table_name, "");
        EXPECT_EQ(root()->reserved, 0U);
    });
}

// Only the `_cr` form takes any mode.
TEST_P(OpenById, WithAnUnknownModeFindsNothingAndIsFreedLikeAName) {
    in_own_process([&] {
        kel_table *made = s.cr.open(handle, 0, 3, "name", 9);
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(made->open_mode, 3U);
        EXPECT_EQ(made->table_id, 9U);
        EXPECT_STREQ(made->table_name, "");
        EXPECT_EQ(root()->id_table_count, 1U);
        EXPECT_EQ(root()->next_id, 1U);
        EXPECT_EQ(services.count("tbi_rb_tree_LM_RB_FIND"), 0U);
        EXPECT_EQ(s.cr.open(handle, 1, 3, "name", 9), nullptr);
        services.clear();
        s.plain.free(handle, tx, made, &err);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(services.calls("loam_delete_key").at(0).text, "");
        EXPECT_EQ(services.count("tbi_rb_tree_LM_RB_REMOVE"), 0U);
    });
}

TEST_P(OpenById, ClearsTheLastErrorAndMapsInTheCallersTransaction) {
    in_own_process([&] {
        handle->last_error = EINVAL;
        services.clear();
        HookRecorder hooks(handle);
        kel_table *made = s.plain.open_auto_id(handle, 42, 0, &err);
        EXPECT_EQ(handle->last_error, 0U);
        EXPECT_EQ(services.calls("kel_oid_mapping_create").at(0).tx_id(), 42U);
        EXPECT_EQ(services.calls("kel_oid_mapping_create").at(0).pointer<const void>(2), made);
        EXPECT_EQ(services.calls("tbi_rb_tree_LM_RB_INSERT").at(0).pointer<const void>(3), made);
        for (const char *service :
             {"kellib_database_table_toc_create", "tbi_rb_tree_LM_RB_INSERT"}) {
            EXPECT_EQ(services.calls(service).at(0).tx_id(), KEL_TX_NONE) << service;
        }
        EXPECT_EQ(services.calls("loam_set_range").at(0).arguments.at(3), KEL_TX_NONE);
        for (const HookEvent &event : hooks.of(Hook::alloc)) EXPECT_EQ(event.tx_id, KEL_TX_NONE);
        EXPECT_EQ(hooks.count(Hook::write_log), 0U);
        EXPECT_EQ(hooks.count(Hook::delta_log), 0U);
    });
}

}  // namespace
}  // namespace tarn::test
