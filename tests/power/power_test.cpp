// SPDX-License-Identifier: Apache-2.0
// A process works on a store. At each of its flushes, renames and removals, and between, a power
// loss is simulated: another process opens what the disk may have then, as after a restart, and
// compares it with the model.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>

#include "runtime/control/control.h"
#include "tests/power/disk.h"
#include "tests/power/workload.h"
#include "tests/support/temporary_directory.h"

namespace power {
namespace {

using tarnbase::runtime::ControlPage;

constexpr std::uint64_t usual_cuts = 2'000;
constexpr std::uint64_t cuts_of_a_run = 400;  // with one store
constexpr std::uint64_t cuts_at_once = 3;

// What the working process says of a cut.
struct Cut {
    std::uint64_t seed;
    std::uint64_t least;  // the last transaction that must be there
    std::uint64_t most;   // the last one that may be there
};

struct Run {
    std::uint64_t seed;
    std::uint64_t cuts;
    std::uint32_t durability;
    bool is_compressed;  // the journal, which is kept as a whole then
    std::string folder;
    std::string store() const { return folder + "/store"; }
    std::string lost() const { return folder + "/lost"; }
};

template <typename T>
bool send(int pipe, const T &value) {
    return ::write(pipe, &value, sizeof value) == sizeof value;
}

template <typename T>
bool receive(int pipe, T &value) {
    ssize_t got = 0;
    do {
        got = ::read(pipe, &value, sizeof value);
    } while (got < 0 && errno == EINTR);
    return got == sizeof value;
}

// Notes what is flushed, and cuts. It lives in the working process.
class Recorder {
 public:
    Recorder(const Run &run, int requests, int replies)
        : run_(run),
          requests_(requests),
          replies_(replies),
          disk_(run.store()),
          random_(run.seed) {}

    std::atomic<std::uint64_t> begun = 0;
    std::atomic<std::uint64_t> committed = 0;
    std::atomic<std::uint64_t> flushed = 0;  // the last transaction known to be on the disk
    bool is_done() const { return cuts_ >= run_.cuts; }

    // Each cuts before and after the call.
    int flush(int descriptor, int (*call)(int)) {
        const std::lock_guard guard(mutex_);
        Disk::Flush flush = disk_.begin_flush(descriptor);
        cut();
        const int result = call(descriptor);
        if (result == 0) disk_.end_flush(std::move(flush));
        cut();
        return result;
    }
    void forget(const char *name) {
        const std::lock_guard guard(mutex_);
        cut();
        disk_.forget(name);
    }
    void cut_now() {
        const std::lock_guard guard(mutex_);
        cut();
    }

 private:
    void cut() {
        for (std::uint64_t i = 0; i < cuts_at_once && !is_done(); ++i) {
            Cut cut{run_.seed * 1'000'000 + cuts_, 0, 0};
            cut.least = run_.durability == KEL_DURABILITY_COMMIT ? committed : flushed;
            disk_.cut(random_, run_.lost());
            cut.most = begun;
            ++cuts_;
            std::uint32_t is_right = 0;
            if (!send(requests_, cut) || !receive(replies_, is_right)) ::_exit(1);
        }
    }

