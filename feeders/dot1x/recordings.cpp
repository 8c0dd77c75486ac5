// SPDX-License-Identifier: Apache-2.0
#include "recordings.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

namespace tarn_dot1x {
namespace {

constexpr std::string_view kPrefix = "hostapd-";
constexpr std::string_view kAnswers[] = {"all_sta", "mib", "status"};

std::string suffix(std::string_view what) { return "-" + std::string(what) + ".txt"; }

// The port of a recording; empty of another file.
std::string port_of(const std::string &file) {
    for (const std::string_view what : kAnswers) {
        const std::string end = suffix(what);
        if (file.size() > kPrefix.size() + end.size() && file.starts_with(kPrefix) &&
            file.ends_with(end))
            return file.substr(kPrefix.size(), file.size() - kPrefix.size() - end.size());
    }
    return "";
}

}  // namespace

Recordings::Recordings(std::string directory, PortIndexes indexes)
    : directory_(std::move(directory)), indexes_(std::move(indexes)) {}

std::set<std::string> Recordings::names() const {
    std::set<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator file(directory_, error), end; !error && file != end;
         file.increment(error))
        names.insert(port_of(file->path().filename().string()));
    if (error) throw SourceError(directory_ + ": " + error.message());
    names.erase("");
    if (!names.empty()) return names;
    throw SourceError(directory_ + ": no recording of hostapd, expected files such as " +
                      std::string(kPrefix) + "p1" + suffix(kAnswers[0]));
}

Text Recordings::read(const std::string &name, const std::string &what) const {
    const std::string path =
        (std::filesystem::path(directory_) / (std::string(kPrefix) + name + suffix(what))).string();
    std::ifstream file(path, std::ios::binary);
    if (!file) throw SourceError(path + ": " + std::strerror(errno));
    Text text{path, {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()}};
    if (file.bad()) throw SourceError(path + ": " + std::strerror(errno));
    return text;
}

std::vector<PortAnswers> Recordings::poll() {
    std::vector<PortAnswers> answers;
    for (const std::string &name : names())
        answers.push_back({recorded_port(name, indexes_),
                           read(name, "status"),
                           read(name, "mib"),
                           {read(name, "all_sta")},
                           Stations::any_number});
    sort_by_index(answers);
    return answers;
}

}  // namespace tarn_dot1x
