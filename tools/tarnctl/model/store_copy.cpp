// SPDX-License-Identifier: Apache-2.0
//
// Copies a store file for a trial. A store is mapped at the same address in every process, so that
// the original is unmapped before its copy is mapped.
#include <fcntl.h>
#include <fmt/core.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "base/failure.h"
#include "model/store.h"

namespace tarnctl {
namespace {

constexpr int attempts = 10;
constexpr std::chrono::milliseconds pause{20};

class Descriptor {
 public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }
    int number() const { return number_; }

 private:
    int number_;
};

void check(bool good, const std::string &path) {
    if (!good)
        throw Failure(Exit::store, fmt::format("{}: copying it: {}", path, std::strerror(errno)));
}

// Copies the bytes between two offsets.
void copy_range(int from, int to, off_t begin, off_t end, const std::string &path) {
    std::array<char, 1U << 16U> buffer;
    while (begin < end) {
        const auto wanted =
            std::min<std::size_t>(buffer.size(), static_cast<std::size_t>(end - begin));
        const ssize_t got = pread(from, buffer.data(), wanted, begin);
        check(got >= 0, path);
        if (got == 0) return;
        check(pwrite(to, buffer.data(), static_cast<std::size_t>(got), begin) == got, path);
        begin += got;
    }
}

// Keeps holes as holes.
void copy_file(int from, int to, const std::string &path) {
    struct stat status;
    check(fstat(from, &status) == 0, path);
    check(ftruncate(to, 0) == 0 && ftruncate(to, status.st_size) == 0, path);
    for (off_t end = 0;;) {
        const off_t begin = lseek(from, end, SEEK_DATA);
        if (begin < 0 && errno == ENXIO) return;
        check(begin >= 0, path);
        end = lseek(from, begin, SEEK_HOLE);
        check(end >= 0, path);
        copy_range(from, to, begin, end, path);
    }
}

bool is_same_state(const kel_store_description &a, const kel_store_description &b) {
    return a.transactions == b.transactions && a.committed == b.committed &&
           a.rolled_back == b.rolled_back;
}

}  // namespace

Store Store::copy_of(const std::string &path) {
    const Descriptor copy(memfd_create("store", MFD_CLOEXEC));
    check(copy.number() >= 0, path);
    {
        const Store original = open_to_write(path);
        const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        check(file.number() >= 0, path);
        for (int attempt = 1;; ++attempt) {
            const kel_store_description before = original.describe();
            copy_file(file.number(), copy.number(), path);
            if (before.transactions == 0 && is_same_state(before, original.describe())) break;
            if (attempt == attempts)
                throw Failure(Exit::busy, fmt::format("{}: another process keeps changing it; "
                                                      "try again when it is done",
                                                      path));
            std::this_thread::sleep_for(pause);
        }
    }
    Store store = open_to_write(fmt::format("/proc/self/fd/{}", copy.number()));
    store.path_ = path;
    return store;
}

}  // namespace tarnctl
