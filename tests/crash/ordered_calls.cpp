// SPDX-License-Identifier: Apache-2.0
// What the instrumented runtime calls in place of points.cpp and wrapped_calls.cpp: steps of the
// processes of orders.h, whose record locks, sleeps and mappings are their own.
#include <dirent.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "runtime/control/control.h"
#include "tests/crash/orders.h"
#include "tests/crash/points.h"

using crash::Orders;
using tarnbase::runtime::ControlPage;

namespace {

enum class Mapping : std::uint8_t { other, control, log };
struct Mapped {
    std::size_t length;
    Mapping kind;
};
std::map<std::uintptr_t, Mapped> mappings;
std::set<DIR *> folders;
std::set<int> files;
std::map<int, std::size_t> processes_files;  // the processes that have opened them

// The mapping of a kind that contains an address; 0: none.
std::uintptr_t find(const void *address, Mapping kind) {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    auto found = mappings.upper_bound(at);
    if (found == mappings.begin()) return 0;
    --found;
    return found->second.kind == kind && at < found->first + found->second.length ? found->first
                                                                                  : 0;
}

// Whether a word of the control file is one that the order of steps is about. The lock is
// explored apart, and the others are for waiting, and to save work.
const char *shared_word(const void *address) {
    const std::uintptr_t page = find(address, Mapping::control);
    if (page == 0) return nullptr;
    const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(address) - page;
    if (offset == offsetof(ControlPage, published)) return "published";
    if (offset == offsetof(ControlPage, checkpoint)) return "checkpoint";
    return nullptr;
}

// Whether files of this name are made and removed by the processes.
bool is_shared_file(std::string_view name) {
    return name == "." || name.starts_with("log-") || name.starts_with("checkpoint-");
}

Orders *orders_of(const char *name) { return is_shared_file(name) ? Orders::current() : nullptr; }

// The names that a process is about to read.
std::uint64_t listed(int folder) {
    std::set<std::string> names;
    DIR *const opened = ::fdopendir(::dup(folder));
    while (const dirent *entry = ::readdir(opened)) names.insert(entry->d_name);
    ::rewinddir(opened);
    ::closedir(opened);
    std::uint64_t hash = 0;
    for (const std::string &name : names) hash = hash * 31 + std::hash<std::string>{}(name);
    return hash;
}

std::uint64_t inode_of(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 ? status.st_ino : 0;
}

}  // namespace

namespace crash {

void point(const void *address) {
    Orders *const orders = Orders::current();
    const char *const word = orders != nullptr ? shared_word(address) : nullptr;
    if (word != nullptr) orders->step("stores", word);
}

void load_point(const void *address) {
    Orders *const orders = Orders::current();
    const char *const word = orders != nullptr ? shared_word(address) : nullptr;
    if (word == nullptr) return;
    orders->step("loads", word);
    orders->note(__atomic_load_n(static_cast<const std::uint64_t *>(address), __ATOMIC_SEQ_CST));
}

}  // namespace crash

