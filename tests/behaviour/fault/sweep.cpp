// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/fault/sweep.h"

#include <gtest/gtest.h>

#include "tests/support/snapshot.h"

namespace tarn::test {

namespace {

constexpr const char *none = "-";

// Its failure ends the process; the tests of opening cover it.
constexpr const char *fatal_service = "loam_set_range";

// A call that is to fail.
struct Fault {
    std::string service = none;
    std::size_t n = 0;
};

// Each of the first dozen calls, and some of an array's thousands.
std::size_t after(std::size_t n) { return n < 12 ? n + 1 : n + 499; }

// The blocks that the hooks allocated and freed.
class LiveBlocks {
 public:
    explicit LiveBlocks(const ServiceRecorder &recorder) {
        for (const ServiceCall &call : recorder.calls()) {
            if (call.name == "alloc_hook" && call.result != 0) live_.insert(call.result);
            if (call.name != "free_hook" || call.arguments.at(2) == 0) continue;
            EXPECT_EQ(live_.erase(call.arguments[2]), 1U) << "a block is freed twice";
        }
    }

    std::size_t left() const { return live_.size(); }

 private:
    std::set<std::uint64_t> live_;
};

// What a run changed, one entry per change.
std::set<std::string> changes(const Observations &before, const Observations &after) {
    std::set<std::string> found;
    const auto at = [](const Observations &observed, const std::string &name) {
        const auto entry = observed.find(name);
        return entry == observed.end() ? std::string() : entry->second;
    };
    Observations all = before;
    all.insert(after.begin(), after.end());
    for (const auto &[name, value] : all) {
        const std::string from = at(before, name);
        const std::string to = at(after, name);
        if (from == to) continue;
        const bool is_short = from.size() <= 12 && to.size() <= 12 && !to.empty() && !from.empty();
        found.insert(is_short ? name + " " + from + " to " + to : name);
    }
    // The parts of what was made or destroyed are left out.
    for (const char *thing : {"record", "loose", "made record", "object", "made object"}) {
        const std::string name = thing;
        if (at(before, name) == at(after, name)) continue;
        std::erase_if(found, [&name](const std::string &change) {
            return change.starts_with(name + " ") && !change.starts_with(name + " there to") &&
                   !change.starts_with(name + " none to");
        });
    }
    return found;
}

std::string joined(const std::set<std::string> &words) {
    std::string text;
    for (const std::string &word : words) text += (text.empty() ? "" : "; ") + word;
    return text;
}

class Sweeper {
 public:
    Sweeper(const Operation &operation, const Target &target, Mode mode, SweepResult &result)
        : operation_(operation),
          env_(target, mode, operation.on == On::id_tables),
          recorder_(env_.handle),
          result_(result) {}

    void run() {
        lasting(Fault{});  // allocates what the store allocates only once
        outcomes_.clear();
        const std::set<std::string> services = called_services();
        if (::testing::Test::HasFailure()) return;
        each(services, [this](const Fault &fault) { return lasting(fault); });
        result_.outcomes.insert(outcomes_.begin(), outcomes_.end());
        if (operation_.traits.permanent || ::testing::Test::HasFailure()) return;
        prepare();
        const StoreSnapshot before(env_.store);
        const std::uint64_t blocks = block_count();
        each(services, [&](const Fault &fault) { return rolled_back(fault, before, blocks); });
        env_.clean();
    }

 private:
    std::string where(const Fault &fault) const {
        return std::string(operation_.name) + " on " + env_.target.name() + ", " +
               mode_name(env_.mode) + ", call " + std::to_string(fault.n) + " of " + fault.service;
    }

    std::uint64_t block_count() const {
        kel_store_description description;
        kel_store_describe(env_.store, &description);
        return description.blocks;
    }

    Observations observe() {
        recorder_.pause(true);
        Observations observed = env_.observe();
        recorder_.pause(false);
        return observed;
    }

    void prepare() {
        operation_.set_up(env_);
        ASSERT_EQ(env_.err, 0U) << where(Fault{});
        env_.handle->last_error = 0;
        env_.result.clear();
    }

