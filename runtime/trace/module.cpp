// SPDX-License-Identifier: Apache-2.0
// Trace modules: a name has the same id in all of a process.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <mutex>
#include <string>
#include <vector>

#include "tarnbase/runtime.h"

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<std::string> names;  // the id of names[i] is i + 1; 0 is no module
};

// Never destroyed: other libraries trace until the process ends.
Registry &registry() {
    static auto *const the_registry = new Registry;
    return *the_registry;
}

// 0 when all ids are taken: the module's lines then come from no module.
std::uint16_t id_of(const char *name) {
    Registry &modules = registry();
    const std::lock_guard lock(modules.mutex);
    auto place = std::find(modules.names.begin(), modules.names.end(), name);
    if (place == modules.names.end()) {
        if (modules.names.size() == std::numeric_limits<std::uint16_t>::max()) return 0;
        place = modules.names.insert(place, name);
    }
    return static_cast<std::uint16_t>(place - modules.names.begin() + 1);
}

}  // namespace

// Every creation calls this, hence the short way out: a nonzero state says that
// the id is there.
void ptrail_module_init_fn(const char *name, std::uint16_t *module_id, std::uint64_t *state) {
    if (__atomic_load_n(state, __ATOMIC_ACQUIRE) != 0) return;
    __atomic_store_n(module_id, id_of(name), __ATOMIC_RELAXED);
    __atomic_store_n(state, std::uint64_t{1}, __ATOMIC_RELEASE);
}
