// SPDX-License-Identifier: Apache-2.0
#include "source.h"

#include <algorithm>

#include "ports.h"

namespace tarn_dot1x {

void sort_by_index(std::vector<PortAnswers> &answers) {
    std::sort(answers.begin(), answers.end(), [](const PortAnswers &a, const PortAnswers &b) {
        return a.port.if_index < b.port.if_index;
    });
    const auto same = std::adjacent_find(answers.begin(), answers.end(),
                                         [](const PortAnswers &a, const PortAnswers &b) {
                                             return a.port.if_index == b.port.if_index;
                                         });
    if (same == answers.end()) return;
    throw PortError("ports " + same[0].port.name + " and " + same[1].port.name +
                    " have one index, " + std::to_string(same[0].port.if_index));
}

}  // namespace tarn_dot1x
