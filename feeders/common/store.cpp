// SPDX-License-Identifier: Apache-2.0
#include "common/store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "tarnbase/tarn/journal.hpp"

namespace feeder {
namespace {

constexpr int64_t kLockMilliseconds = 1000;
constexpr uint32_t kIntervalMilliseconds = 1000;

// Files that others than the user and the group can't read.
class Umask {
 public:
    Umask() : former_(umask(0027)) {}
    Umask(const Umask &) = delete;
    Umask &operator=(const Umask &) = delete;
    ~Umask() { umask(former_); }

 private:
    const mode_t former_;
};

void set_journal(tarn::store &store, const StoreSettings &settings) {
    kel_journal_settings wanted = tarn::try_describe_journal(store).value().settings;
    const kel_journal_settings present = wanted;
    if (settings.journal && wanted.enabled == KEL_JOURNAL_OFF) wanted.enabled = KEL_JOURNAL_ON;
    if (settings.durability && wanted.durability != *settings.durability) {
        wanted.durability = *settings.durability;
        wanted.interval = wanted.durability == KEL_DURABILITY_INTERVAL ? kIntervalMilliseconds : 0;
    }
    if (wanted.enabled != present.enabled || wanted.durability != present.durability)
        tarn::set_journal(store, wanted);
}

std::string lock_path(const std::string &store, const std::string &program) {
    std::filesystem::path path(store);
    if (!path.has_filename()) path = path.parent_path();
    const std::string name = "." + path.filename().string() + "." + program + ".lock";
    return path.replace_filename(name).string();
}

}  // namespace

void add_store_options(cli::Command &program, StoreSettings &settings) {
    program
        .option("-s,--store", "STORE", cli::into(settings.path),
                "Store, created if it doesn't exist")
        .required();
    program.flag("--journal", settings.journal, "Let the store keep its history, if it doesn't");
    program.option("--durability", "WHEN",
                   cli::one_of({"process", "interval", "commit"},
                               [&settings](const std::string &word) {
                                   settings.durability = word == "commit" ? KEL_DURABILITY_COMMIT
                                                         : word == "interval"
                                                             ? KEL_DURABILITY_INTERVAL
                                                             : KEL_DURABILITY_PROCESS;
                               }),
                   "What a power loss leaves: all commits (commit), all but those of the last "
                   "second (interval), or what the system has written by itself (process)");
}

tarn::store open_store(const StoreSettings &settings) {
    const Umask umask;
    tarn::store store = tarn::store::open_or_create(settings.path);
    store.set_lock_timeout(kLockMilliseconds);
    set_journal(store, settings);
    return store;
}

bool will_pass(const tarn::error &error) {
    return error.number() == ETIMEDOUT || error.number() == ENOSPC || error.number() == EDQUOT;
}

Ownership::Ownership(const std::string &store, const std::string &program) {
    const std::string path = lock_path(store, program);
    file_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file_ < 0) throw tarn::error(uint32_t(errno), path + ": " + std::strerror(errno));
    if (flock(file_, LOCK_EX | LOCK_NB) == 0) return;
    const int reason = errno;
    close(file_);
    if (reason != EWOULDBLOCK)
        throw tarn::error(uint32_t(reason), path + ": " + std::strerror(reason));
    throw tarn::error(ETIMEDOUT, store + ": another " + program + " keeps this store");
}

Ownership::~Ownership() { close(file_); }

}  // namespace feeder