extern "C" {

void *__real_memcpy(void *to, const void *from, std::size_t length);
void *__wrap_memcpy(void *to, const void *from, std::size_t length);
void *__wrap_memcpy(void *to, const void *from, std::size_t length) {
    Orders *const orders = Orders::current();
    if (orders != nullptr && find(to, Mapping::log) != 0) {
        orders->copy_step([=] { __real_memcpy(to, from, length / 2); });
    }
    return __real_memcpy(to, from, length);
}

void *__real_memset(void *to, int value, std::size_t length);
void *__wrap_memset(void *to, int value, std::size_t length);
void *__wrap_memset(void *to, int value, std::size_t length) {
    Orders *const orders = Orders::current();
    if (orders != nullptr && find(to, Mapping::log) != 0) {
        orders->copy_step([=] { __real_memset(to, value, length / 2); });
    }
    return __real_memset(to, value, length);
}

// clang's names of the same.
void *__tsan_memcpy(void *to, const void *from, std::size_t length) {
    return __wrap_memcpy(to, from, length);
}
void *__tsan_memmove(void *to, const void *from, std::size_t length) {
    return std::memmove(to, from, length);
}
void *__tsan_memset(void *to, int value, std::size_t length) {
    return __wrap_memset(to, value, length);
}

int __real_openat(int folder, const char *path, int flags, ...);
int __wrap_openat(int folder, const char *path, int flags, ...);
int __wrap_openat(int folder, const char *path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    Orders *const orders = orders_of(path);
    if (orders != nullptr) orders->step((flags & O_CREAT) != 0 ? "creates" : "opens", path);
    const int file = __real_openat(folder, path, flags, mode);
    if (file >= 0) files.insert(file);
    if (Orders::current() != nullptr && std::string_view(path) == "processes") {
        processes_files[file] = Orders::current()->process();
    }
    if (orders == nullptr) return file;
    const int error = errno;
    if (file < 0) {
        orders->note(static_cast<std::uint64_t>(error));
    } else if (std::string_view(path) == ".") {
        orders->note(listed(file));
    } else {
        if ((flags & O_CREAT) != 0) orders->made_file(inode_of(file));
        orders->note(orders->label(inode_of(file)));
    }
    errno = error;
    return file;
}

int __real_close(int file);
int __wrap_close(int file);
int __wrap_close(int file) {
    files.erase(file);
    processes_files.erase(file);
    return __real_close(file);
}

int __real_renameat(int a, const char *from, int b, const char *to);
int __wrap_renameat(int a, const char *from, int b, const char *to);
int __wrap_renameat(int a, const char *from, int b, const char *to) {
    Orders *const orders = orders_of(to);
    if (orders != nullptr) orders->step("renames to", to);
    const int result = __real_renameat(a, from, b, to);
    if (orders != nullptr) orders->note(result == 0 ? 0 : static_cast<std::uint64_t>(errno));
    return result;
}

int __real_unlinkat(int folder, const char *path, int flags);
int __wrap_unlinkat(int folder, const char *path, int flags);
int __wrap_unlinkat(int folder, const char *path, int flags) {
    Orders *const orders = orders_of(path);
    if (orders != nullptr) orders->step("unlinks", path);
    const int result = __real_unlinkat(folder, path, flags);
    if (orders != nullptr) orders->note(result == 0 ? 0 : static_cast<std::uint64_t>(errno));
    return result;
}

DIR *__real_fdopendir(int file);
DIR *__wrap_fdopendir(int file);
DIR *__wrap_fdopendir(int file) {
    DIR *const folder = __real_fdopendir(file);
    if (folder != nullptr) {
        files.erase(file);
        folders.insert(folder);
    }
    return folder;
}

int __real_closedir(DIR *folder);
int __wrap_closedir(DIR *folder);
int __wrap_closedir(DIR *folder) {
    folders.erase(folder);
    return __real_closedir(folder);
}

void *__real_mmap(void *at, std::size_t length, int protection, int flags, int file, off_t from);
void *__wrap_mmap(void *at, std::size_t length, int protection, int flags, int file, off_t from);
void *__wrap_mmap(void *at, std::size_t length, int protection, int flags, int file, off_t from) {
    void *const result = __real_mmap(at, length, protection, flags, file, from);
    // A mapping in a mapping ends with that.
    if (result == MAP_FAILED || (flags & MAP_FIXED) != 0) return result;
    const bool is_shared = (flags & MAP_TYPE) == MAP_SHARED && file >= 0;
    const bool is_log = is_shared && (protection & PROT_WRITE) != 0;
    const bool is_control = is_shared && length == sizeof(ControlPage);
    mappings[reinterpret_cast<std::uintptr_t>(result)] = {length, is_control ? Mapping::control
                                                                  : is_log   ? Mapping::log
                                                                             : Mapping::other};
    return result;
}

int __real_munmap(void *at, std::size_t length);
int __wrap_munmap(void *at, std::size_t length);
int __wrap_munmap(void *at, std::size_t length) {
    mappings.erase(reinterpret_cast<std::uintptr_t>(at));
    return __real_munmap(at, length);
}

// A process of ours opens the file `processes` once, and the real one often: each sees it as a
// file of its own.
constexpr std::uint64_t per_process = 1ULL << 40;

int __real_fstat(int file, struct stat *status);
int __wrap_fstat(int file, struct stat *status);
int __wrap_fstat(int file, struct stat *status) {
    const int result = __real_fstat(file, status);
    const auto found = processes_files.find(file);
    if (found != processes_files.end()) status->st_ino += (found->second + 1) * per_process;
    return result;
}

int __real_fstatat(int folder, const char *path, struct stat *status, int flags);
int __wrap_fstatat(int folder, const char *path, struct stat *status, int flags);
int __wrap_fstatat(int folder, const char *path, struct stat *status, int flags) {
    const int result = __real_fstatat(folder, path, status, flags);
    const Orders *const orders = Orders::current();
    if (orders != nullptr && std::string_view(path) == "processes") {
        status->st_ino += (orders->process() + 1) * per_process;
    }
    return result;
}

int __real_fcntl(int file, int command, ...);
int __wrap_fcntl(int file, int command, ...);
int __wrap_fcntl(int file, int command, ...) {
    va_list rest;
    va_start(rest, command);
    void *const argument = va_arg(rest, void *);
    va_end(rest);
    Orders *const orders = Orders::current();
    if (orders == nullptr || (command != F_SETLK && command != F_GETLK)) {
        return __real_fcntl(file, command, argument);
    }
    auto *const lock = static_cast<struct flock *>(argument);
    const auto byte = static_cast<std::uint64_t>(lock->l_start);
    if (command == F_GETLK) {
        if (!orders->is_locked(byte)) lock->l_type = F_UNLCK;
        return 0;
    }
    if (lock->l_type == F_UNLCK) {
        orders->unlock(byte);
        return 0;
    }
    orders->step("locks byte", std::to_string(byte));
    const bool is_ours = orders->try_lock(byte);
    orders->note(is_ours);
    if (!is_ours) errno = EAGAIN;
    return is_ours ? 0 : -1;
}

long __real_syscall(long number, ...);
long __wrap_syscall(long number, ...);
long __wrap_syscall(long number, ...) {
    va_list rest;
    va_start(rest, number);
    long arguments[6];
    for (long &argument : arguments) argument = va_arg(rest, long);
    va_end(rest);
    Orders *const orders = Orders::current();
    if (orders == nullptr || !orders->explores() || number != SYS_futex) {
        return __real_syscall(number, arguments[0], arguments[1], arguments[2], arguments[3],
                              arguments[4], arguments[5]);
    }
    // A sleeper sees by itself that the word has changed.
    if (static_cast<int>(arguments[1]) == FUTEX_WAIT) {
        orders->sleep(reinterpret_cast<const std::uint32_t *>(arguments[0]),
                      static_cast<std::uint32_t>(arguments[2]));
    }
    return 0;
}

}  // extern "C"

namespace crash {

void free_left_over() {
    for (DIR *const folder : std::exchange(folders, {})) __real_closedir(folder);
    for (const int file : std::exchange(files, {})) __real_close(file);
    for (const auto &[at, mapped] : std::exchange(mappings, {})) {
        __real_munmap(reinterpret_cast<void *>(at), mapped.length);
    }
    processes_files.clear();
}

}  // namespace crash
