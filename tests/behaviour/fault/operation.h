/* SPDX-License-Identifier: Apache-2.0 */
// The operations of the sweep: how each is prepared and run, and on what.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FAULT_OPERATION_H
#define TARNBASE_TESTS_BEHAVIOUR_FAULT_OPERATION_H

#include <vector>

#include "tests/behaviour/fault/world.h"

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
    void (*set_up)(World &w);
    void (*run)(World &w);
    Traits traits = {};
};

// The tables and structures of the tests' schema that an operation runs on.
std::vector<Target> targets_of(On on);

const std::vector<Operation> &all_operations();

// From the files of this folder.
std::vector<Operation> table_operations();
std::vector<Operation> read_operations();
std::vector<Operation> form_operations();
std::vector<Operation> object_operations();
std::vector<Operation> field_operations();

}  // namespace tarn::test

#endif
