/* SPDX-License-Identifier: Apache-2.0 */
// Records the calls of a handle's hooks: which hook, which bytes, in which order, and what
// the bytes held at that moment, which shows that the hook is called before the store.
#ifndef TARNBASE_TESTS_SUPPORT_HOOKS_H
#define TARNBASE_TESTS_SUPPORT_HOOKS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tarnbase/handle.h"

namespace tarn::test {

enum class Hook { type_alloc, alloc, free, write_log, delta_log, type_map_insert, type_map_lookup };

struct HookEvent {
    Hook hook = Hook::alloc;
    void *address = nullptr;   // block, or bytes announced, or counter
    std::uint64_t length = 0;  // of the requested block, or of the bytes
    std::int32_t delta = 0;    // of delta_log
    std::uint32_t tx_id = 0;
    std::vector<std::uint8_t> before;  // write_log: the bytes at that moment
    std::uint64_t counter_before = 0;  // delta_log: the counter at that moment
};

// Replaces a handle's hooks while it lives, and calls them; one at a time.
class HookRecorder {
 public:
    explicit HookRecorder(kel_handle *handle);
    ~HookRecorder();
    HookRecorder(const HookRecorder &) = delete;
    HookRecorder &operator=(const HookRecorder &) = delete;

    std::vector<HookEvent> events;

    void clear() { events.clear(); }
    std::vector<HookEvent> of(Hook hook) const;
    std::size_t count(Hook hook) const { return of(hook).size(); }
    // The write_log events whose bytes lie in [begin, begin + length).
    std::vector<HookEvent> writes_in(const void *begin, std::uint64_t length) const;
    // Whether exactly these bytes were announced at least once.
    bool announced(const void *address, std::uint64_t length) const;

    // From now alloc_hook and type_alloc_hook return null, or work again.
    void fail_allocations(bool fail) { failing_ = fail; }

    // Fills what alloc_hook returns from now on, since a block may hold anything.
    void fill_allocations(bool fill) { filling_ = fill; }

 private:
    friend struct HookForwarder;
    kel_handle *handle_;
    kel_handle original_;
    bool failing_ = false;
    bool filling_ = false;
};

}  // namespace tarn::test

#endif
