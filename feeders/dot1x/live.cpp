// SPDX-License-Identifier: Apache-2.0
#include "live.h"

#include <filesystem>
#include <utility>

#include "control_socket.h"

namespace tarn_dot1x {

Live::Live(std::vector<std::string> paths, PortIndexes indexes)
    : paths_(std::move(paths)), indexes_(std::move(indexes)) {}

std::vector<PortAnswers> Live::poll() {
    std::vector<PortAnswers> answers;
    for (const std::string &path : paths_) {
        ControlSocket socket(path);
        const std::string name = std::filesystem::path(path).filename().string();
        answers.push_back(ask_port(live_port(name, indexes_), socket));
    }
    sort_by_index(answers);
    return answers;
}

}  // namespace tarn_dot1x
