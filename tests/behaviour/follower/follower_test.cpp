// SPDX-License-Identifier: Apache-2.0
// A process that follows a store has the bytes that the writer has: what the library and the
// runtime store is in the log, announced or not.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "frame/schema.h"
#include "tests/behaviour/follower/arena.h"
#include "tests/behaviour/follower/replica.h"
#include "tests/behaviour/follower/texts.h"
#include "tests/behaviour/follower/writer.h"
#include "tests/support/module.h"
#include "tests/support/temporary_directory.h"
#include "tests/unit/runtime_store/peer.h"

namespace tarn::test {
namespace {

constexpr std::uint64_t default_seed = 20260;
constexpr std::uint64_t default_steps = 1500;

std::uint64_t number_from(const char *variable, std::uint64_t otherwise) {
    const char *text = std::getenv(variable);
    return text != nullptr ? std::strtoull(text, nullptr, 0) : otherwise;
}

// The other process: does what is requested in each turn.
int follow(Peer &peer, const char *path) {
    Shared &shared = *static_cast<Shared *>(const_cast<void *>(peer.context()));
    kel_store *store = nullptr;
    std::optional<ReplicaModel> replica;
    while (peer.await()) {
        switch (shared.request()) {
            case Request::open_again:
                kel_store_close(store);
                TARN_PEER_EXPECT(kel_store_open(path, &store) == 0);
                shared.put(store);
                break;
            case Request::refresh:
                TARN_PEER_EXPECT(kel_store_refresh(store) == 0);
                shared.put(store);
                break;
            case Request::texts:
                shared.put(texts_of(store));
                break;
            case Request::replicate:
                if (!replica) replica.emplace(path);
                shared.put(replica->advance());
                break;
            case Request::compare:
                TARN_PEER_EXPECT(replica->differences() == "");
                shared.put(replica->store());
                break;
            case Request::end:
                kel_store_close(store);
                return 0;
        }
        TARN_PEER_EXPECT(peer.tell());
    }
    return 1;
}

class Follower : public ::testing::Test {
 protected:
    Follower() {
        kel_trace_set_sink([](void *, std::uint16_t, std::uint32_t, const char *) {}, nullptr);
        // Forked before the store is open: its address range can be mapped once in a process.
        peer_.emplace(follow, path_.c_str(), &shared_);
        const kel_store_options options{arena_capacity, nullptr};
        if (kel_store_create(path_.c_str(), &options, &store_) != 0) {
            throw std::runtime_error(kel_error_text());
        }
        writer_.emplace(seed_, store_);
    }
    ~Follower() override {
        writer_.reset();
        kel_store_close(store_);
        tarnbase::forget_table_roots();
        peer_.reset();
    }

    void turn(Request request) {
        shared_.set_request(request);
        ASSERT_TRUE(peer_->tell() && peer_->await()) << "step " << step_ << ", seed " << seed_;
    }
    void expect_equal_bytes(Request request) {
        ASSERT_NO_FATAL_FAILURE(turn(request));
        const std::string differences = shared_.differences(*store_);
        ASSERT_EQ(differences, "")
            << "step " << step_ << ", seed " << seed_ << ": " << writer_->history();
    }
    void expect_equal_texts() {
        ASSERT_NO_FATAL_FAILURE(turn(Request::texts));
        ASSERT_TRUE(shared_.text() == texts_of(store_)) << "seed " << seed_;
    }
    void end() {
        shared_.set_request(Request::end);
        ASSERT_TRUE(peer_->tell());
        EXPECT_EQ(peer_->join(), 0);
    }

    Shared shared_;
    const std::uint64_t seed_ = number_from("TARNBASE_FOLLOWER_SEED", default_seed);
    const std::uint64_t steps_ = number_from("TARNBASE_FOLLOWER_STEPS", default_steps);
    std::uint64_t step_ = 0;
    const TemporaryDirectory directory_;
    const std::string path_ = directory_ / "test.store";
    std::optional<Peer> peer_;
    kel_store *store_ = nullptr;
    std::optional<Writer> writer_;
};

TEST_F(Follower, HasTheWritersBytesAfterEachCommit) {
    writer_->prepare();
    ASSERT_NO_FATAL_FAILURE(expect_equal_bytes(Request::open_again));
    for (step_ = 0; step_ < steps_; ++step_) {
        writer_->step();
        ASSERT_NO_FATAL_FAILURE(expect_equal_bytes(Request::refresh));
    }
    expect_equal_texts();
    ASSERT_NO_FATAL_FAILURE(expect_equal_bytes(Request::refresh));
    end();
}

TEST_F(Follower, OpenedAfreshHasTheWritersBytes) {
    writer_->prepare();
    for (step_ = 0; step_ < steps_; ++step_) {
        writer_->step();
        if (step_ % 50 != 49) continue;
        ASSERT_NO_FATAL_FAILURE(expect_equal_bytes(Request::open_again));
        if (step_ % 100 != 99) continue;
        const std::uint32_t error = kel_store_checkpoint(store_);
        ASSERT_TRUE(error == 0 || error == EBUSY) << kel_error_text();
        ASSERT_NO_FATAL_FAILURE(expect_equal_bytes(Request::open_again));
    }
    expect_equal_texts();
    end();
}

TEST_F(Follower, AReplicaReportsEachChangeOfARecord) {
    writer_->prepare();
    for (step_ = 0; step_ < steps_; ++step_) {
        ASSERT_NO_FATAL_FAILURE(turn(Request::replicate));
        ASSERT_EQ(shared_.text(), "")
            << "step " << step_ << ", seed " << seed_ << ": " << writer_->history();
        writer_->step();
        if (step_ % 20 != 19) continue;
        ASSERT_NO_FATAL_FAILURE(turn(Request::replicate));
        ASSERT_EQ(shared_.text(), "") << "step " << step_ << ", seed " << seed_;
        ASSERT_NO_FATAL_FAILURE(expect_equal_bytes(Request::compare));
    }
    end();
}

}  // namespace
}  // namespace tarn::test
