/* SPDX-License-Identifier: Apache-2.0 */
// A store with the arguments that every exported function needs, always made in the same
// way, so that the same call in two contexts can be compared.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_CALL_CONTEXT_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_CALL_CONTEXT_H

#include <array>
#include <map>
#include <string>
#include <vector>

#include "tests/behaviour/every/objects.h"
#include "tests/behaviour/every/prototypes.h"
#include "tests/support/hooks.h"

namespace tarn::test {

class CallContext {
 public:
    // For the functions of an item; a table is open, with one record in it.
    CallContext(const std::string &item, Mode mode);
    ~CallContext();

    // Valid arguments; `err` is the context's own.
    std::vector<Word> arguments(const Prototype &function);
    // Calls the function without recording its name, as `call` does.
    static u64 invoke(const Prototype &function, const std::vector<Word> &arguments);

    // Expects that a call in `tx` passed `tx` to the hooks. A table's block is made outside any
    // transaction, and the services of names and mappings choose theirs when a table is opened
    // or freed.
    static void expect_transaction(const Prototype &function, const HookRecorder &hooks, u32 tx);

    // An address as its offset in the store, so that it is the same in every context;
    // other words unchanged.
    u64 place(u64 word) const;
    u64 result(const Prototype &function, u64 word) const;
    // The bytes that functions write to, outside the store.
    const std::array<char, 16384> &scratch() const { return scratch_; }

    Session session;
    kel_handle *const handle = session.handle();
    u32 err = 0;
    kel_table *table = nullptr;
    kel_record *record = nullptr;

 private:
    void open(const Table &type);
    void *object(const std::string &type, const std::string &role);
    Word argument(const Prototype &function, const Parameter &parameter);
    Word pointer(const Prototype &function, const Parameter &parameter);
    static u64 number(const Parameter &parameter);

    std::string item_;
    std::map<std::string, void *> objects_;
    std::array<char, 16384> scratch_;
    std::array<void *, 8> slots_ = {};
    std::array<u64, 512> words_ = {};
    kel_vstring string_ = {};
    Document document_;
};

// The operation's name: the part after the item's, or after the key's.
std::string operation_of(const std::string &item, const Prototype &function);

// The effects of a call, as text that is the same in every context.
struct Outcome {
    u64 result = 0;
    u32 err = 0;
    u32 last_error = 0;
    std::vector<std::array<u64, 5>> hooks;
    std::vector<std::string> traces;
    std::string written;  // to the caller's memory

    bool operator==(const Outcome &) const = default;
};
std::ostream &operator<<(std::ostream &out, const Outcome &outcome);

// How a call is made to fail, if at all.
struct Situation {
    std::string name;
    u32 error_on_entry = 0;
    bool without_memory = false;
    std::string null_parameter = {};
    std::string small_parameter = {};  // set to 1
    bool tracking_off = false;         // by a tracking record
};

// Calls a function of an item in a context of its own.
Outcome outcome_of(const std::string &item, const Prototype &function, const Situation &situation);

}  // namespace tarn::test

#endif
