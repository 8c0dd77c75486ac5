// SPDX-License-Identifier: Apache-2.0
// What a repair mends, and what it leaves.
#include <cerrno>
#include <functional>

#include "catalogue/catalogue.h"
#include "runtime/store/store.h"
#include "runtime/tenant/counters.h"
#include "tarnbase/module.h"
#include "tests/support/module.h"
#include "tests/unit/runtime_check/checked_store.h"
#include "tests/unit/runtime_check/crafted_store.h"

namespace tarn::test {
namespace {

using namespace tarnbase::runtime;

class Repair : public CraftedStore {
 protected:
    // Changes the store as its writer, and returns what a check finds then.
    std::string damage(const std::function<void(kel_handle *, kel_store &)> &change) {
        return with_store([&](kel_store *store) {
            kel_handle *handle = nullptr;
            require(kel_handle_create(store, 1, &handle));
            require(kel_store_lock(store));
            change(handle, *store);
            require(kel_store_unlock(store));
            kel_handle_destroy(handle);
        });
    }
    std::string findings() {
        return with_store([](kel_store *) {});
    }
    std::uint32_t repair() { return kel_store_repair(path_.c_str(), tarnbase_table_get_vft); }

    // Removes the program's own memory, which may lead to more.
    void forget_own() {
        damage([](kel_handle *handle, kel_store &) {
            void *own = loam_get_key(handle->arena, "own");
            loam_set_key(handle->arena, "own", nullptr);
            handle->free_hook(handle->arena, KEL_TX_NONE, own);
        });
    }
    static void set(kel_handle *handle, std::uint32_t &place, std::uint32_t value) {
        handle->write_log_hook(handle->arena, &place, sizeof place, KEL_TX_NONE);
        place = value;
    }
    static kel_table *named(kel_store &store, const std::string &name) {
        kel_table *table = store.header->tables.first;
        while (!std::string(table->table_name).starts_with(name)) table = table->toc_next;
        return table;
    }
    static TenantCounters *counters(kel_table *table) {
        return reinterpret_cast<TenantCounters *>(table->tenant_counters);
    }

