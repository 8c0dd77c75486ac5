// SPDX-License-Identifier: Apache-2.0
#include "common/loop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace feeder {
namespace {

using std::chrono::milliseconds;

struct Pipe {
    int ends[2] = {-1, -1};

    Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0); }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    ~Pipe() {
        for (const int each : ends) close(each);
    }
    int reader() const { return ends[0]; }
    void write() const { EXPECT_EQ(::write(ends[1], "x", 1), 1); }
    void read() const {
        char byte = 0;
        EXPECT_EQ(::read(ends[0], &byte, 1), 1);
    }
};

// What the loop calls adds a letter.
class Loops : public testing::Test {
 protected:
    Loop::Call add(char letter) {
        return [this, letter] { called += letter; };
    }
    void stop_after(milliseconds time) {
        loop.after(time, [this] { loop.stop(); });
    }

    Loop loop;
    std::string called;
};

TEST_F(Loops, CallTimersInTheOrderOfTheirTimes) {
    loop.after(std::chrono::hours(1), add('x'));
    loop.after(milliseconds(0), add('a'));
    loop.after(milliseconds(0), add('b'));
    loop.after(milliseconds(1), add('c'));
    stop_after(milliseconds(1));
    loop.run();
    EXPECT_EQ(called, "abc");
}

TEST_F(Loops, CallNoTimerThatWasCancelled) {
    const Loop::Timer first = loop.after(milliseconds(0), add('a'));
    loop.cancel(first);
    Loop::Timer third;
    // Due with the third one, and before it.
    loop.after(milliseconds(0), [&] {
        called += 'b';
        loop.cancel(third);
    });
    third = loop.after(milliseconds(0), add('c'));
    stop_after(milliseconds(1));
    loop.run();
    EXPECT_EQ(called, "b");
    loop.cancel(third);
}

TEST_F(Loops, ReadDescriptorsBeforeTheTimersThatATimerMakes) {
    const Pipe pipe;
    loop.watch(pipe.reader(), [&] {
        pipe.read();
        called += 'r';
    });
    loop.after(milliseconds(0), [&] {
        called += 'a';
        pipe.write();
        loop.after(milliseconds(0), [&] {
            called += 'b';
            loop.stop();
        });
    });
    loop.run();
    EXPECT_EQ(called, "arb");
}

TEST_F(Loops, CallForADescriptorAsLongAsItCanBeRead) {
    const Pipe pipe;
    for (int i = 0; i < 3; ++i) pipe.write();
    loop.watch(pipe.reader(), [&] {
        pipe.read();
        called += 'r';
        if (called == "rrr") loop.after(milliseconds(0), [this] { loop.stop(); });
    });
    loop.run();
    EXPECT_EQ(called, "rrr");
}

TEST_F(Loops, CallNothingForADescriptorThatWasForgotten) {
    const Pipe one, other;
    one.write();
    other.write();
    // Both are ready: the first one that is called forgets both.
    const auto forget = [&] {
        called += 'f';
        loop.forget(one.reader());
        loop.forget(other.reader());
        stop_after(milliseconds(1));
    };
    loop.watch(one.reader(), forget);
    loop.watch(other.reader(), forget);
    loop.run();
    EXPECT_EQ(called, "f");
}

TEST_F(Loops, CallForADescriptorWhoseOtherEndIsClosed) {
    Pipe pipe;
    close(std::exchange(pipe.ends[1], -1));
    loop.watch(pipe.reader(), [&] {
        called += 'c';
        loop.stop();
    });
    loop.run();
    EXPECT_EQ(called, "c");
}

TEST_F(Loops, EndWithASignal) {
    loop.on_hangup(add('h'));
    for (const int signal : {SIGTERM, SIGINT}) {
        raise(SIGHUP);
        loop.after(milliseconds(0), [signal] { raise(signal); });
        loop.run();
    }
    EXPECT_EQ(called, "hh");
}

TEST_F(Loops, EndWithWhatACallThrows) {
    loop.after(milliseconds(0), [] { throw std::runtime_error("thrown"); });
    loop.after(milliseconds(0), [this] { loop.stop(); });
    EXPECT_THROW(loop.run(), std::runtime_error);
    // It can go on.
    loop.run();
}

TEST(Loop, LeavesTheSignalsAsTheyWere) {
    const auto is_blocked = [] {
        sigset_t now;
        pthread_sigmask(SIG_BLOCK, nullptr, &now);
        return sigismember(&now, SIGTERM) == 1;
    };
    EXPECT_FALSE(is_blocked());
    {
        const Loop loop;
        EXPECT_TRUE(is_blocked());
    }
    EXPECT_FALSE(is_blocked());
}

}  // namespace
}  // namespace feeder
