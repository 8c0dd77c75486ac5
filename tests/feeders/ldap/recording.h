/* SPDX-License-Identifier: Apache-2.0 */
// The recorded log of an LDAP server. RECORDING is its path.
#ifndef TESTS_FEEDERS_LDAP_RECORDING_H
#define TESTS_FEEDERS_LDAP_RECORDING_H

#include <fstream>
#include <string>
#include <vector>

namespace tarn_ldap {

inline std::vector<std::string> recorded_lines() {
    std::ifstream file(RECORDING);
    std::vector<std::string> lines;
    for (std::string line; getline(file, line);) lines.push_back(line);
    return lines;
}

}  // namespace tarn_ldap

#endif
