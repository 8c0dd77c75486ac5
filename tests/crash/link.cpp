// SPDX-License-Identifier: Apache-2.0
#include "tests/crash/link.h"

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "tarnbase/runtime.h"
#include "tarnbase/tarn/journal.hpp"
#include "tests/crash/inspect.h"
#include "tests/crash/plan.h"
#include "tests/crash/player.h"

namespace crash {

namespace {

// A process that takes longer hangs, even on a busy machine.
constexpr unsigned max_seconds = 60;

void note(Journal &journal, const std::string &failure) {
    if (journal.failure[0] != 0) return;
    const std::size_t length = std::min(failure.size(), sizeof journal.failure - 1);
    std::memcpy(journal.failure, failure.data(), length);
}

void note_trace(void *context, std::uint16_t, std::uint32_t level, const char *text) {
    if (level <= KEL_TRACE_ERROR) note(*static_cast<Journal *>(context), text);
}

void check(const Link &link, const tarn::store &store, Journal &journal) {
    const State found = inspect(store);
    // It takes longer than all the rest.
    if (link.kill.at == 0) check_sound(store);
    const kel_store_description description = store.describe();
    journal.blocks = description.blocks;
    journal.tables = description.tables;
    journal.types = description.types;
    journal.is_before = found == link.before;
    journal.is_after = found == link.after;
    if (!journal.is_before && !journal.is_after) {
        throw std::runtime_error("before the event in flight: " + difference(found, link.before) +
                                 "; after it: " + difference(found, link.after));
    }
    journal.is_checked = true;
}

// From here on the parent counts instructions.
void stop_at(const Link &link, std::uint64_t event) {
    if (link.kill.instructions != 0 && link.kill.at == event) ::raise(SIGSTOP);
}

void work(const Link &link, tarn::store &store, Journal &journal) {
    Player player(store);
    player.begun = [&] {
        journal.begun += 1;
        stop_at(link, journal.begun);
    };
    player.done = [&] { journal.done += 1; };
    State state = journal.is_before ? link.before : link.after;
    for (std::uint64_t i = 0; i < link.rounds; ++i) {
        const Round round = round_of(link, i, state);
        player.play(round);
        advance(state, round, events(round));
    }
}

void start_journal(const Link &link, tarn::store &store) {
    if (tarn::try_describe_journal(store).value().settings.enabled != KEL_JOURNAL_OFF) return;
    kel_journal_settings settings{};
    settings.enabled = link.journal;
    settings.durability = link.is_durable ? KEL_DURABILITY_COMMIT : KEL_DURABILITY_PROCESS;
    settings.keep_bytes = 1 << 20;
    tarn::set_journal(store, settings);
}

void open_and_work(const Link &link, Journal &journal) {
    kel_trace_set_sink(note_trace, &journal);
    kel_store_options options{};
    options.capacity = capacity;
    options.base = reinterpret_cast<void *>(0x2100'0000'0000);
    arm(link.kill.instructions == 0 ? link.kill.at : 0, link.kill.stores);
    {
        stop_at(link, 0);
        tarn::store store = tarn::store::open_or_create(link.path, options);
        pause();
        check(link, store, journal);
        resume();
        if (link.journal != KEL_JOURNAL_OFF) start_journal(link, store);
        work(link, store, journal);
    }
    pause();
    journal.points = points();
    journal.is_finished = true;
}

[[noreturn]] void run_child(const Link &link, Journal &journal) {
    ::alarm(max_seconds);
    if (link.kill.instructions != 0) ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    try {
        open_and_work(link, journal);
    } catch (const tarn::error &error) {
        pause();
        note(journal, "error " + std::to_string(error.number()) + ": " + error.what());
    } catch (const std::exception &error) {
        pause();
        note(journal, error.what());
    }
    ::_exit(journal.failure[0] == 0 ? 0 : 1);
}

}  // namespace

Round round_of(const Link &link, std::uint64_t number, const State &state) {
    if (number == 0) return opening_round();
    // The last process of a chain isn't killed and ends with a checkpoint.
    if (link.kill.at == 0 && number + 1 == link.rounds) return {{Kind::checkpoint, 0, {}, 0, {}}};
    return random_round(state, mix(link.seed, number));
}

namespace {

// Runs a traced process until it stops itself, single-steps it and kills it.
// Returns its status.
int step(const Link &link, pid_t child) {
    int status = 0;
    std::uint64_t steps = link.kill.instructions;
    bool is_stepping = false;
    while (::waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        const int signal = WSTOPSIG(status);
        is_stepping = is_stepping || signal == SIGSTOP;
        if (is_stepping && steps-- == 0) {
            ::kill(child, SIGKILL);
            continue;
        }
        const bool is_ours = signal == SIGSTOP || signal == SIGTRAP;
        ::ptrace(is_stepping ? PTRACE_SINGLESTEP : PTRACE_CONT, child, nullptr,
                 reinterpret_cast<void *>(static_cast<std::uintptr_t>(is_ours ? 0 : signal)));
    }
    return status;
}

int wait_for(const Link &link, pid_t child) {
    if (link.kill.instructions != 0) return step(link, child);
    int status = 0;
    if (::waitpid(child, &status, 0) != child) throw std::runtime_error("waitpid");
    return status;
}

}  // namespace

std::string run(const Link &link, Journal &journal) {
    journal = {};
    const pid_t child = ::fork();
    if (child < 0) throw std::runtime_error("fork");
    if (child == 0) run_child(link, journal);
    const int status = wait_for(link, child);
    if (journal.failure[0] != 0) return journal.failure;
    if (WIFSIGNALED(status)) {
        if (WTERMSIG(status) == SIGKILL) return "";
        return WTERMSIG(status) == SIGALRM
                   ? "the process hangs"
                   : std::string("the process ended by signal ") + ::strsignal(WTERMSIG(status));
    }
    return journal.is_finished ? "" : "the process ended too early";
}

}  // namespace crash