    // The services that the operation calls and that can fail.
    std::set<std::string> called_services() {
        prepare();
        const std::size_t begin = recorder_.calls().size();
        operation_.run(env_);
        kel_thread_set_tenant(0);
        std::set<std::string> called;
        for (std::size_t i = begin; i < recorder_.calls().size(); ++i) {
            called.insert(recorder_.calls()[i].name);
        }
        std::set<std::string> able;
        for (const auto *list : {&recorded_services(), &recorded_hooks()}) {
            for (const ServiceInfo &service : *list) {
                const bool can_fail = service.failure.way != Failure::Way::never;
                if (can_fail && called.contains(service.name)) able.insert(service.name);
            }
        }
        able.erase(fatal_service);
        env_.clean();
        return able;
    }

    template <typename Run>
    void each(const std::set<std::string> &services, Run run) {
        run(Fault{});
        for (const std::string &service : services) {
            for (std::size_t n = 1; run(Fault{service, n}); n = after(n)) {
                if (::testing::Test::HasFailure()) return;
                ++result_.faults;
            }
        }
    }

    // Runs the operation and returns its outcome. `hit`: the fault occurred.
    std::string perform(const Fault &fault, bool &hit) {
        const Observations before = observe();
        if (fault.service != none) recorder_.fail(fault.service, fault.n);
        operation_.run(env_);
        hit = recorder_.stop_failing();
        kel_thread_set_tenant(0);
        const u32 last_error = env_.handle->last_error;
        const std::set<std::string> changed = changes(before, observe());
        std::string text = "err " + std::to_string(env_.err);
        if (last_error != env_.err) text += ", last error " + std::to_string(last_error);
        if (!env_.result.empty()) text += ", returns " + env_.result;
        if (fault.service == none) {
            usual_ = changed;
            return text + (changed.empty() ? ", nothing changed" : ", done");
        }
        if (changed.empty()) return text + ", nothing changed";
        if (changed == usual_) return text + ", done";
        if (operation_.traits.stepwise) return text + ", partly done";
        return text + ", " + joined(changed);
    }

    // Outside a transaction. Everything is freed afterwards, and nothing is left.
    bool lasting(const Fault &fault) {
        SCOPED_TRACE(where(fault));
        recorder_.clear();
        const std::uint64_t blocks = block_count();
        prepare();
        bool hit = false;
        std::string outcome = perform(fault, hit);
        env_.clean();
        const std::size_t left = LiveBlocks(recorder_).left();
        const std::uint64_t kept = block_count() - blocks - left;
        if (left != 0) outcome += ", " + std::to_string(left) + " left";
        // Fewer than before: one that an earlier run left was removed.
        if (static_cast<std::int64_t>(kept) > 0) outcome += ", mappings left";
        if (hit || fault.service == none) outcomes_.insert(fault.service + " | " + outcome);
        return hit;
    }

    // In a transaction that is rolled back.
    bool rolled_back(const Fault &fault, const StoreSnapshot &before, std::uint64_t blocks) {
        SCOPED_TRACE(where(fault) + ", rolled back");
        recorder_.clear();
        const State state = env_;
        EXPECT_EQ(kel_transaction_begin(env_.handle, &env_.tx), 0U);
        env_.handle->cr_tx_id = env_.tx;
        bool hit = false;
        const std::string outcome = fault.service + " | " + perform(fault, hit);
        EXPECT_EQ(kel_transaction_rollback(env_.handle, env_.tx), 0U);
        static_cast<State &>(env_) = state;
        env_.handle->cr_tx_id = KEL_TX_NONE;
        env_.handle->last_error = 0;
        if (!operation_.traits.unlogged) {
            EXPECT_EQ(to_text(before.lasting_changes()), "");
        }
        EXPECT_EQ(block_count(), blocks);
        // The outcome is the same, except for what is left.
        const auto listed = outcomes_.lower_bound(outcome);
        EXPECT_TRUE((!hit && fault.service != none) ||
                    (listed != outcomes_.end() && listed->starts_with(outcome)))
            << outcome;
        return hit;
    }

    const Operation &operation_;
    Environment env_;
    ServiceRecorder recorder_;
    SweepResult &result_;
    std::set<std::string> usual_;
    std::set<std::string> outcomes_;  // of this target and mode
};

}  // namespace

SweepResult sweep(const Operation &operation) {
    SweepResult result;
    for (const Target &target : targets_of(operation.on)) {
        for (const Mode mode : all_modes) {
            Sweeper(operation, target, mode, result).run();
            if (::testing::Test::HasFailure()) return result;
        }
    }
    return result;
}

}  // namespace tarn::test
