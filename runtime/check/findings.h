/* SPDX-License-Identifier: Apache-2.0 */
// What a check finds wrong: a line of text for each fault.
#ifndef TARNBASE_RUNTIME_CHECK_FINDINGS_H
#define TARNBASE_RUNTIME_CHECK_FINDINGS_H

#include <cstdint>
#include <functional>
#include <string>

#include "tarnbase/export.h"

namespace tarnbase::runtime {

class Findings {
 public:
    using Report = std::function<void(const char *text)>;
    explicit Findings(Report report) : report_(std::move(report)) {}

    // "WHERE: what is wrong"
    void add(const std::string &where, const char *format, ...) TARNBASE_PRINTF(3, 4);
    std::uint64_t count() const { return count_; }

 private:
    Report report_;
    std::uint64_t count_ = 0;
};

}  // namespace tarnbase::runtime

#endif
