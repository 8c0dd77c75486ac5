/* SPDX-License-Identifier: Apache-2.0 */
// A store's folder with its control file and the file of processes, and a page that the
// processes of a test share.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_CONTROL_STORE_FOLDER_H
#define TARNBASE_TESTS_UNIT_RUNTIME_CONTROL_STORE_FOLDER_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>

#include "runtime/base/file.h"
#include "runtime/control/control.h"
#include "runtime/control/lock_protocol.h"
#include "runtime/control/writer_lock.h"
#include "tests/support/temporary_directory.h"
#include "tests/unit/runtime_store/peer.h"

namespace tarn::test {

using tarnbase::runtime::Control;
using tarnbase::runtime::ControlPage;
using tarnbase::runtime::File;
using tarnbase::runtime::Holder;
using tarnbase::runtime::LockPage;
using tarnbase::runtime::Processes;
using tarnbase::runtime::WriterLock;

inline constexpr tarnbase::runtime::StoreId test_id{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
inline constexpr std::uint64_t test_base = 0x2000'0000'0000;
inline constexpr std::uint64_t test_capacity = 64ULL << 20;

// What the processes of a test tell each other. A plain number needs the writer's lock.
struct Notes {
    std::uint64_t counter;
    std::uint64_t copy;
    std::atomic<std::uint32_t> pid;
    std::atomic<std::uint32_t> flag;
};

// The store as one process has it.
struct Opened {
    explicit Opened(const char *path) : folder(::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        error = control.open(folder.descriptor(), path);
    }
    std::uint32_t attach() { return lock.attach(folder.descriptor(), control.page().lock); }

    File folder;
    std::uint32_t error = 0;
    Control control;
    WriterLock lock;  // destroyed first
};

class StoreFolder : public ::testing::Test {
 protected:
    StoreFolder() {
        ::chmod(path(), 0755);
        const File folder(::open(path(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        Control control;
        EXPECT_EQ(control.create(folder.descriptor(), test_id, test_base, test_capacity), 0u);
        EXPECT_EQ(Processes::create(folder.descriptor()), 0u);
        void *page = ::mmap(nullptr, sizeof(Notes), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        notes_ = new (page) Notes{};
    }
    ~StoreFolder() override { ::munmap(notes_, sizeof(Notes)); }

    const char *path() const { return path_.c_str(); }
    std::string file(const char *name) const { return directory_ / name; }

    // Forked processes have it at the same place.
    static inline Notes *notes_ = nullptr;

 private:
    const TemporaryDirectory directory_;
    const std::string path_ = directory_.path();
};

}  // namespace tarn::test

#endif
