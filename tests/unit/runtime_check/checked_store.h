/* SPDX-License-Identifier: Apache-2.0 */
// Findings of a check, and a fixture with a private store.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_CHECK_CHECKED_STORE_H
#define TARNBASE_TESTS_UNIT_RUNTIME_CHECK_CHECKED_STORE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tarnbase/embedded.h"

namespace tarn::test {

std::vector<std::string> findings_of(kel_store *store);
// The findings, a line each.
std::string joined(const std::vector<std::string> &lines);

class CheckedStore : public ::testing::Test {
 protected:
    CheckedStore();
    ~CheckedStore() override;
    kel_store *store_ = nullptr;
};

}  // namespace tarn::test

#endif
