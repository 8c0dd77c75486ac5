/* SPDX-License-Identifier: Apache-2.0 */
// A store whose whole content follows from the number of the last transaction.
#ifndef TESTS_POWER_WORKLOAD_H
#define TESTS_POWER_WORKLOAD_H

#include <cstdint>
#include <string>

#include "tarnbase/journal.h"

namespace power {

// An open store. Functions throw std::runtime_error.
class Workload {
 public:
    explicit Workload(const std::string &path);
    ~Workload();
    Workload(const Workload &) = delete;
    Workload &operator=(const Workload &) = delete;

    bool has_content() const { return content_ != nullptr; }
    // Makes what the transactions change.
    void begin();
    // The transaction of a number, which is one more than the last.
    void commit(std::uint64_t number) const;
    // The number of the last transaction. Throws if anything isn't as that one left it.
    std::uint64_t check() const;

    void set_journal(const kel_journal_settings &settings) const;
    // Throws unless the log can be read from the oldest checkpoint to its end.
    void check_history(const std::string &path) const;
    // A checkpoint, or a new segment and a checkpoint.
    void checkpoint() const;
    void compact() const;
    kel_journal_description journal() const;

 private:
    void set(std::uint32_t tx, std::uint64_t *place, std::uint64_t value) const;

    kel_store *store_ = nullptr;
    kel_handle *handle_ = nullptr;
    std::uint64_t *content_ = nullptr;
};

}  // namespace power

#endif
