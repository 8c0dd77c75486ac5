// SPDX-License-Identifier: Apache-2.0
// Real processes on one store, killed at random times: two writers, four
// readers and one that makes checkpoints. Each commit has a number, from which
// everything in the store follows, so that a reader can check whatever it sees.
// See README.md.
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <random>
#include <stdexcept>
#include <string>

#include "tarnbase/tarn/transaction.hpp"
#include "tests/crash/plan.h"
#include "tests/crash/subjects.h"
#include "tests/support/temporary_directory.h"

namespace {

using namespace crash;

// What the processes share, besides the store.
struct Journal {
    std::atomic<std::uint64_t> begun;       // the number of the newest commit that was begun
    std::atomic<std::uint64_t> committed;   // and of the newest that has returned
    std::atomic<std::uint64_t> commits[2];  // of each writer
    std::atomic<std::uint64_t> reads;
    std::atomic<std::uint64_t> checkpoints;
    std::atomic<bool> has_failed;
    char failure[1000];
};

constexpr std::uint32_t touched_records = 24;
constexpr std::uint32_t touched_at_once = 3;
constexpr std::uint32_t recent_records = 30;

// The content of a record since a commit that changed it.
Row row_of(Subject subject, std::uint32_t number, std::uint32_t commit) {
    const std::uint64_t random = mix(number, commit);
    Row row;
    row.numbers = {commit, static_cast<std::uint32_t>(random >> 40), number};
    row.texts[0] = std::string(random % 90, static_cast<char>('a' + random % 26));
    row.texts[1] = std::to_string(commit);
    return kept(subject, row);
}

std::uint32_t touched(std::uint32_t commit, std::uint32_t i) {
    return static_cast<std::uint32_t>(mix(commit, i) % touched_records);
}

// The newest commit up to `commit` that changed the record; 0: none.
std::uint32_t last_touch(std::uint32_t number, std::uint32_t commit) {
    for (; commit > 0; --commit) {
        for (std::uint32_t i = 0; i < touched_at_once; ++i) {
            if (touched(commit, i) == number) return commit;
        }
    }
    return 0;
}

void require(bool condition, const std::string &otherwise) {
    if (!condition) throw std::runtime_error(otherwise);
}

// Mostly short, sometimes long enough for others to get far ahead.
void pause(std::mt19937_64 &engine, unsigned longest) {
    ::usleep(static_cast<useconds_t>(100) << engine() % longest);
}
constexpr unsigned long_pause = 13;
constexpr unsigned short_pause = 10;

// The store as one process has it open.
class View {
 public:
    View(const std::string &path, tarn::descriptors which)
        : store(tarn::store::open(path)), session(store, which) {
        counter = open_existing(session, connections);
        touched_table = open_existing(session, sessions);
        recent = open_existing(session, servers);
        require(counter != nullptr && touched_table != nullptr && recent != nullptr,
                "a table is missing");
    }

    std::uint32_t commit() const {
        const Rows rows = counter->read();
        require(rows.size() == 1, "the counter is missing");
        return rows.begin()->second.numbers[0];
    }

    // Everything must be as it was after one commit. Returns its number.
    std::uint32_t check() const {
        const std::uint32_t now = commit();
        State found;
        State expected;
        found.rows[sessions] = touched_table->read();
        touched_table->print();
        found.rows[servers] = recent->read();
        for (std::uint32_t i = 0; i < touched_records; ++i) {
            expected.rows[sessions][i] = row_of(sessions, i, last_touch(i, now));
        }
        for (std::uint32_t i = now > recent_records ? now - recent_records : 0; i < now; ++i) {
            expected.rows[servers][i + 1] = row_of(servers, i + 1, i + 1);
        }
        const std::string wrong = difference(found, expected);
        require(wrong.empty(), "after commit " + std::to_string(now) + ": " + wrong);
        return now;
    }

