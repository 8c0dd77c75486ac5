// SPDX-License-Identifier: Apache-2.0
#include "port_watch.h"

#include <algorithm>
#include <utility>

namespace tarn_dot1x {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFirstPause{100};
constexpr milliseconds kLongestPause{30000};
constexpr milliseconds kPingTime{10000};
constexpr milliseconds kPingPatience{3000};

}  // namespace

PortWatch::PortWatch(feeder::Loop &loop, std::string path, Calls calls)
    : loop_(loop), path_(std::move(path)), calls_(std::move(calls)), pause_(kFirstPause) {
    after(milliseconds(0), &PortWatch::attach);
}

PortWatch::~PortWatch() { detach(); }

void PortWatch::restart() {
    detach();
    pause_ = kFirstPause;
    after(milliseconds(0), &PortWatch::attach);
}

void PortWatch::after(milliseconds time, void (PortWatch::*call)()) {
    if (timer_) loop_.cancel(*timer_);
    timer_ = loop_.after(time, [this, call] {
        timer_.reset();
        (this->*call)();
    });
}

void PortWatch::detach() {
    if (timer_) loop_.cancel(*timer_);
    timer_.reset();
    if (attachment_) loop_.forget(attachment_->descriptor());
    attachment_.reset();
}

void PortWatch::attach() {
    try {
        attachment_.emplace(path_);
        attachment_->send_attach();
        loop_.watch(attachment_->descriptor(), [this] { read(); });
        expect_answer();
    } catch (const SourceError &error) {
        lose(State::gone, error.what());
    }
}

void PortWatch::ping() {
    try {
        attachment_->send_ping();
        expect_answer();
    } catch (const SourceError &error) {
        lose(State::gone, error.what());
    }
}

void PortWatch::expect_answer() {
    timer_ = loop_.after(kPingPatience, [this] {
        timer_.reset();
        lose(State::silent, path_ + ": hostapd doesn't answer");
    });
}

void PortWatch::read() {
    try {
        // A call may detach.
        while (attachment_) {
            const std::optional<Message> message = attachment_->receive();
            if (!message) return;
            take(*message);
        }
    } catch (const SourceError &error) {
        lose(State::gone, error.what());
    }
}

void PortWatch::take(const Message &message) {
    switch (message.kind) {
        case Message::Kind::attached:
            pause_ = kFirstPause;
            after(kPingTime, &PortWatch::ping);
            return enter(State::attached, "");
        case Message::Kind::alive:
            return after(kPingTime, &PortWatch::ping);
        case Message::Kind::refused:
            return lose(State::silent, path_ + ": hostapd answers \"" + message.text + "\"");
        case Message::Kind::event:
            return calls_.event(message.text);
    }
}

void PortWatch::lose(State state, const std::string &reason) {
    detach();
    after(pause_, &PortWatch::attach);
    pause_ = std::min(pause_ * 2, kLongestPause);
    enter(state, reason);
}

void PortWatch::enter(State state, const std::string &reason) {
    // Attached again is a change too: events were missed.
    if (std::exchange(state_, state) != state || state == State::attached) calls_.changed(reason);
}

}  // namespace tarn_dot1x
