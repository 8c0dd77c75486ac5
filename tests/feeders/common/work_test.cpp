// SPDX-License-Identifier: Apache-2.0
//
// A service, and work of it that is tried again.
#include <gtest/gtest.h>

#include <cerrno>
#include <iostream>
#include <sstream>

#include "common/service.h"
#include "common/store.h"

namespace feeder {
namespace {

using std::chrono::milliseconds;

class Works : public testing::Test {
 protected:
    ~Works() override { std::cerr.rdbuf(former_); }

    // After all that is requested now.
    void run_once() {
        service.loop.after(milliseconds(0), [this] {
            service.loop.after(milliseconds(0), [this] { service.loop.stop(); });
        });
        service.run();
    }

    std::ostringstream said;
    std::streambuf *const former_ = std::cerr.rdbuf(said.rdbuf());
    Service service{"feeder", {}};
    int calls = 0;
};

TEST_F(Works, AreDoneOnceForAllRequestsUntilThen) {
    Work work(service, [this] { ++calls; });
    for (int i = 0; i < 3; ++i) work.request();
    EXPECT_EQ(calls, 0);
    run_once();
    EXPECT_EQ(calls, 1);
    work.request();
    run_once();
    EXPECT_EQ(calls, 2);
}

TEST_F(Works, CanBeRequestedWhileTheyAreDone) {
    Work *again = nullptr;
    Work work(service, [&] {
        if (++calls == 1) again->request();
        else service.loop.stop();
    });
    again = &work;
    work.request();
    service.run();
    EXPECT_EQ(calls, 2);
}

TEST_F(Works, AreTriedAgainAsLongAsTheStoreIsBusyOrTheDiskIsFull) {
    int tries_of_busy = 0, tries_of_full = 0;
    const auto fail_at_first = [this](int &tries, const tarn::error &error) {
        if (++tries == 1) throw tarn::error(error);
        if (++calls == 2) service.loop.stop();
    };
    Work busy(service, [&] { fail_at_first(tries_of_busy, {ETIMEDOUT, "a.store: it is busy"}); });
    Work full(service, [&] { fail_at_first(tries_of_full, {ENOSPC, "b.store: it is full"}); });
    busy.request();
    full.request();
    // A request doesn't hasten it.
    service.loop.after(milliseconds(0), [&] { busy.request(); });
    service.run();
    EXPECT_EQ(tries_of_busy, 2);
    EXPECT_EQ(tries_of_full, 2);
    const std::string again = "; trying again until it is possible\n";
    const std::string passed = "feeder: the store can be written again\n";
    EXPECT_EQ(said.str(), "feeder: a.store: it is busy" + again + "feeder: b.store: it is full" +
                              again + passed + passed);
}

TEST_F(Works, EndTheLoopWithAFailureThatStays) {
    Work work(service, [] { throw tarn::error(EIO, "it is broken"); });
    work.request();
    EXPECT_THROW(service.run(), tarn::error);
}

TEST_F(Works, AreNotDoneAfterTheirEnd) {
    {
        Work work(service, [this] { ++calls; });
        work.request();
    }
    run_once();
    EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace feeder
