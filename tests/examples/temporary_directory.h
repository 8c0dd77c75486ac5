// SPDX-License-Identifier: Apache-2.0
//
// A directory for one test's files, removed at its end.
#ifndef TESTS_EXAMPLES_TEMPORARY_DIRECTORY_H
#define TESTS_EXAMPLES_TEMPORARY_DIRECTORY_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace example_test {

class TemporaryDirectory {
 public:
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "example-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        path_ = pattern;
    }
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }

    std::string operator/(const std::string &name) const { return (path_ / name).string(); }

 private:
    std::filesystem::path path_;
};

inline void write_file(const std::string &path, std::string_view text) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

inline void append_file(const std::string &path, std::string_view text) {
    std::ofstream(path, std::ios::binary | std::ios::app) << text;
}

inline std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace example_test

#endif
