/* SPDX-License-Identifier: Apache-2.0 */
// Runs a few processes in every order of their steps, with deaths at every step. The processes
// run the runtime's own code, as coroutines in one real process, on real files: the runtime is
// instrumented, so that each access to what they share comes here first (ordered_calls.cpp).
//
// A step is a load or store of a word of the control file, or a system call for a file of the
// store. An order is a sequence of choices, and is repeated from a new folder to try another
// choice. Two orders that lead to the same state continue as one: a state is the shared words, the
// folder's files, and for each process the results of all its steps.
#ifndef TESTS_CRASH_ORDERS_H
#define TESTS_CRASH_ORDERS_H

#include <ucontext.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace crash {

// What the processes run on. Made anew for each order.
class Scenario {
 public:
    virtual ~Scenario() = default;
    // Called for each process before any runs; its steps aren't choices.
    virtual void prepare(std::size_t process) = 0;
    // The program of a process. Failures are thrown.
    virtual void run(std::size_t process) = 0;
    // After all processes have ended or died.
    virtual void check() = 0;
    // The folder whose files they share.
    virtual const std::string &folder() const = 0;
    // The shared words.
    virtual std::vector<std::uint64_t> words() const = 0;
};

class Orders {
 public:
    using MakeScenario = std::function<std::unique_ptr<Scenario>()>;
    Orders(MakeScenario make, std::size_t processes, unsigned deaths);

    // What is wrong in some order, and that order; empty: nothing in any.
    std::string explore();
    std::size_t states() const { return visited_.size(); }
    std::size_t repetitions() const { return repetitions_; }

    // For ordered_calls.cpp; all of them in the process that runs.

    // The one that explores; null if no process runs.
    static Orders *current();
    // Called before a step: other processes may take theirs first.
    void step(const char *what, const std::string &name);
    // Called before a copy into the log. Nobody reads what isn't published, so only a death in the
    // middle of the copy makes a difference.
    void copy_step(const std::function<void()> &half);
    // Its result.
    void note(std::uint64_t result);
    // A number for a file: the same in all orders in which it has the same maker.
    std::uint64_t label(std::uint64_t inode) const;
    void made_file(std::uint64_t inode);
    // Waits until the word changes, or a process dies.
    void sleep(const std::uint32_t *word, std::uint32_t seen);
    // Record locks of the processes.
    bool try_lock(std::uint64_t byte);
    void unlock(std::uint64_t byte);
    bool is_locked(std::uint64_t byte) const;
    std::size_t process() const { return running_; }
    // Whether its steps are choices.
    bool explores() const { return explores_; }

 private:
    static constexpr std::size_t stack_bytes = 256 << 10;
    static constexpr std::size_t none = ~std::size_t{0};

    enum class Life : std::uint8_t { ready, ended, dead };
    struct Process {
        ucontext_t context;
        std::vector<char> stack;
        Life life = Life::ready;
        std::uint64_t history = 0;
        std::uint64_t steps = 0;
        const char *what = "begins";
        std::string name;
        bool only_dies = false;  // no other process's step makes a difference now
        std::function<void()> half;
        const std::uint32_t *asleep_on = nullptr;
        std::uint32_t seen = 0;
        unsigned deaths_seen = 0;
    };
    struct Choice {
        std::size_t process;
        bool dies;
    };

    void repeat(const std::vector<std::uint8_t> &order);
    void start(std::size_t process);
    static void enter();
    std::vector<Choice> choices() const;
    bool is_awake(const Process &process) const;
    void apply(Choice choice);
    void leave();
    std::uint64_t state() const;
    void fail(const std::string &text);

    MakeScenario make_;
    unsigned max_deaths_;
    std::unique_ptr<Scenario> scenario_;
    std::vector<Process> processes_;
    ucontext_t scheduler_{};
    std::size_t running_ = none;
    bool explores_ = false;
    unsigned deaths_ = 0;
    std::map<std::uint64_t, std::size_t> locks_;
    std::map<std::uint64_t, std::uint64_t> labels_;
    std::vector<std::string> trace_;
    std::vector<std::vector<std::uint8_t>> pending_;
    std::unordered_set<std::uint64_t> visited_;
    std::size_t repetitions_ = 0;
    std::string failure_;
};

// Frees what processes that died or weren't run to their end have left in this one.
void free_left_over();

}  // namespace crash

#endif
