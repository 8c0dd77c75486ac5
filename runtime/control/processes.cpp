// SPDX-License-Identifier: Apache-2.0
#include "runtime/control/processes.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <vector>

#include "runtime/base/file.h"
#include "runtime/base/file_io.h"

namespace tarnbase::runtime {

namespace {

// The files that this process has open.
struct OpenFile {
    dev_t device;
    ino_t inode;
    bool operator==(const OpenFile &) const = default;
};
std::mutex open_files_mutex;
std::vector<OpenFile> open_files;

OpenFile identify(const struct stat &status) { return {status.st_dev, status.st_ino}; }

struct flock record_lock(short type, std::uint32_t byte) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

}  // namespace

// The mutex is held during a fork, so that the child finds it free and the list complete.
std::uint32_t Processes::count_forks() {
    static const int error =
        ::pthread_atfork([] { open_files_mutex.lock(); }, [] { open_files_mutex.unlock(); },
                         [] {
                             forks.fetch_add(1, std::memory_order_relaxed);
                             open_files.clear();
                             open_files_mutex.unlock();
                         });
    return static_cast<std::uint32_t>(error);
}

Processes::~Processes() {
    // In a child it stays open: closing it would release the locks of the child, if that has
    // opened the store itself.
    if (descriptor_ < 0 || is_inherited()) return;
    const std::lock_guard guard(open_files_mutex);
    struct stat status;
    if (::fstat(descriptor_, &status) == 0) std::erase(open_files, identify(status));
    ::close(descriptor_);
}

std::uint32_t Processes::create(int folder) {
    const File file(
        ::openat(folder, processes_name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0622));
    return file.is_open() ? 0 : error_number();
}

std::uint32_t Processes::open(int folder) {
    if (const std::uint32_t error = count_forks()) return error;
    const std::lock_guard guard(open_files_mutex);
    struct stat status;
    // Compared before it is opened: closing it again would release the locks.
    if (::fstatat(folder, processes_name, &status, 0) != 0) return error_number();
    if (std::ranges::find(open_files, identify(status)) != open_files.end()) return EBUSY;
    if (!S_ISREG(status.st_mode)) return EINVAL;
    open_files.reserve(open_files.size() + 1);
    descriptor_ = ::openat(folder, processes_name, O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) return error_number();
    if (::fstat(descriptor_, &status) == 0) open_files.push_back(identify(status));
    forks_ = forks.load(std::memory_order_relaxed);
    return 0;
}

std::uint32_t Processes::take_number(std::uint32_t limit, std::uint32_t &number) const {
    for (number = 0; number < limit; ++number) {
        if (try_lock(number)) return 0;
        if (errno != EAGAIN && errno != EACCES) return error_number();
    }
    return EAGAIN;
}

bool Processes::try_lock(std::uint32_t byte) const {
    struct flock lock = record_lock(F_WRLCK, byte);
    return ::fcntl(descriptor_, F_SETLK, &lock) == 0;
}

bool Processes::lock(std::uint32_t byte) const {
    struct flock lock = record_lock(F_WRLCK, byte);
    int result = 0;
    do {
        result = ::fcntl(descriptor_, F_SETLKW, &lock);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

void Processes::unlock(std::uint32_t byte) const {
    struct flock lock = record_lock(F_UNLCK, byte);
    ::fcntl(descriptor_, F_SETLK, &lock);
}

bool Processes::is_locked(std::uint32_t byte, std::uint32_t &pid) const {
    struct flock lock = record_lock(F_WRLCK, byte);
    pid = 0;
    // An error isn't taken for a death.
    if (::fcntl(descriptor_, F_GETLK, &lock) != 0) return true;
    if (lock.l_type == F_UNLCK) return false;
    pid = static_cast<std::uint32_t>(std::max<pid_t>(lock.l_pid, 0));
    return true;
}

}  // namespace tarnbase::runtime
