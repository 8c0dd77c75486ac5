/* SPDX-License-Identifier: Apache-2.0 */
// The entries of a folder.
#ifndef TARNBASE_RUNTIME_BASE_FOLDER_ENTRIES_H
#define TARNBASE_RUNTIME_BASE_FOLDER_ENTRIES_H

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

namespace tarnbase::runtime {

struct CloseFolder {
    void operator()(DIR *folder) const { ::closedir(folder); }
};

using FolderEntries = std::unique_ptr<DIR, CloseFolder>;

// For readdir(3): the entries from the first one on, wherever `folder` itself was read up to.
// Null with errno set if they can't be read.
inline FolderEntries entries_of(int folder) {
    const int descriptor = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return nullptr;
    DIR *entries = ::fdopendir(descriptor);
    if (entries == nullptr) {
        const int error = errno;
        ::close(descriptor);
        errno = error;
    }
    return FolderEntries(entries);
}

}  // namespace tarnbase::runtime

#endif
