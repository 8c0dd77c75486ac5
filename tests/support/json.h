// SPDX-License-Identifier: Apache-2.0
//
// JSON that a program printed. What each test of it needs, the parser and the printer of failed
// comparisons, takes two seconds to compile; json.cpp compiles it once.
#ifndef TARNBASE_TESTS_SUPPORT_JSON_H
#define TARNBASE_TESTS_SUPPORT_JSON_H

#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>

namespace tarn::test {

// Throws nlohmann's parse error if `text` isn't JSON.
nlohmann::json json_of(const std::string &text);

}  // namespace tarn::test

namespace nlohmann {

// GoogleTest prints values with it.
void PrintTo(const json &value, std::ostream *out);

}  // namespace nlohmann

#endif
