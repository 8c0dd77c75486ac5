/* SPDX-License-Identifier: Apache-2.0 */
// The operations of the sweep: how each is prepared and run, and on what.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FAULT_OPERATION_H
#define TARNBASE_TESTS_BEHAVIOUR_FAULT_OPERATION_H

#include <initializer_list>
#include <vector>

#include "tests/behaviour/fault/environment.h"

namespace tarn::test {

enum class On {
    tables,        // a table of each kind
    id_tables,     // the same, in the shared store
    keyed_tables,  // those with a key object
    structures,
    every,  // the structure with a field of each kind
    grown,  // the structure with an array and two variants
    enumeration,
};

struct Traits {
    bool permanent = false;   // changes the store outside any transaction
    bool unlogged = false;    // makes stores that are not announced, by design
    bool infallible = false;  // calls nothing that can fail
    bool stepwise = false;    // may have done any part of its work when it fails
};

struct Operation {
    const char *name;
    On on;
    void (*set_up)(Environment &env);
    void (*run)(Environment &env);
    Traits traits = {};
};

// The tables and structures of the tests' schema that an operation runs on.
std::vector<Target> targets_of(On on);

const std::vector<Operation> &all_operations();

// For the preparation and the run of several operations.
inline constexpr u32 form_space = 1 << 18;

inline void nothing(Environment &) {}

inline void with_object(Environment &env) { env.object = env.make_object(0); }

inline void with_two_objects(Environment &env) {
    env.object = env.make_object(0);
    env.source = env.make_object(1);
}

// The forms without an error word leave their error in the handle.
inline void from_cr(Environment &env) { env.err = env.handle->last_error; }

// Writes a form. One as long as the one that was written without a failure is whole.
template <typename Write>
void write_form(Environment &env, Write form) {
    const u32 length = form();
    if (env.err == 0 && env.handle->last_error == 0) env.length = length;
    env.returned_length(length, env.length);
}

std::vector<Operation> joined(std::initializer_list<const std::vector<Operation> *> parts);

// From the files of this folder.
std::vector<Operation> table_operations();
std::vector<Operation> read_operations();
std::vector<Operation> form_operations();
std::vector<Operation> object_operations();
std::vector<Operation> field_operations();

}  // namespace tarn::test

#endif
