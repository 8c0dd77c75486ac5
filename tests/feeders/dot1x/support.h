// SPDX-License-Identifier: Apache-2.0
//
// Recorded responses of hostapd, in the folder RECORDINGS, and the texts of problems.
#ifndef TESTS_EXAMPLES_DOT1X_SUPPORT_H
#define TESTS_EXAMPLES_DOT1X_SUPPORT_H

#include <string>
#include <vector>

#include "dot1x/answer.h"
#include "tests/support/temporary_directory.h"

namespace tarn_dot1x {

using Strings = std::vector<std::string>;

inline std::string recording(const std::string &file) {
    return tarn::test::read_file(std::string(RECORDINGS) + "/" + file);
}

inline Strings texts(const Problems &problems) {
    Strings result;
    for (const Problem &problem : problems.list()) result.push_back(to_text(problem));
    return result;
}

}  // namespace tarn_dot1x

#endif
