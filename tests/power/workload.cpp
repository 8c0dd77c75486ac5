// SPDX-License-Identifier: Apache-2.0
#include "tests/power/workload.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <span>
#include <stdexcept>

#include "runtime/base/file.h"
#include "runtime/checkpoint/checkpoint.h"
#include "runtime/control/control.h"
#include "runtime/log/log.h"
#include "tarnbase/runtime.h"

namespace power {

namespace runtime = tarnbase::runtime;

namespace {

// The content: the number of the last transaction twice, and the addresses of blocks.
constexpr std::size_t first_number = 0;
constexpr std::size_t second_number = 1;
constexpr std::size_t first_block = 2;
constexpr std::size_t block_count = 7;
constexpr const char *key = "content";

void need(std::uint32_t error) {
    if (error != 0) throw std::runtime_error(kel_error_text());
}

void expect(bool condition, const char *what) {
    if (!condition) throw std::runtime_error(what);
}

// Words of the block of a transaction. Some frames need a segment of their own.
std::size_t words_of(std::uint64_t number) {
    return number % 60 == 59 ? 30'000 + number : 2 + number * 37 % 400;
}

}  // namespace

Workload::Workload(const std::string &path) {
    const kel_store_options options{2ULL << 24, nullptr};
    need(kel_store_open_or_create(path.c_str(), &options, &store_));
    need(kel_handle_create(store_, 0, &handle_));
    content_ = static_cast<std::uint64_t *>(loam_get_key(handle_->arena, key));
}

Workload::~Workload() {
    kel_handle_destroy(handle_);
    kel_store_close(store_);
}

void Workload::begin() {
    need(kel_store_lock(store_));
    content_ = static_cast<std::uint64_t *>(handle_->alloc_hook(
        handle_->arena, KEL_TX_NONE, (first_block + block_count) * sizeof *content_));
    loam_set_key(handle_->arena, key, content_);
    need(kel_store_unlock(store_));
}

void Workload::set(std::uint32_t tx, std::uint64_t *place, std::uint64_t value) const {
    handle_->write_log_hook(handle_->arena, place, sizeof value, tx);
    *place = value;
}

void Workload::commit(std::uint64_t number) const {
    std::uint32_t tx = KEL_TX_NONE;
    need(kel_transaction_begin(handle_, &tx));
    need(kel_transaction_label(handle_, tx, "numbered"));
    const std::size_t words = words_of(number);
    auto *block = static_cast<std::uint64_t *>(
        handle_->alloc_hook(handle_->arena, tx, words * sizeof(std::uint64_t)));
    std::fill_n(block, words, number);
    std::uint64_t *place = content_ + first_block + number % block_count;
    if (*place != 0) handle_->free_hook(handle_->arena, tx, reinterpret_cast<void *>(*place));
    set(tx, place, reinterpret_cast<std::uintptr_t>(block));
    set(tx, content_ + first_number, number);
    set(tx, content_ + second_number, number);
    need(kel_transaction_commit(handle_, tx));
}

std::uint64_t Workload::check() const {
    expect(content_ != nullptr, "there is no content");
    const std::uint64_t last = content_[first_number];
    expect(content_[second_number] == last, "half of a transaction is there");
    for (std::uint64_t i = 0; i < block_count; ++i) {
        const auto *block = reinterpret_cast<std::uint64_t *>(content_[first_block + i]);
        const std::uint64_t since = (last + block_count - i) % block_count;
        if (last <= since) {
            expect(block == nullptr, "a block of a later transaction is there");
            continue;
        }
        expect(block != nullptr, "a block is missing");
        const std::uint64_t number = last - since;
        expect(std::ranges::all_of(std::span(block, words_of(number)),
                                   [&](std::uint64_t word) { return word == number; }),
               "a block has the content of another transaction");
    }
    std::string findings;
    // Only the content refers to the blocks, and the check doesn't know that.
    const auto report = [](const char *text, void *context) {
        if (std::strstr(text, "nothing refers to") != nullptr) return;
        static_cast<std::string *>(context)->append(text).append("\n");
    };
    kel_store_check(store_, nullptr, report, nullptr, &findings);
    expect(findings.empty(), findings.c_str());
    return last;
}

void Workload::set_journal(const kel_journal_settings &settings) const {
    need(kel_store_set_journal(store_, &settings));
}

void Workload::check_history(const std::string &path) const {
    const runtime::File folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    runtime::Control control;
    need(control.open(folder.descriptor(), path.c_str()));
    const auto checkpoints = runtime::list_checkpoints(folder.descriptor());
    runtime::Checkpoint oldest;
    expect(!checkpoints.empty() && oldest.open(folder.descriptor(), control.page().id,
                                               checkpoints.front().position) == 0,
           "the oldest checkpoint can't be opened");
    const runtime::CheckpointHead &head = oldest.head();
    runtime::LogReader log;
    std::uint32_t error =
        log.open(folder.descriptor(), head.id, head.segment, head.position, head.sequence + 1);
    std::span<const char> frame;
    while (error == 0) error = log.next(control.page().published.load(), frame);
    if (error == ENODATA) return;
    throw std::runtime_error("the history ends at " + std::to_string(log.position()) + ", error " +
                             std::to_string(error) + ": " + log.what());
}

void Workload::checkpoint() const {
    const std::uint32_t error = kel_store_checkpoint(store_);
    if (error != EBUSY) need(error);
}

void Workload::compact() const { need(kel_store_compact(store_)); }

kel_journal_description Workload::journal() const {
    kel_journal_description description;
    need(kel_store_describe_journal(store_, &description));
    return description;
}

}  // namespace power
