/* SPDX-License-Identifier: Apache-2.0 */
// A table of each kind of key, with what the random operations need besides its exported
// operations.
#ifndef TARNBASE_TESTS_BEHAVIOUR_RANDOM_KIND_H
#define TARNBASE_TESTS_BEHAVIOUR_RANDOM_KIND_H

#include <ostream>
#include <string>
#include <vector>

#include "tests/behaviour/table/subject.h"

namespace tarn::test {

struct Kind {
    const char *name;  // of the kind of key
    const Subject *subject;
    u32 keys;    // key numbers are below this: few, so that keys are often equal
    u32 values;  // values of the field that is no key are below this
    // The text of the value object that is not part of a key, and the structure in the object
    // that contains it; null: the object itself.
    const char *text;
    const char *nested;

    void set_text(kel_handle *handle, u32 tx, void *object, const std::string &value,
                  u32 *err) const;
    std::string get_text(kel_handle *handle, const void *object) const;
};

inline void PrintTo(const Kind &kind, std::ostream *out) { *out << kind.name; }

// The kinds of the program.
const std::vector<Kind> &all_kinds();

}  // namespace tarn::test

#endif
