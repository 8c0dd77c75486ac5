// SPDX-License-Identifier: Apache-2.0
// Replicas of a store that keeps a journal.
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "tarnbase/tarn/journal.hpp"
#include "tarnbase/tarn/replica.hpp"
#include "tests/shared/replica.h"

namespace shared_test {
namespace {

TEST_F(Replicas, NameTheAuthorIfTheStoreKeepsAJournal) {
    Connections::create(path, {{"a", 1}});
    Child writer(turns(path, {[](Connections &all) { keep_journal(all); },
                              [](Connections &all) {
                                  tarn::transaction transaction(all.session);
                                  all.set("a", 2);
                                  const std::uint32_t tx = all.session.c_handle()->cr_tx_id;
                                  kel_transaction_label(all.session.c_handle(), tx, "line 7");
                                  transaction.commit();
                              }}));
    turn(writer);
    Replica replica(path);
    turn(writer);
    while (replica.advance() == 0 && replica.last.change_count == 0) {
    }
    EXPECT_EQ(replica.changes(), Texts{"~a 1 2"});
    EXPECT_EQ(replica.last.pid, static_cast<std::uint32_t>(writer.pid()));
    EXPECT_EQ(replica.last.uid, ::getuid());
    EXPECT_STREQ(replica.last.label, "line 7");
    EXPECT_NE(replica.last.command, nullptr);
    EXPECT_NE(replica.last.time, 0U);
    EXPECT_EQ(writer.join(), 0);
}

TEST_F(Replicas, AreFoundByTime) {
    Connections::create(path, {{"a", 1}});
    std::uint64_t before = 0;
    EXPECT_EQ(kel_replica_sequence_at(path.c_str(), ~0ULL, &before), std::uint32_t{ENODATA})
        << kel_error_text();
    {
        Connections all(path);
        kel_journal_settings settings{};
        settings.enabled = 1;
        ASSERT_EQ(kel_store_set_journal(all.store.c_store(), &settings), 0U) << kel_error_text();
        for (std::uint32_t i = 2; i < 300; ++i) {
            all.commit("a", i);
            if (i % 100 != 0) continue;
            ASSERT_EQ(kel_store_checkpoint(all.store.c_store()), 0U) << kel_error_text();
        }
    }
    std::uint64_t oldest = 0;
    EXPECT_EQ(kel_replica_sequence_at(path.c_str(), 1, &oldest), std::uint32_t{EOVERFLOW});
    // The kernel's clock may have been a tick behind when it made them.
    for (const auto &entry : std::filesystem::directory_iterator(path)) {
        if (!entry.path().filename().string().starts_with("checkpoint-")) continue;
        std::filesystem::last_write_time(entry,
                                         entry.last_write_time() - std::chrono::milliseconds(9));
    }
    Replica replica(path, KEL_REPLICA_OLDEST);
    std::uint64_t seen = 0;
    while (replica.advance() == 0) {
        const kel_replica_transaction last = replica.last;
        if (last.time == 0) continue;
        std::uint64_t found = 0;
        ASSERT_EQ(kel_replica_sequence_at(path.c_str(), last.time, &found), 0U) << kel_error_text();
        ASSERT_EQ(found, last.sequence);
        if (seen != 0) {
            ASSERT_EQ(kel_replica_sequence_at(path.c_str(), last.time - 1, &found), 0U);
            ASSERT_EQ(found, seen);
        }
        seen = last.sequence;
    }
    EXPECT_GE(seen, 298U);
    std::uint64_t newest = 0;
    EXPECT_EQ(kel_replica_sequence_at(path.c_str(), ~0ULL, &newest), 0U);
    EXPECT_EQ(newest, seen);
    EXPECT_EQ(kel_replica_sequence_at("none.store", 1, &newest), std::uint32_t{ENOENT});
}

TEST_F(Replicas, KnowTheCommandOfASessionThatBeganBefore) {
    Connections::create(path, {{"a", 1}});
    {
        Connections all(path);
        kel_journal_settings settings{};
        settings.enabled = 1;
        ASSERT_EQ(kel_store_set_journal(all.store.c_store(), &settings), 0U) << kel_error_text();
        for (std::uint32_t i = 2; i < 10; ++i) all.commit("a", i);
    }
    const std::uint64_t newest = Replica(path).sequence();
    Replica replica(path, newest - 1);
    ASSERT_EQ(replica.advance(), 0U);
    ASSERT_NE(replica.last.command, nullptr);
    EXPECT_NE(std::string(replica.last.command), "");
}

// Inserts records that need more than a checkpoint's distance of log, and makes a checkpoint.
void fill(Connections &all, char name) {
    constexpr int records = 40;
    const std::string text(32 << 10, name);
    for (int i = 0; i < records; ++i) all.commit(text + std::to_string(i), 1);
    need(kel_store_compact(all.store.c_store()) == 0, kel_error_text());
}

TEST_F(Replicas, CanBeginAtAnOlderCheckpointThatIsKept) {
    Connections::create(path, {{"a", 1}});
    std::vector<std::uint64_t> ends;
    for (const char name : {'x', 'y', 'z'}) {
        {
            Connections all(path);
            if (name == 'x') keep_journal(all);
            all.commit("a", static_cast<std::uint32_t>(2 + ends.size()));
        }
        ends.push_back(Replica(path).sequence());
        Connections all(path);
        fill(all, name);
    }
    EXPECT_GE(tarn::try_describe_journal(Connections(path).store).value().checkpoints, 3U);
    for (std::size_t i = 0; i < ends.size(); ++i) {
        Replica replica(path, ends[i]);
        EXPECT_EQ(replica.sequence(), ends[i]);
        std::size_t inserted = 0;
        std::string changed;
        for (const std::string &each : replica.all_changes()) {
            if (each[0] == '+') ++inserted;
            else changed += each + ' ';
        }
        EXPECT_EQ(inserted, 40 * (ends.size() - i));
        EXPECT_EQ(changed, i == 0 ? "~a 2 3 ~a 3 4 " : i == 1 ? "~a 3 4 " : "");
    }
    Replica oldest(path, KEL_REPLICA_OLDEST);
    EXPECT_LE(oldest.sequence(), ends[0]);
    EXPECT_EQ(oldest.all_changes().back()[0], '+');
}

TEST_F(Replicas, ReadACompressedJournal) {
    Connections::create(path, {{"a", 1}});
    {
        Connections all(path);
        keep_journal(all);
        for (const char name : {'x', 'y'}) fill(all, name);
    }
    const auto changes_since_the_oldest = [&] {
        Replica replica(path, KEL_REPLICA_OLDEST);
        Texts texts;
        while (replica.advance() == 0) {
            for (const std::string &each : replica.changes()) {
                texts.push_back(
                    each + " by " +
                    (replica.last.command != nullptr ? replica.last.command : "nobody"));
            }
        }
        return texts;
    };
    const Texts plain = changes_since_the_oldest();
    EXPECT_EQ(plain.size(), 81U);  // The first one is that of the table.
    {
        const Connections all(path);
        kel_journal_settings settings{};
        settings.enabled = KEL_JOURNAL_COMPRESSED;
        tarn::set_journal(all.store, settings);
        EXPECT_GE(tarn::try_describe_compression(all.store).value().segments, 5U);
    }
    EXPECT_EQ(changes_since_the_oldest(), plain);
}

// A module of one item, which lasts as long as this.
class Module {
 public:
    explicit Module(std::uint32_t length) {
        variant_.used_length = length;
        kel_module_list &list = kel_module_tot_root;
        *list.last = &record_;
        record_.link_prev = list.last;
        list.last = &record_.link_next;
        ++list.count;
    }
    Module(const Module &) = delete;
    Module &operator=(const Module &) = delete;
    ~Module() {
        kel_module_list &list = kel_module_tot_root;
        *record_.link_prev = nullptr;
        list.last = record_.link_prev;
        --list.count;
    }

