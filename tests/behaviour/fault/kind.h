/* SPDX-License-Identifier: Apache-2.0 */
// A structure or an enumeration of the tests' schema with its type erased, from the catalogue.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FAULT_KIND_H
#define TARNBASE_TESTS_BEHAVIOUR_FAULT_KIND_H

#include <map>
#include <string>

#include "tests/behaviour/table/subject.h"

namespace tarn::test {

// What a program can read of an object or a table, by name.
using Observations = std::map<std::string, std::string>;

class Kind : public catalogue::ObjectOperations {
 public:
    explicit Kind(const catalogue::Structure *structure);
    explicit Kind(const catalogue::Enumeration *enumeration);

    const char *const name;
    const kel_type_info *const descriptor;

    bool is_structure() const { return structure_ != nullptr; }
    // Sets every field to a value of the first or the second of two sets. The texts are stored
    // outside their strings and differ in length.
    void fill(kel_handle *, u32 tx, void *, u32 which, u32 *err) const;
    // Adds the fields' values, by their names.
    void observe(kel_handle *, const void *, Observations &observed) const;

 private:
    const catalogue::Structure *const structure_;  // null for an enumeration
};

extern const Kind kind_every;
extern const Kind kind_grown;
extern const Kind kind_tag;
extern const Kind kind_pair;
extern const Kind kind_pair_key;
extern const Kind kind_single;
extern const Kind kind_lamp;  // an enumeration

}  // namespace tarn::test

#endif
