// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/store_files.h"

#include <sys/stat.h>

#include <string_view>

#include "runtime/base/error_text.h"
#include "runtime/base/folder_entries.h"
#include "runtime/log/segment_files.h"
#include "runtime/store/new_folder.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t block_unit = 512;  // of stat(2)

std::uint64_t disk_bytes(const struct stat &status) {
    return static_cast<std::uint64_t>(status.st_blocks) * block_unit;
}

std::uint64_t time_of(const struct stat &status) {
    return static_cast<std::uint64_t>(status.st_mtim.tv_sec) * 1'000'000'000 +
           static_cast<std::uint64_t>(status.st_mtim.tv_nsec);
}

}  // namespace

std::uint32_t back_up(StoreFolder &store, std::uint64_t size, const char *path) {
    struct stat status;
    if (::fstat(store.folder.descriptor(), &status) != 0) return fail_errno(store.path.c_str());
    NewFolder made;
    if (const std::uint32_t error = made.begin(path, status.st_mode & 0777)) return error;
    Image image;
    Follower follower(store, image);
    if (const std::uint32_t error = follower.load_second(size, nullptr)) return error;
    if (const std::uint32_t error = made.fill(image)) return error;
    return made.finish();
}

std::uint32_t describe_files(const StoreFolder &store, kel_store_files &files) {
    files = {};
    const FolderEntries entries = entries_of(store.folder.descriptor());
    if (entries == nullptr) return fail_errno(store.path.c_str());
    const std::string newest = checkpoint_name(store.control.page().checkpoint.load());
    while (const dirent *entry = ::readdir(entries.get())) {
        const std::string_view name = entry->d_name;
        struct stat status;
        // A file that was removed meanwhile takes nothing.
        if (name == ".." ||
            ::fstatat(::dirfd(entries.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        files.bytes += disk_bytes(status);
        if (is_log_file(name)) files.log_bytes += disk_bytes(status);
        if (name != newest) continue;
        files.checkpoint_bytes = disk_bytes(status);
        files.checkpoint_time = time_of(status);
    }
    return 0;
}

}  // namespace tarnbase::runtime
