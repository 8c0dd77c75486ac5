// SPDX-License-Identifier: Apache-2.0
//
// Variables of the environment, for one test.
#ifndef TESTS_FEEDERS_COMMON_ENVIRONMENT_H
#define TESTS_FEEDERS_COMMON_ENVIRONMENT_H

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace feeder {

// The variables that it sets are removed at the end of the test.
class Environment {
 public:
    Environment() = default;
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;
    ~Environment() {
        for (const std::string &each : set_) unsetenv(each.c_str());
    }

    void set(const std::string &name, const std::string &value) {
        setenv(name.c_str(), value.c_str(), 1);
        set_.push_back(name);
    }

 private:
    std::vector<std::string> set_;
};

}  // namespace feeder

#endif
