// SPDX-License-Identifier: Apache-2.0
// What is left of a journal after the machine was started again.
#include <cerrno>
#include <filesystem>

#include "tests/unit/runtime_store/journal_store.h"

namespace tarn::test {
namespace {

TEST_F(Journal, AfterARestartTheLogContinuesInACompressedSegment) {
    std::uint64_t end = 0;
    {
        const OpenStore store(path.c_str());
        make_number(store);
        start(store, compressed());
        count(store, 1, 2);
        fill_log(store, 1);
        count(store, 2, 3);
        ASSERT_EQ(kel_store_compact(store.store), 0U);
    }
    // The disk has neither the newest checkpoint nor the log from there on.
    std::filesystem::remove(path + "/" +
                            runtime::checkpoint_name(Files(path).checkpoints().back().position));
    for (const runtime::SegmentFile &each : segments()) {
        if (each.is_plain) std::filesystem::remove(path + "/" + runtime::segment_name(each.first));
    }
    const std::uint64_t last = segments().back().first;
    restart();
    {
        const OpenStore store(path.c_str());
        ASSERT_EQ(store.error, 0U) << kel_error_text();
        EXPECT_EQ(*store.find("number"), 2U);
        const runtime::SegmentFile continued = segments().back();
        EXPECT_EQ(continued.first, last);
        EXPECT_TRUE(continued.is_plain);
        EXPECT_FALSE(continued.is_compressed);
        end = describe(store).end;
        count(store, 3, 700);
        EXPECT_GT(describe(store).end, end);
    }
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 699U);
}

TEST_F(Journal, AfterARestartTheLogEndsBeforeTheFirstFrameThatIsMissing) {
    std::vector<std::uint64_t> ends;
    {
        const OpenStore store(path.c_str());
        make_number(store);
        for (std::uint64_t i = 1; i <= 8; ++i) {
            count(store, i, i + 1);
            ends.push_back(describe(store).end);
        }
    }
    damage_log(ends[4], 64);  // the frame of number 6
    { EXPECT_EQ(OpenStore(path.c_str()).error, std::uint32_t{EBADMSG}) << "without a restart"; }
    restart();
    {
        const OpenStore store(path.c_str());
        ASSERT_EQ(store.error, 0U) << kel_error_text();
        EXPECT_EQ(*store.find("number"), 5U);
        EXPECT_EQ(describe(store).end, ends[4]);
        // As long as the one that is missing: the frames after it must not continue it.
        count(store, 60, 61);
        EXPECT_EQ(describe(store).end, ends[5]);
    }
    restart();
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 60U);
    EXPECT_EQ(describe(store).end, ends[5]);
}

TEST_F(Journal, AfterARestartTheWordsOfTheControlFileArentTrusted) {
    std::string old;
    {
        const OpenStore store(path.c_str());
        make_number(store);
        count(store, 1, 2);
        old = read_file(path + "/control");
        fill_log(store, 2);
        count(store, 2, 9);
    }
    write_file(path + "/control", old);
    restart();
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 8U);
    count(store, 9, 10);
}

TEST_F(Journal, AfterARestartABrokenCheckpointIsPassedBy) {
    std::uint64_t newest = 0;
    {
        const OpenStore store(path.c_str());
        make_number(store);
        start(store, enabled());
        fill_log(store, 2);
        count(store, 1, 5);
        ASSERT_EQ(kel_store_checkpoint(store.store), 0U);
        newest = Files(path).checkpoints().back().position;
    }
    std::filesystem::resize_file(path + "/" + runtime::checkpoint_name(newest), 5000);
    restart();
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 4U);
    EXPECT_LT(Files(path).checkpoints().back().position, newest);
}

TEST_F(Journal, AfterARestartALogThatIsGoneBeginsAgain) {
    std::uint64_t end = 0;
    {
        const OpenStore store(path.c_str());
        make_number(store);
        count(store, 1, 5);
        ASSERT_EQ(kel_store_compact(store.store), 0U);
        end = describe(store).end;
    }
    const Files files(path);
    for (const runtime::SegmentFile &each : runtime::list_segments(files.folder.descriptor())) {
        std::filesystem::remove(path + "/" + runtime::segment_name(each.first));
    }
    restart();
    {
        const OpenStore store(path.c_str());
        ASSERT_EQ(store.error, 0U) << kel_error_text();
        EXPECT_EQ(*store.find("number"), 4U);
        EXPECT_EQ(describe(store).end, end);
        count(store, 5, 700);
    }
    const OpenStore store(path.c_str());
    ASSERT_EQ(store.error, 0U) << kel_error_text();
    EXPECT_EQ(*store.find("number"), 699U);
}

TEST_F(Journal, AfterARestartAStoreWithoutACheckpointIsRefused) {
    { const OpenStore store(path.c_str()); }
    std::filesystem::remove(path + "/" + runtime::checkpoint_name(0));
    restart();
    EXPECT_EQ(OpenStore(path.c_str()).error, std::uint32_t{EBADMSG});
    EXPECT_NE(std::string(kel_error_text()).find("restart"), std::string::npos);
}

}  // namespace
}  // namespace tarn::test