    tarn::store store;
    tarn::session session;
    std::unique_ptr<Table> counter;
    std::unique_ptr<Table> touched_table;
    std::unique_ptr<Table> recent;
};

void create(const std::string &path) {
    tarn::store store = tarn::store::create(path);
    tarn::session session(store);
    const auto counter = open_or_create(session, connections);
    const auto touched_table = open_or_create(session, sessions);
    open_or_create(session, servers);
    tarn::transaction transaction(session);
    counter->insert(0, {});
    for (std::uint32_t i = 0; i < touched_records; ++i) {
        touched_table->insert(i, row_of(sessions, i, 0));
    }
    transaction.commit();
}

// The lock is free again by now: another process may have noted a later commit.
void note_committed(Journal &journal, std::uint64_t commit) {
    std::uint64_t known = journal.committed;
    while (known < commit && !journal.committed.compare_exchange_weak(known, commit)) {
    }
}

// One transaction. Some are rolled back.
void write(View &view, Journal &journal, std::mt19937_64 &engine) {
    tarn::transaction transaction(view.session);
    const std::uint32_t before = view.commit();
    // Whoever had the lock before may have died in its commit.
    require(before == journal.begun || before == journal.committed,
            "a writer finds commit " + std::to_string(before) + "; " +
                std::to_string(journal.committed) + " was committed and " +
                std::to_string(journal.begun) + " begun");
    const std::uint32_t now = before + 1;
    for (std::uint32_t i = 0; i < touched_at_once; ++i) {
        const std::uint32_t number = touched(now, i);
        view.touched_table->update(number, row_of(sessions, number, now));
    }
    view.recent->insert(now, row_of(servers, now, now));
    if (now > recent_records) view.recent->erase(now - recent_records);
    view.counter->update(0, kept(connections, {{now, 0, 0}, {}}));
    if (engine() % 8 == 0) {
        transaction.rollback();
        return;
    }
    journal.begun = now;
    note_committed(journal, before);
    transaction.commit();
    note_committed(journal, now);
}

template <std::size_t number>
void be_writer(const std::string &path, Journal &journal) {
    std::mt19937_64 engine(std::random_device{}());
    View view(path, tarn::descriptors::of_store);
    for (;;) {
        write(view, journal, engine);
        journal.commits[number] += 1;
    }
}

void be_reader(const std::string &path, Journal &journal) {
    View view(path, tarn::descriptors::of_library);
    std::uint32_t last = 0;
    for (;;) {
        const std::uint64_t least = journal.committed;
        view.store.refresh();
        const std::uint32_t now = view.check();
        require(now >= last && now >= least && now <= journal.begun,
                "a reader finds commit " + std::to_string(now) + " after " + std::to_string(last) +
                    "; " + std::to_string(least) + " was committed");
        last = now;
        journal.reads += 1;
    }
}

void be_checkpointer(const std::string &path, Journal &journal) {
    std::mt19937_64 engine(std::random_device{}());
    View view(path, tarn::descriptors::of_library);
    for (;;) {
        const std::uint32_t error = kel_store_checkpoint(view.store.c_store());
        // A writer may be making one in the background.
        require(error == 0 || error == EBUSY, std::string("checkpoint: ") + kel_error_text());
        if (error == 0) journal.checkpoints += 1;
        pause(engine, long_pause);
    }
}

using Role = void(const std::string &path, Journal &journal);
constexpr Role *roles[] = {be_writer<0>, be_writer<1>, be_reader,      be_reader,
                           be_reader,    be_reader,    be_checkpointer};
constexpr std::size_t role_count = std::size(roles);

pid_t start(Role *role, const std::string &path, Journal &journal) {
    const pid_t process = ::fork();
    require(process >= 0, "fork");
    if (process != 0) return process;
    try {
        role(path, journal);
    } catch (const std::exception &error) {
        if (!journal.has_failed.exchange(true)) {
            std::snprintf(journal.failure, sizeof journal.failure, "%s", error.what());
        }
    }
    ::_exit(1);
}

void end(pid_t process, Journal &journal) {
    ::kill(process, SIGKILL);
    int status = 0;
    ::waitpid(process, &status, 0);
    const bool was_killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    require(was_killed || journal.has_failed,
            "a process ended by itself, status " + std::to_string(status));
}

// A process for each role.
class Team {
 public:
    Team(const std::string &path, Journal &journal) : path_(path), journal_(journal) {
        for (std::size_t i = 0; i < role_count; ++i)
            processes_[i] = start(roles[i], path_, journal_);
    }

    void kill(std::size_t i) { end(processes_[i], journal_); }
    void replace(std::size_t i) { processes_[i] = start(roles[i], path_, journal_); }
    // Other processes wait if it has the lock, and go on if it hasn't.
    void stop_for_a_while(std::size_t i, std::mt19937_64 &engine) const {
        ::kill(processes_[i], SIGSTOP);
        pause(engine, long_pause);
        ::kill(processes_[i], SIGCONT);
    }

