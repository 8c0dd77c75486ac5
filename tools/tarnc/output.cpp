// SPDX-License-Identifier: Apache-2.0
#include "output.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "source.h"

namespace tarnc {
namespace {

// Lists what a run wrote, for the next one.
constexpr const char *list_name = "files.txt";

std::string list_of(const Files &files) {
    std::string list;
    for (const auto &[path, content] : files) list += path + "\n";
    return list;
}

void remove_stale(const std::filesystem::path &folder, const Files &files) {
    std::string old_list;
    if (!read_file((folder / list_name).string(), old_list)) return;
    std::istringstream lines(old_list);
    for (std::string path; std::getline(lines, path);) {
        if (files.count(path) == 0) std::filesystem::remove(folder / path);
    }
}

void write_if_changed(const std::string &path, const std::string &content) {
    std::string old_content;
    if (read_file(path, old_content) && old_content == content) return;
    write_file(path, content);
}

}  // namespace

void write_file(const std::string &path, const std::string &content) {
    const auto folder = std::filesystem::path(path).parent_path();
    if (!folder.empty()) std::filesystem::create_directories(folder);
    std::ofstream out(path, std::ios::binary);
    out << content;
    if (!out.flush()) throw std::runtime_error("can't write " + path);
}

void write_files(const std::string &folder, const Files &files) {
    const std::filesystem::path root(folder);
    remove_stale(root, files);
    for (const auto &[path, content] : files) write_if_changed((root / path).string(), content);
    write_if_changed((root / list_name).string(), list_of(files));
}

std::string dependency_rule(const std::string &target, const std::vector<std::string> &sources) {
    const auto escaped = [](const std::string &path) {
        std::string result;
        for (const char c : path) {
            if (c == ' ' || c == '#') result += '\\';
            if (c == '$') result += '$';
            result += c;
        }
        return result;
    };
    std::string rule = escaped(target) + ":";
    for (const std::string &source : sources) rule += " \\\n  " + escaped(source);
    return rule + "\n";
}

}  // namespace tarnc
