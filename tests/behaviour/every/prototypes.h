/* SPDX-License-Identifier: Apache-2.0 */
// The prototypes of all exported functions, read from the public headers, for tests of
// every operation.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_PROTOTYPES_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_PROTOTYPES_H

#include <string>
#include <vector>

namespace tarn::test {

struct Parameter {
    std::string type;  // "const st_x *"
    std::string name;

    bool is_pointer() const { return type.back() == '*'; }
    // The type that a pointer points to, without const.
    std::string pointee() const;
};

struct Prototype {
    std::string result;  // type
    std::string name;
    std::vector<Parameter> parameters;

    bool takes(const std::string &parameter) const;
    bool ends_with(const std::string &end) const;
    bool returns_pointer() const { return result.back() == '*'; }
};

// The functions of one table, structure or enumeration, in the header that the schema compiler
// wrote.
std::vector<Prototype> prototypes_of(const std::string &item);

}  // namespace tarn::test

#endif