 private:
    kel_variant_usage variant_{};
    kel_variant_info variants_{1, &variant_};
    kel_type_info type_{KEL_TYPE_INFO_MAGIC, {},         {}, "st_example", "example", "type",
                        KEL_TYPE_SLOT_NONE,  &variants_, 0};
    const kel_type_info *descriptors_[2] = {&type_, nullptr};
    kel_module_record record_{"example", descriptors_, nullptr, nullptr};
};

TEST_F(Replicas, RefuseAJournalThatWasWrittenWithAnotherSchema) {
    Connections::create(path, {{"a", 1}});
    { keep_journal(Connections(path)); }
    const std::uint64_t before = Replica(path).sequence();
    {
        const Module module(24);
        Connections(path).commit("a", 2);
    }
    // Without that module, and with it, the journal can be read.
    EXPECT_EQ(Replica(path, before).all_changes(), Texts{"~a 1 2"});
    {
        const Module same(24);
        EXPECT_EQ(Replica(path, before).all_changes(), Texts{"~a 1 2"});
    }
    const Module other(32);
    Replica replica(path, before);
    EXPECT_EQ(replica.advance(), std::uint32_t{EPROTO});
    EXPECT_EQ(std::string(kel_error_text()),
              path + ": transaction " + std::to_string(before + 1) +
                  " was written with another schema of example. A program with that schema can "
                  "read it");
    EXPECT_EQ(replica.advance(), std::uint32_t{EPROTO});
    EXPECT_EQ(replica.sequence(), before);
}

TEST_F(Replicas, RefuseAStateThatWasWrittenWithAnotherSchema) {
    Connections::create(path, {{"a", 1}});
    { keep_journal(Connections(path)); }
    {
        const Module module(24);
        Connections all(path);
        all.commit("a", 2);
        EXPECT_EQ(kel_store_checkpoint(all.store.c_store()), 0U) << kel_error_text();
    }
    const Module other(32);
    kel_replica *none = nullptr;
    EXPECT_EQ(kel_replica_open(path.c_str(), tarnbase_table_get_vft, KEL_REPLICA_NEWEST, &none),
              std::uint32_t{EPROTO});
    EXPECT_EQ(none, nullptr);
}

}  // namespace
}  // namespace shared_test