    const Run &run_;
    int requests_;
    int replies_;
    std::mutex mutex_;
    Disk disk_;
    Random random_;
    std::atomic<std::uint64_t> cuts_ = 0;
};

Recorder *recorder = nullptr;

// What a restart of the machine changes.
void restart(const std::string &store) {
    constexpr auto place = static_cast<off_t>(offsetof(ControlPage, boot));
    const int control = ::open((store + "/control").c_str(), O_RDWR | O_CLOEXEC);
    std::uint64_t boot = 0;
    bool is_done = ::pread(control, &boot, sizeof boot, place) == sizeof boot;
    ++boot;
    is_done = is_done && ::pwrite(control, &boot, sizeof boot, place) == sizeof boot;
    ::close(control);
    if (!is_done) throw std::runtime_error("the control file can't be written");
}

// Opens what is left. Throws if it isn't what it should be.
void recover(const Run &run, const Cut &cut) {
    restart(run.lost());
    std::unique_ptr<Workload> store;
    try {
        store = std::make_unique<Workload>(run.lost());
    } catch (const std::exception &) {
        // Nothing is promised; a store that can't be opened is noticed.
        if (run.durability == KEL_DURABILITY_PROCESS) return;
        throw;
    }
    // Without durability, the last state may be an old one.
    if (run.durability == KEL_DURABILITY_PROCESS && !store->has_content()) return;
    const std::uint64_t last = store->check();
    if (last < cut.least || last > cut.most) {
        throw std::runtime_error("transaction " + std::to_string(last) + " is the last one, not " +
                                 std::to_string(cut.least) + " to " + std::to_string(cut.most));
    }
    const bool keeps_history = run.is_compressed && run.durability != KEL_DURABILITY_PROCESS;
    if (keeps_history && cut.seed % 4 == 0) store->check_history(run.lost());
    if (cut.seed % 8 != 0) return;
    // It is usable, and a second loss at once costs nothing.
    store->commit(last + 1);
    store = nullptr;
    restart(run.lost());
    if (Workload(run.lost()).check() != last + 1) throw std::runtime_error("it lost a commit");
}

kel_journal_settings settings_of(const Run &run) {
    constexpr std::uint32_t interval = 2;
    kel_journal_settings settings{};
    settings.enabled = run.is_compressed ? KEL_JOURNAL_COMPRESSED : KEL_JOURNAL_ON;
    settings.durability = run.durability;
    settings.interval = run.durability == KEL_DURABILITY_INTERVAL ? interval : 0;
    settings.keep_bytes = run.is_compressed ? 0 : 1 << 20;
    return settings;
}

[[noreturn]] void work(const Run &run, int requests, int replies) {
    Workload store(run.store());
    store.begin();
    store.set_journal(settings_of(run));
    Recorder recording(run, requests, replies);
    recorder = &recording;
    Random random(run.seed + 1);
    std::map<std::uint64_t, std::uint64_t> ends;  // of the log, after each transaction
    for (std::uint64_t number = 1; !recording.is_done(); ++number) {
        recording.begun = number;
        store.commit(number);
        recording.committed = number;
        const kel_journal_description journal = store.journal();
        ends[journal.end] = number;
        const auto after = ends.upper_bound(journal.durable);
        if (after != ends.begin()) {
            recording.flushed = std::prev(after)->second;
            ends.erase(ends.begin(), std::prev(after));
        }
        if (random() % 4 == 0) recording.cut_now();
        const std::uint64_t which = random() % 60;
        if (which == 0) store.checkpoint();
        if (which == 1) store.compact();
    }
    // Threads of the runtime may be in a call.
    std::_Exit(0);
}

// Runs the working process and recovers from each of its cuts. Returns their number; 0: one failed.
std::uint64_t run_cuts(const Run &run) {
    std::filesystem::create_directory(run.folder);
    int requests[2], replies[2];
    if (::pipe2(requests, O_CLOEXEC) != 0 || ::pipe2(replies, O_CLOEXEC) != 0) return 0;
    const pid_t worker = ::fork();
    if (worker == 0) {
        ::close(requests[0]);
        ::close(replies[1]);
        try {
            work(run, requests[1], replies[0]);
        } catch (const std::exception &error) {
            std::fprintf(stderr, "the working process: %s\n", error.what());
            std::_Exit(1);
        }
    }
    ::close(requests[1]);
    ::close(replies[0]);
    std::uint64_t cuts = 0;
    bool is_right = worker > 0;
    Cut cut{};
    while (is_right && receive(requests[0], cut)) {
        try {
            recover(run, cut);
            std::filesystem::remove_all(run.lost());
            ++cuts;
        } catch (const std::exception &error) {
            std::fprintf(stderr, "cut %llu of seed %llu, durability %u: %s\n",
                         static_cast<unsigned long long>(cuts),
                         static_cast<unsigned long long>(run.seed), run.durability, error.what());
            is_right = false;
        }
        if (is_right && !send(replies[1], std::uint32_t{1})) break;
    }
    ::close(requests[0]);
    ::close(replies[1]);
    int status = 0;
    const bool has_ended = worker > 0 && ::waitpid(worker, &status, 0) == worker;
    if (is_right && (!has_ended || status != 0))
        std::fprintf(stderr, "seed %llu: the working process ended with status %d after %llu cuts\n",
                     static_cast<unsigned long long>(run.seed), status,
                     static_cast<unsigned long long>(cuts));
    return is_right && has_ended && status == 0 ? cuts : 0;
}

std::uint64_t number_of(const char *variable, std::uint64_t otherwise) {
    const char *text = std::getenv(variable);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

int run_all() {
    ::signal(SIGPIPE, SIG_IGN);
    // What is flushed is only noted.
    const tarn::test::TemporaryDirectory directory(tarn::test::fast_directory_path());
    const std::uint64_t wanted = number_of("TARNBASE_POWER_CUTS", usual_cuts);
    const std::uint64_t first = number_of("TARNBASE_POWER_SEED", 1);
    std::uint64_t cuts = 0;
    for (std::uint64_t seed = first; cuts < wanted; ++seed) {
        constexpr std::uint32_t durabilities[] = {KEL_DURABILITY_COMMIT, KEL_DURABILITY_INTERVAL,
                                                  KEL_DURABILITY_COMMIT, KEL_DURABILITY_PROCESS};
        const Run run{seed, std::min(cuts_of_a_run, wanted - cuts), durabilities[seed % 4],
                      seed / 4 % 2 == 1, directory / std::to_string(seed)};
        const std::uint64_t made = run_cuts(run);
        if (made == 0) return 1;
        cuts += made;
        std::filesystem::remove_all(run.folder);
    }
    std::printf("%llu power losses, nothing lost that was promised\n",
                static_cast<unsigned long long>(cuts));
    return 0;
}

}  // namespace
}  // namespace power

// The runtime's calls, which the linker leads here.
extern "C" {

int __real_fsync(int descriptor);
int __real_fdatasync(int descriptor);
int __real_renameat(int from, const char *name, int to, const char *new_name);
int __real_unlinkat(int folder, const char *name, int flags);
int __real_linkat(int from, const char *name, int to, const char *new_name, int flags);

int __wrap_fsync(int descriptor) {
    if (power::recorder == nullptr) return __real_fsync(descriptor);
    return power::recorder->flush(descriptor, __real_fsync);
}

int __wrap_fdatasync(int descriptor) {
    if (power::recorder == nullptr) return __real_fdatasync(descriptor);
    return power::recorder->flush(descriptor, __real_fdatasync);
}

int __wrap_renameat(int from, const char *name, int to, const char *new_name) {
    if (power::recorder != nullptr) power::recorder->forget(new_name);
    return __real_renameat(from, name, to, new_name);
}

int __wrap_unlinkat(int folder, const char *name, int flags) {
    if (power::recorder != nullptr) power::recorder->forget(name);
    return __real_unlinkat(folder, name, flags);
}

int __wrap_linkat(int from, const char *name, int to, const char *new_name, int flags) {
    if (power::recorder != nullptr) power::recorder->cut_now();
    return __real_linkat(from, name, to, new_name, flags);
}

}  // extern "C"

int main() {
    try {
        return power::run_all();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
