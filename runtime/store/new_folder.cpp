// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/new_folder.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>
#include <system_error>

#include "runtime/base/error_text.h"
#include "runtime/base/file_io.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/control/control.h"
#include "runtime/control/processes.h"
#include "runtime/log/segment.h"

namespace tarnbase::runtime {

namespace {

constexpr const char *working_suffix = ".new.";

// Removes the folders of processes that ended while they made this store.
void remove_working_folders(const char *path) {
    const std::filesystem::path store(path);
    const std::string prefix = store.filename().string() + working_suffix;
    std::error_code ignored;
    const auto parent = store.has_parent_path() ? store.parent_path() : ".";
    for (const auto &entry : std::filesystem::directory_iterator(parent, ignored)) {
        if (entry.path().filename().string().rfind(prefix, 0) != 0) continue;
        const File folder(::open(entry.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folder.is_open() || ::flock(folder.descriptor(), LOCK_EX | LOCK_NB) != 0) continue;
        std::filesystem::remove_all(entry.path(), ignored);
    }
}

StoreId random_id() {
    std::random_device source;
    StoreId id;
    for (std::uint8_t &byte : id) byte = static_cast<std::uint8_t>(source());
    return id;
}

}  // namespace

NewFolder::~NewFolder() {
    std::error_code ignored;
    if (!working_name_.empty()) std::filesystem::remove_all(working_name_, ignored);
}

std::uint32_t NewFolder::fail_path(std::uint32_t error) const {
    return fail(error, "%s: %s", path_.c_str(), std::strerror(static_cast<int>(error)));
}

std::uint32_t NewFolder::begin(const char *path, mode_t mode) {
    path_ = path;
    if (::access(path, F_OK) == 0) return fail_path(EEXIST);
    remove_working_folders(path);
    const std::string name = path_ + working_suffix + std::to_string(std::random_device{}());
    if (::mkdir(name.c_str(), mode) != 0) return fail_path(error_number());
    working_name_ = name;
    folder = File(::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.is_open()) return fail_path(error_number());
    ::flock(folder.descriptor(), LOCK_EX);
    return 0;
}

std::uint32_t NewFolder::fill(const Image &image) {
    const int descriptor = folder.descriptor();
    CheckpointHead head{};
    head.id = random_id();
    head.base = reinterpret_cast<std::uintptr_t>(image.header->base);
    head.capacity = image.header->capacity;
    Segment first;
    Control control;
    std::uint32_t error = write_checkpoint(descriptor, head, image.bytes());
    if (error == 0) error = first.create(descriptor, head.id, 0, 0);
    if (error == 0) error = Processes::create(descriptor);
    if (error == 0) error = control.create(descriptor, head.id, head.base, head.capacity);
    return error == 0 ? 0 : fail_path(error);
}

std::uint32_t NewFolder::finish() {
    if (::renameat2(AT_FDCWD, working_name_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) !=
        0) {
        return fail_path(error_number());
    }
    working_name_.clear();
    return 0;
}

}  // namespace tarnbase::runtime
