/* SPDX-License-Identifier: Apache-2.0 */
// A folder in $TMPDIR, else in /dev/shm, that is removed at the end.
#ifndef TARNBASE_BENCH_FOLDER_H
#define TARNBASE_BENCH_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <string>

namespace bench {

class Folder {
 public:
    Folder() {
        const char *parent = std::getenv("TMPDIR");
        std::string name = std::string(parent != nullptr ? parent : "/dev/shm") + "/benchXXXXXX";
        if (::mkdtemp(name.data()) == nullptr) std::abort();
        path_ = name;
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder() { std::filesystem::remove_all(path_); }

    const std::filesystem::path &path() const { return path_; }
    // The path of a store in it.
    std::string store() const { return (path_ / "store").string(); }

 private:
    std::filesystem::path path_;
};

}  // namespace bench

#endif
