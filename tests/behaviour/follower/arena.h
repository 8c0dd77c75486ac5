/* SPDX-License-Identifier: Apache-2.0 */
// The arena of another process's copy of a store, and its comparison with this process's own.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FOLLOWER_ARENA_H
#define TARNBASE_TESTS_BEHAVIOUR_FOLLOWER_ARENA_H

#include <cstdint>
#include <string>

#include "tarnbase/embedded.h"

namespace tarn::test {

inline constexpr std::uint64_t arena_capacity = 256ULL << 20;

// What the writer wants of the follower.
enum class Request : std::uint32_t { refresh, open_again, texts, replicate, compare, end };

// Memory that both processes have from before the fork.
class Shared {
 public:
    Shared();
    ~Shared();
    Shared(const Shared &) = delete;
    Shared &operator=(const Shared &) = delete;

    // The follower's side: copies the arena of a store, or a text.
    void put(const kel_store *store);
    void put(const std::string &text);
    std::string text() const { return {bytes(), head().size}; }

    // What differs, a line for each place, and at most ten of them; "" if nothing does.
    std::string differences(const kel_store &store) const;

    Request request() const { return head().request; }
    void set_request(Request request) { head().request = request; }

 private:
    struct Head {
        Request request;
        std::uint64_t base;
        std::uint64_t size;
    };
    static constexpr std::uint64_t front = 4096;

    Head &head() const { return *static_cast<Head *>(memory_); }
    char *bytes() const { return static_cast<char *>(memory_) + front; }

    void *memory_;
};

}  // namespace tarn::test

#endif
