// SPDX-License-Identifier: Apache-2.0
#include "runtime/trace/module.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <string>
#include <vector>

namespace tarnbase::runtime {

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<std::string> names;  // the id of names[i] is i + 1
};

// Never destroyed: other libraries trace until the process ends.
Registry &registry() {
    static auto *const the_registry = new Registry;
    return *the_registry;
}

}  // namespace

std::uint16_t trace_module_id(const char *name) {
    Registry &modules = registry();
    const std::lock_guard lock(modules.mutex);
    auto place = std::find(modules.names.begin(), modules.names.end(), name);
    if (place == modules.names.end()) {
        if (modules.names.size() == std::numeric_limits<std::uint16_t>::max()) return 0;
        place = modules.names.insert(place, name);
    }
    return static_cast<std::uint16_t>(place - modules.names.begin() + 1);
}

}  // namespace tarnbase::runtime