 private:
    std::string with_store(const std::function<void(kel_store *)> &use) {
        kel_store *store = nullptr;
        require(kel_store_open(path_.c_str(), &store));
        use(store);
        std::string found = joined(findings_of(store));
        kel_store_close(store);
        tarnbase::forget_table_roots();
        return found;
    }
};

TEST_F(Repair, OfASoundStoreChangesNothing) {
    EXPECT_EQ(repair(), 0U) << kel_error_text();
    EXPECT_EQ(findings(), "");
}

TEST_F(Repair, CountsRecordsAndSources) {
    const std::string found = damage([](kel_handle *handle, kel_store &store) {
        kel_table *table = store.header->tables.first;
        set(handle, table->record_count, 1000);
        set(handle, table->src_counts[1], 0);
        set(handle, table->src_counts[200], 7);
    });
    EXPECT_NE(found.find("it counts 1000 records, its tree has 3"), std::string::npos) << found;
    EXPECT_NE(found.find("it counts 7 records of source 200, its tree has 0"), std::string::npos);
    EXPECT_EQ(repair(), 0U) << kel_error_text();
    EXPECT_EQ(findings(), "");
}

class RepairTenants : public Repair {
 protected:
    // A record of tenant 3.
    RepairTenants() {
        damage([](kel_handle *handle, kel_store &) {
            const auto &type = *tarnbase::catalogue::schema.table("tbl_ldap_conn");
            std::uint32_t error = 0;
            kel_thread_set_tenant(3);
            kel_table *table = type.open(handle, KEL_TX_NONE, "tenants", 0, &error);
            kel_record *record = type.create_record(handle, KEL_TX_NONE, 2, &error);
            type.set_object(handle, KEL_TX_NONE, record, type.type->create(handle, KEL_TX_NONE));
            type.insert(handle, KEL_TX_NONE, table, record, &error);
            kel_thread_set_tenant(0);
            require(error);
        });
    }
};

TEST_F(RepairTenants, CountsTheirRecords) {
    EXPECT_EQ(findings(), "");
    const std::string found = damage([](kel_handle *handle, kel_store &store) {
        TenantCounters *counted = counters(named(store, "tenants/"));
        set(handle, counted->total, 5);
        set(handle, counted->by_source[2], 0);
    });
    EXPECT_NE(found.find("it counts 5 records of tenant 3, its tree has 1"), std::string::npos)
        << found;
    EXPECT_NE(found.find("it counts 0 records of tenant 3 and source 2, its tree has 1"),
              std::string::npos)
        << found;
    EXPECT_EQ(repair(), 0U) << kel_error_text();
    EXPECT_EQ(findings(), "");
}

TEST_F(RepairTenants, CountsThoseThatHaveNoCounters) {
    const std::string found = damage([](kel_handle *handle, kel_store &store) {
        drop_tenant_counters(handle, KEL_TX_NONE, named(store, "tenants/"));
    });
    EXPECT_NE(found.find("it doesn't count the 1 records of tenant 3 in its tree"),
              std::string::npos)
        << found;
    EXPECT_EQ(repair(), 0U) << kel_error_text();
    EXPECT_EQ(findings(), "");
}

TEST_F(Repair, FreesMemoryThatNothingRefersTo) {
    forget_own();
    const auto leak = [](kel_handle *handle, kel_store &) {
        handle->alloc_hook(handle->arena, KEL_TX_NONE, 500);
        handle->alloc_hook(handle->arena, KEL_TX_NONE, 300000);
    };
    EXPECT_NE(damage(leak).find("it is lost"), std::string::npos);
    EXPECT_EQ(repair(), 0U) << kel_error_text();
    EXPECT_EQ(findings(), "");
}

TEST_F(Repair, DestroysRecordsThatAreInNoTable) {
    forget_own();
    const std::string found = damage([](kel_handle *handle, kel_store &) {
        const auto &type = *tarnbase::catalogue::schema.table("tbl_ldap_conn");
        std::uint32_t error = 0;
        kel_record *record = type.create_record(handle, KEL_TX_NONE, 1, &error);
        void *object = type.type->create(handle, KEL_TX_NONE);
        const std::string text(200, 'x');
        kel_vstring value{};
        kel_vstring_refer(&value, text.data(), static_cast<std::uint32_t>(text.size()));
        type.key_field->call.set(handle, KEL_TX_NONE, object, &value, &error);
        type.set_object(handle, KEL_TX_NONE, record, object);
        require(error);
    });
    EXPECT_NE(found.find("which is in no table: it is lost"), std::string::npos) << found;
    EXPECT_EQ(repair(), 0U) << kel_error_text();
    EXPECT_EQ(findings(), "");
}

// A program's own memory may lead to what the store doesn't know.
TEST_F(Repair, LeavesMemoryThatAProgramMayUse) {
    const auto leak = [](kel_handle *handle, kel_store &) {
        handle->alloc_hook(handle->arena, KEL_TX_NONE, 500);
    };
    const std::string found = damage(leak);
    EXPECT_EQ(repair(), 0U) << kel_error_text();
    EXPECT_EQ(findings(), found);
}

TEST_F(Repair, LeavesMemoryIfSomethingElseIsWrong) {
    forget_own();
    damage([](kel_handle *handle, kel_store &store) {
        handle->alloc_hook(handle->arena, KEL_TX_NONE, 500);
        set(handle, store.header->tables.first->record_count, 9);
        handle->write_log_hook(handle->arena, &store.header->texts.entries, 8, KEL_TX_NONE);
        store.header->texts.entries += 1;
    });
    EXPECT_EQ(repair(), 0U) << kel_error_text();
    const std::string left = findings();
    EXPECT_EQ(left.find("it counts 9 records"), std::string::npos) << left;
    EXPECT_NE(left.find("nothing refers to its"), std::string::npos) << left;
    EXPECT_NE(left.find("entries, but counts"), std::string::npos) << left;
}

TEST_F(Repair, UsesAnOlderCheckpointIfTheLogIsWhole) {
    append([](FrameBuilder &frame) {
        const char bytes[8] = {1};
        frame.write(counters_offset, bytes);
    });
    CheckpointHead newer = head_;
    newer.position = control_.page().published;
    newer.sequence += 1;
    require(write_checkpoint(folder_.descriptor(), newer, bytes_));
    control_.page().checkpoint = newer.position;
    const std::filesystem::path damaged = path_ / checkpoint_name(newer.position);
    std::filesystem::resize_file(damaged, 5000);
    expect_refusal("can't be used");
    EXPECT_EQ(repair(), 0U) << kel_error_text();
    EXPECT_EQ(findings(), "");
    EXPECT_FALSE(std::filesystem::exists(damaged));
    EXPECT_FALSE(std::filesystem::exists(checkpoint_));
}

TEST_F(Repair, LeavesADamagedCheckpointThatIsTheOnlyOne) {
    flip(checkpoint_, head_.image_offset + 300);
    EXPECT_EQ(repair(), std::uint32_t{EBADMSG});
    EXPECT_TRUE(std::filesystem::exists(checkpoint_));
    kel_store *store = nullptr;
    EXPECT_EQ(kel_store_open(path_.c_str(), &store), std::uint32_t{EBADMSG});
}

TEST_F(Repair, RemovesTheFilesThatAKilledProcessLeft) {
    const std::filesystem::path left = checkpoint_.string() + ".new.1.0";
    std::filesystem::copy(checkpoint_, left);
    EXPECT_EQ(repair(), 0U) << kel_error_text();
    EXPECT_FALSE(std::filesystem::exists(left));
}

}  // namespace
}  // namespace tarn::test
