// SPDX-License-Identifier: Apache-2.0
#include "tests/support/json.h"

#include <ostream>

namespace tarn::test {

nlohmann::json json_of(const std::string &text) { return nlohmann::json::parse(text); }

}  // namespace tarn::test

namespace nlohmann {

void PrintTo(const json &value, std::ostream *out) { *out << value.dump(2); }

}  // namespace nlohmann
