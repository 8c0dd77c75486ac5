// SPDX-License-Identifier: Apache-2.0
#include "tests/examples/json.h"

#include <ostream>

namespace example_test {

nlohmann::json json_of(const std::string &text) { return nlohmann::json::parse(text); }

}  // namespace example_test

namespace nlohmann {

void PrintTo(const json &value, std::ostream *out) { *out << value.dump(2); }

}  // namespace nlohmann