    // Without kills, both writers get their turns. A writer takes over from one that is killed,
    // even before another process gets the dead one's place.
    bool writers_go_on() {
        bool all_go_on = goes_on(0) && goes_on(1);
        for (std::size_t i = 0; i < 2; ++i) {
            kill(i);
            // They get the number of the dead one, and don't take its lock.
            for (std::size_t other = 2; other < role_count; ++other) {
                kill(other);
                replace(other);
            }
            all_go_on = all_go_on && goes_on(1 - i);
            replace(i);
        }
        return all_go_on;
    }

    void kill_all() {
        for (std::size_t i = 0; i < role_count; ++i) kill(i);
    }

 private:
    bool goes_on(std::size_t writer) const {
        const std::uint64_t before = journal_.commits[writer];
        for (int i = 0; i < 500 && !journal_.has_failed; ++i) {
            if (journal_.commits[writer] > before + 3) return true;
            ::usleep(10000);
        }
        return journal_.has_failed;
    }

    const std::string &path_;
    Journal &journal_;
    pid_t processes_[role_count];
};

// Returns the number of kills.
std::uint64_t run(const std::string &path, Journal &journal, std::uint64_t seed, double seconds) {
    std::mt19937_64 engine(seed);
    Team team(path, journal);
    const auto begin = std::chrono::steady_clock::now();
    std::uint64_t kills = 0;
    while (!journal.has_failed &&
           std::chrono::steady_clock::now() - begin < std::chrono::duration<double>(seconds)) {
        const std::size_t victim = engine() % role_count;
        if (engine() % 4 == 0) {
            team.stop_for_a_while(victim, engine);
        } else {
            team.kill(victim);
            team.replace(victim);
            kills += 1;
        }
        if (engine() % 4 != 0) pause(engine, short_pause);
    }
    const bool all_go_on = team.writers_go_on();
    team.kill_all();
    require(all_go_on, "a writer doesn't get the lock");
    return kills;
}

// A process of its own, as the parent has no store open.
void check_at_end(const std::string &path, Journal &journal) {
    const auto check = [](const std::string &where, Journal &with) {
        const View view(where, tarn::descriptors::of_library);
        const std::uint32_t now = view.check();
        require(now == with.begun || now == with.committed, "the last commit is lost");
        ::_exit(0);
    };
    int status = 0;
    ::waitpid(start(check, path, journal), &status, 0);
    require(status == 0, journal.has_failed ? journal.failure : "the last process failed");
}

// A store from its first moment on.
std::uint64_t run_episode(const std::string &path, Journal &journal, double seconds) {
    const auto creates = [](const std::string &where, Journal &) {
        create(where);
        ::_exit(0);
    };
    ::waitpid(start(creates, path, journal), nullptr, 0);
    journal.begun = 0;
    journal.committed = 0;
    const std::uint64_t kills = run(path, journal, std::random_device{}(), seconds);
    require(!journal.has_failed, journal.failure);
    check_at_end(path, journal);
    std::filesystem::remove_all(path);
    return kills;
}

// A store's log segments grow: many short episodes begin more of them than a long one.
constexpr double episode_seconds = 2;

int run_all() {
    const char *set_seconds = std::getenv("TARNBASE_CRASH_SECONDS");
    const double seconds = set_seconds != nullptr ? std::atof(set_seconds) : 20;
    const tarn::test::TemporaryDirectory directory(tarn::test::fast_directory_path());
    void *const memory =
        ::mmap(nullptr, sizeof(Journal), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    require(memory != MAP_FAILED, "mmap");
    auto &journal = *new (memory) Journal{};
    std::uint64_t kills = 0;
    for (double done = 0; done < seconds; done += episode_seconds) {
        kills += run_episode(directory / "store", journal, std::min(episode_seconds, seconds));
    }
    std::printf("%llu kills, %llu commits, %llu checked reads, %llu checkpoints\n",
                static_cast<unsigned long long>(kills),
                static_cast<unsigned long long>(journal.commits[0] + journal.commits[1]),
                static_cast<unsigned long long>(journal.reads.load()),
                static_cast<unsigned long long>(journal.checkpoints.load()));
    return 0;
}

}  // namespace

int main() {
    try {
        return run_all();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "processes_test: %s\n", error.what());
    }
    return 1;
}
