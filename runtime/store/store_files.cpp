// SPDX-License-Identifier: Apache-2.0
#include "runtime/store/store_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

#include "runtime/base/error_text.h"
#include "runtime/store/new_folder.h"

namespace tarnbase::runtime {

namespace {

constexpr std::uint64_t block_unit = 512;  // of stat(2)

struct CloseFolder {
    void operator()(DIR *folder) const { ::closedir(folder); }
};

std::uint32_t fail_errno(const StoreFolder &store) {
    const int error = errno;
    return fail(static_cast<std::uint32_t>(error), "%s: %s", store.path.c_str(),
                std::strerror(error));
}

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
    if (::fstat(store.folder.descriptor(), &status) != 0) return fail_errno(store);
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
    const int opened = ::openat(store.folder.descriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, CloseFolder> entries(opened >= 0 ? ::fdopendir(opened) : nullptr);
    if (entries == nullptr) {
        const std::uint32_t error = fail_errno(store);
        if (opened >= 0) ::close(opened);
        return error;
    }
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
        if (name.starts_with("log-")) files.log_bytes += disk_bytes(status);
        if (name != newest) continue;
        files.checkpoint_bytes = disk_bytes(status);
        files.checkpoint_time = time_of(status);
    }
    return 0;
}

}  // namespace tarnbase::runtime
