/* SPDX-License-Identifier: Apache-2.0 */
// The records that wanted frames change.
#ifndef TARNBASE_RUNTIME_REPLICA_WANTED_H
#define TARNBASE_RUNTIME_REPLICA_WANTED_H

#include <cstdint>
#include <span>

#include "runtime/replica/changes.h"
#include "tarnbase/replica.h"

namespace tarnbase::runtime {

// What says whether a frame is wanted.
struct Wanted {
    kel_replica_filter function;
    void *context;
};

// Observes frames up to the first one that is wanted. To observe one, the changes of those before
// must have been observed, or else the whole image is read: after many refused ones that is less.
class WantedObserver final : public FrameObserver {
 public:
    // `is_observed`: `changes` has observed all frames up to now. It is kept up to date.
    WantedObserver(const Image &image, Authors &authors, ChangeObserver &changes, Wanted wanted,
                   bool &is_observed)
        : image_(image),
          authors_(authors),
          changes_(changes),
          wanted_(wanted),
          is_observed_(is_observed) {}

    void before(std::span<const char> frame) override;
    void after() override;

    // Whether the last frame is wanted.
    bool has_found() const { return has_found_; }

 private:
    bool is_wanted(std::span<const char> frame) const;
    void observe_or_not();

    const Image &image_;
    Authors &authors_;
    ChangeObserver &changes_;
    const Wanted wanted_;
    bool &is_observed_;
    bool has_found_ = false;
    std::uint64_t refused_ = 0;
};

}  // namespace tarnbase::runtime

#endif
