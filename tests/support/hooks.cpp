// SPDX-License-Identifier: Apache-2.0
#include "tests/support/hooks.h"

#include <cstdlib>
#include <cstring>

#include "tests/support/handle_hooks.h"
#include "tests/support/service_at_work.h"

namespace tarn::test {

namespace {

HookRecorder *current = nullptr;

}  // namespace

// The functions in the handle's slots: they record the call and pass it on to the previous
// hook.
struct HookForwarder {
    static HookEvent &note(Hook hook, void *address, std::uint64_t length, std::uint32_t tx_id) {
        HookEvent event;
        event.hook = hook;
        event.address = address;
        event.length = length;
        event.tx_id = tx_id;
        current->events.push_back(event);
        return current->events.back();
    }

    static void *type_alloc(void *arena, std::uint32_t tx_id, std::uint64_t size) {
        HookEvent &event = note(Hook::type_alloc, nullptr, size, tx_id);
        if (current->failing_) return nullptr;
        return event.address = current->original_.type_alloc_hook(arena, tx_id, size);
    }

    static void *alloc(void *arena, std::uint32_t tx_id, std::uint64_t size) {
        HookEvent &event = note(Hook::alloc, nullptr, size, tx_id);
        if (current->failing_) return nullptr;
        event.address = current->original_.alloc_hook(arena, tx_id, size);
        if (current->filling_ && event.address != nullptr) std::memset(event.address, 0xa5, size);
        return event.address;
    }

    static void free(void *arena, std::uint32_t tx_id, void *block) {
        note(Hook::free, block, 0, tx_id);
        current->original_.free_hook(arena, tx_id, block);
    }

    static void write_log(void *arena, void *address, std::uint64_t length, std::uint32_t tx_id) {
        if (!ServiceAtWork::any()) {
            const auto *bytes = static_cast<const std::uint8_t *>(address);
            note(Hook::write_log, address, length, tx_id).before.assign(bytes, bytes + length);
        }
        current->original_.write_log_hook(arena, address, length, tx_id);
    }

    static void delta_log(void *arena, std::uint64_t *address, std::int32_t delta,
                          std::uint32_t tx_id) {
        HookEvent &event = note(Hook::delta_log, address, sizeof(std::uint64_t), tx_id);
        event.delta = delta;
        event.counter_before = *address;
        current->original_.delta_log_hook(arena, address, delta, tx_id);
    }

    static void type_map_insert(void *map, std::uint32_t tx_id, const char *luid_text,
                                kel_type_info_copy *copy) {
        note(Hook::type_map_insert, copy, 0, tx_id);
        const ServiceAtWork mark;
        current->original_.type_map_insert_hook(map, tx_id, luid_text, copy);
    }

    static kel_type_info_copy *type_map_lookup(void *map, std::uint32_t tx_id,
                                               const char *luid_text) {
        HookEvent &event = note(Hook::type_map_lookup, nullptr, 0, tx_id);
        kel_type_info_copy *copy = current->original_.type_map_lookup_hook(map, tx_id, luid_text);
        event.address = copy;
        return copy;
    }
};

HookRecorder::HookRecorder(kel_handle *handle) : handle_(handle), original_(*handle) {
    if (current != nullptr) std::abort();
    current = this;
    set_hooks<HookForwarder>(*handle);
}

HookRecorder::~HookRecorder() {
    copy_hooks(original_, *handle_);
    current = nullptr;
}

std::vector<HookEvent> HookRecorder::of(Hook hook) const {
    std::vector<HookEvent> found;
    for (const HookEvent &event : events) {
        if (event.hook == hook) found.push_back(event);
    }
    return found;
}

std::vector<HookEvent> HookRecorder::writes_in(const void *begin, std::uint64_t length) const {
    std::vector<HookEvent> found;
    const auto first = reinterpret_cast<std::uintptr_t>(begin);
    for (const HookEvent &event : of(Hook::write_log)) {
        const auto address = reinterpret_cast<std::uintptr_t>(event.address);
        if (address >= first && address + event.length <= first + length) found.push_back(event);
    }
    return found;
}

bool HookRecorder::announced(const void *address, std::uint64_t length) const {
    for (const HookEvent &event : of(Hook::write_log)) {
        if (event.address == address && event.length == length) return true;
    }
    return false;
}

}  // namespace tarn::test
