// SPDX-License-Identifier: Apache-2.0
//
// What is answered from a store that is followed.
#ifndef TOOLS_AGENTX_ANSWERS_H
#define TOOLS_AGENTX_ANSWERS_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "agentx/events.h"
#include "agentx/tree.h"
#include "watch/followed_store.h"

namespace agentx {

class Answers final : private tarnctl::StoreFollower {
 public:
    // `tenant` is as Tree has it; `queue` must outlive it.
    Answers(const std::string &path, const Oid &base, uint16_t tenant, NotificationQueue &queue);

    std::vector<Oid> roots() const { return tree_.roots(); }
    // Calls `function` with the objects as they are after one transaction.
    void read(const std::function<void(const Tree &tree, View &view)> &function);
    void stop() { followed_.stop(); }

 private:
    void opened(tarnctl::Feed &feed, const std::string &identity) override;
    void applied(tarnctl::Feed &feed) override;
    void skipped(tarnctl::Feed &feed) override;

    NotificationQueue &queue_;
    const tarnctl::Store scratch_;
    const EventWatch watch_;
    Tree tree_;  // of the open store: the thread changes it, and a reader of an open one reads it
    std::atomic<uint64_t> left_out_ = 0;
    tarnctl::FollowedStore followed_;  // its thread uses the others
};

}  // namespace agentx

#endif
