// SPDX-License-Identifier: Apache-2.0
//
// Failures on their way to Python, where tarnbase/errors.py has a class for each problem.
#ifndef TARNBASE_PYTHON_FAILURE_H
#define TARNBASE_PYTHON_FAILURE_H

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tarnbase::python {

// In the order of `errors.PROBLEMS`.
enum class Problem : std::uint8_t {
    store,         // the store, its files or the system: the number is the reason
    no_key,        // no record has the key
    duplicate,     // a record has the key already
    stale,         // what was read isn't valid any more
    bad_value,     // a value that its field can't have
    bad_type,      // a value of a type that its field can't have
    no_field,      // the object's variant lacks the field, or it has no such field
    not_possible,  // not in this state of the store, the thread or the record
};

class Failure : public std::runtime_error {
 public:
    Failure(Problem problem, std::uint32_t number, const std::string &message)
        : std::runtime_error(message), problem_(problem), number_(number) {}

    Problem problem() const noexcept { return problem_; }
    std::uint32_t number() const noexcept { return number_; }

 private:
    Problem problem_;
    std::uint32_t number_;
};

// A Python exception is set.
struct Raised {};

}  // namespace tarnbase::python

#endif
