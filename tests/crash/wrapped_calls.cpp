// SPDX-License-Identifier: Apache-2.0
// The copies and the system calls of the runtime, which the linker's --wrap redirects here. A
// copy or a write that is the last point does half of its work.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdarg>
#include <cstddef>

#include "tests/crash/points.h"

using crash::call_point;
using crash::die;
using crash::is_last;
using crash::is_last_call;

extern "C" {

void *__real_memcpy(void *to, const void *from, std::size_t length);
void *__wrap_memcpy(void *to, const void *from, std::size_t length);
void *__wrap_memcpy(void *to, const void *from, std::size_t length) {
    if (length != 0 && is_last(to)) {
        __real_memcpy(to, from, length / 2);
        die();
    }
    return __real_memcpy(to, from, length);
}

void *__real_memmove(void *to, const void *from, std::size_t length);
void *__wrap_memmove(void *to, const void *from, std::size_t length);
void *__wrap_memmove(void *to, const void *from, std::size_t length) {
    if (length != 0 && is_last(to)) {
        __real_memmove(to, from, length / 2);
        die();
    }
    return __real_memmove(to, from, length);
}

void *__real_memset(void *to, int value, std::size_t length);
void *__wrap_memset(void *to, int value, std::size_t length);
void *__wrap_memset(void *to, int value, std::size_t length) {
    if (length != 0 && is_last(to)) {
        __real_memset(to, value, length / 2);
        die();
    }
    return __real_memset(to, value, length);
}

// clang's names of the same.
void *__tsan_memcpy(void *to, const void *from, std::size_t length) {
    return __wrap_memcpy(to, from, length);
}
void *__tsan_memmove(void *to, const void *from, std::size_t length) {
    return __wrap_memmove(to, from, length);
}
void *__tsan_memset(void *to, int value, std::size_t length) {
    return __wrap_memset(to, value, length);
}

#define CRASH_WRITE(name, buffer, length, parameters, half, all) \
    ssize_t __real_##name parameters;                            \
    ssize_t __wrap_##name parameters;                            \
    ssize_t __wrap_##name parameters {                           \
        call_point();                                            \
        if (is_last_call()) {                                    \
            (void)!__real_##name half;                           \
            die();                                               \
        }                                                        \
        const ssize_t result = __real_##name all;                \
        call_point();                                            \
        return result;                                           \
    }

CRASH_WRITE(write, buffer, length, (int file, const void *buffer, std::size_t length),
            (file, buffer, length / 2), (file, buffer, length))
CRASH_WRITE(pwrite, buffer, length, (int file, const void *buffer, std::size_t length, off_t at),
            (file, buffer, length / 2, at), (file, buffer, length, at))
CRASH_WRITE(writev, parts, count, (int file, const iovec *parts, int count),
            (file, parts, count / 2), (file, parts, count))
CRASH_WRITE(pwritev, parts, count, (int file, const iovec *parts, int count, off_t at),
            (file, parts, count / 2, at), (file, parts, count, at))

// A call that changes files: a point before it and one after it.
#define CRASH_CALL(result_type, name, parameters, arguments) \
    result_type __real_##name parameters;                    \
    result_type __wrap_##name parameters;                    \
    result_type __wrap_##name parameters {                   \
        call_point();                                        \
        const result_type result = __real_##name arguments;  \
        call_point();                                        \
        return result;                                       \
    }

CRASH_CALL(int, rename, (const char *from, const char *to), (from, to))
CRASH_CALL(int, renameat, (int a, const char *from, int b, const char *to), (a, from, b, to))
CRASH_CALL(int, renameat2, (int a, const char *from, int b, const char *to, unsigned flags),
           (a, from, b, to, flags))
CRASH_CALL(int, link, (const char *from, const char *to), (from, to))
CRASH_CALL(int, linkat, (int a, const char *from, int b, const char *to, int flags),
           (a, from, b, to, flags))
CRASH_CALL(int, unlink, (const char *path), (path))
CRASH_CALL(int, unlinkat, (int folder, const char *path, int flags), (folder, path, flags))
CRASH_CALL(int, mkdir, (const char *path, mode_t mode), (path, mode))
CRASH_CALL(int, mkdirat, (int folder, const char *path, mode_t mode), (folder, path, mode))
CRASH_CALL(int, rmdir, (const char *path), (path))

CRASH_CALL(int, ftruncate, (int file, off_t length), (file, length))
CRASH_CALL(int, fallocate, (int file, int mode, off_t from, off_t length),
           (file, mode, from, length))
CRASH_CALL(int, posix_fallocate, (int file, off_t from, off_t length), (file, from, length))
CRASH_CALL(ssize_t, copy_file_range,
           (int from, off_t *from_at, int to, off_t *to_at, std::size_t length, unsigned flags),
           (from, from_at, to, to_at, length, flags))
CRASH_CALL(int, flock, (int file, int operation), (file, operation))
CRASH_CALL(int, fchmod, (int file, mode_t mode), (file, mode))

// Only an open that may create a file, or cut it, changes one.
constexpr int changing_flags = O_CREAT | O_TRUNC;

int __real_open(const char *path, int flags, ...);
int __wrap_open(const char *path, int flags, ...);
int __wrap_open(const char *path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    if ((flags & changing_flags) == 0) return __real_open(path, flags, mode);
    call_point();
    const int result = __real_open(path, flags, mode);
    call_point();
    return result;
}

int __real_openat(int folder, const char *path, int flags, ...);
int __wrap_openat(int folder, const char *path, int flags, ...);
int __wrap_openat(int folder, const char *path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    if ((flags & changing_flags) == 0) return __real_openat(folder, path, flags, mode);
    call_point();
    const int result = __real_openat(folder, path, flags, mode);
    call_point();
    return result;
}

// Locks of the kernel end with the process: another one may take them over.
int __real_fcntl(int file, int command, ...);
int __wrap_fcntl(int file, int command, ...);
int __wrap_fcntl(int file, int command, ...) {
    va_list rest;
    va_start(rest, command);
    void *const argument = va_arg(rest, void *);
    va_end(rest);
    const bool is_lock = command == F_SETLK || command == F_SETLKW || command == F_OFD_SETLK ||
                         command == F_OFD_SETLKW;
    if (is_lock) call_point();
    const int result = __real_fcntl(file, command, argument);
    if (is_lock) call_point();
    return result;
}

void *__real_mmap(void *at, std::size_t length, int protection, int flags, int file, off_t from);
void *__wrap_mmap(void *at, std::size_t length, int protection, int flags, int file, off_t from);
void *__wrap_mmap(void *at, std::size_t length, int protection, int flags, int file, off_t from) {
    call_point();
    void *const result = __real_mmap(at, length, protection, flags, file, from);
    if (result != MAP_FAILED) {
        crash::no_mapping(result, length);
        const bool is_shared =
            (flags & MAP_TYPE) == MAP_SHARED || (flags & MAP_TYPE) == MAP_SHARED_VALIDATE;
        if (is_shared && file >= 0) crash::shared_mapping(result, length);
    }
    call_point();
    return result;
}

int __real_munmap(void *at, std::size_t length);
int __wrap_munmap(void *at, std::size_t length);
int __wrap_munmap(void *at, std::size_t length) {
    call_point();
    crash::no_mapping(at, length);
    return __real_munmap(at, length);
}

}  // extern "C"
