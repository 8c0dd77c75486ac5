// SPDX-License-Identifier: Apache-2.0
//
// Directories and files for one test.
#ifndef TARNBASE_TESTS_SUPPORT_TEMPORARY_DIRECTORY_H
#define TARNBASE_TESTS_SUPPORT_TEMPORARY_DIRECTORY_H

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <system_error>

namespace tarn::test {

// Has a name of its own, and is removed at the end of the test.
class TemporaryDirectory {
 public:
    TemporaryDirectory() : TemporaryDirectory(std::filesystem::temp_directory_path()) {}
    explicit TemporaryDirectory(const std::filesystem::path &parent) {
        std::string name = (parent / "tarnbase-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), name);
        }
        path_ = name;
    }
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }

    std::string path() const { return path_.string(); }
    std::string operator/(const std::string &name) const { return (path_ / name).string(); }

 private:
    std::filesystem::path path_;
};

// $TMPDIR, else a file system in memory if there is one: for tests that write much.
inline std::filesystem::path fast_directory_path() {
    const bool is_chosen = std::getenv("TMPDIR") != nullptr;
    if (!is_chosen && std::filesystem::exists("/dev/shm")) return "/dev/shm";
    return std::filesystem::temp_directory_path();
}

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

}  // namespace tarn::test

#endif
