/* SPDX-License-Identifier: Apache-2.0 */
// Reads and writes whole ranges of a file, whatever interrupts them, within the process's limit.
#ifndef TARNBASE_RUNTIME_BASE_FILE_IO_H
#define TARNBASE_RUNTIME_BASE_FILE_IO_H

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <span>

namespace tarnbase::runtime {

inline std::uint32_t error_number() { return static_cast<std::uint32_t>(errno); }

// Whether the process may not make a file of that length. Without this test the kernel sends
// SIGXFSZ.
inline bool is_above_file_limit(std::uint64_t bytes) {
    rlimit limit;
    return ::getrlimit(RLIMIT_FSIZE, &limit) == 0 && bytes > limit.rlim_cur;
}

// Returns 0 or an errno number; ENODATA: the file ends before `into` is full.
inline std::uint32_t read_fully(int file, std::span<char> into, std::uint64_t offset) {
    while (!into.empty()) {
        const ssize_t got = ::pread(file, into.data(), into.size(), static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return error_number();
        if (got == 0) return ENODATA;
        into = into.subspan(static_cast<std::size_t>(got));
        offset += static_cast<std::uint64_t>(got);
    }
    return 0;
}

// Returns 0 or an errno number.
inline std::uint32_t write_fully(int file, std::span<const char> bytes, std::uint64_t offset) {
    while (!bytes.empty()) {
        const ssize_t put = ::pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) return error_number();
        if (put == 0) return ENOSPC;
        bytes = bytes.subspan(static_cast<std::size_t>(put));
        offset += static_cast<std::uint64_t>(put);
    }
    return 0;
}

}  // namespace tarnbase::runtime

#endif
