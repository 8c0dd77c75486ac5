/* SPDX-License-Identifier: Apache-2.0 */
// Who has committed the transactions that a replica passes.
#ifndef TARNBASE_RUNTIME_REPLICA_AUTHORS_H
#define TARNBASE_RUNTIME_REPLICA_AUTHORS_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>

#include "runtime/log/notes.h"
#include "runtime/store/follower.h"
#include "tarnbase/replica.h"

namespace tarnbase::runtime {

// A frame of a journal that was written with another schema than this process has.
struct OtherSchema {
    std::uint64_t sequence;
    std::string module;
};

class Authors {
 public:
    // Begins at the follower's place in the log. A frame names its session's command only if it is
    // the session's first one, or the first of a segment: the segment is read up to that place.
    void start(const StoreFolder &store, const Follower &follower);
    // Takes what a frame that was checked says. Throws OtherSchema.
    void read(std::span<const char> frame);
    // Fills in what the last frame has said. Valid until the next one.
    void describe(kel_replica_transaction &transaction) const;

 private:
    std::optional<Author> author_;
    std::string label_;
    std::unordered_map<std::uint64_t, std::string> commands_;  // by session
};

}  // namespace tarnbase::runtime

#endif
