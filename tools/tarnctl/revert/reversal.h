// SPDX-License-Identifier: Apache-2.0
//
// Takes a transaction back, in a transaction of its own.
#ifndef TARNCTL_REVERT_REVERSAL_H
#define TARNCTL_REVERT_REVERSAL_H

#include <functional>
#include <string>
#include <vector>

#include "edit/change.h"
#include "model/store.h"
#include "revert/plan.h"

namespace tarnctl {

class Reversal {
 public:
    // The store is open to write, so that nothing changes between the two calls.
    Reversal(const Plan &plan, const Store &store) : plan_(plan), store_(store) {}

    // What the store has otherwise than the transaction left it, a line each.
    std::vector<std::string> conflicts() const;
    // Calls the listener with each change; they are permanent when `run` returns. Requires: there
    // are no conflicts. Failure `store`: everything is rolled back.
    void run(const std::function<void(const Change &)> &listener);

 private:
    void add_conflicts(const Undo &undo, std::vector<std::string> &found) const;
    void take_back(const Undo &undo, uint32_t tx_id);
    void insert(const Instance &instance, const Undo &undo, uint32_t tx_id);

    const Plan &plan_;
    const Store &store_;
    Store scratch_ = Store::scratch();  // of keys
    bool is_attached_ = false;          // to the replication
};

}  // namespace tarnctl

#endif
