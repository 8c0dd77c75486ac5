// SPDX-License-Identifier: Apache-2.0
#include "runtime/base/thread_number.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace tarnbase::runtime {

thread_local constinit std::uint32_t thread_number = 0;

namespace {

struct Numbers {
    std::mutex mutex;
    std::vector<bool> taken;
};

// Never destroyed: threads may end after the program's static objects.
Numbers &numbers() {
    static Numbers &all = *new Numbers;
    return all;
}

// Frees the thread's number at its end.
struct Owner {
    Owner() = default;
    Owner(const Owner &) = delete;
    Owner &operator=(const Owner &) = delete;
    ~Owner() {
        Numbers &all = numbers();
        const std::lock_guard guard(all.mutex);
        all.taken[thread_number - 1] = false;
        thread_number = 0;
    }
};

}  // namespace

void take_thread_number() {
    Numbers &all = numbers();
    {
        const std::lock_guard guard(all.mutex);
        const auto free = std::ranges::find(all.taken, false);
        const auto index = static_cast<std::uint32_t>(free - all.taken.begin());
        if (free == all.taken.end()) all.taken.push_back(false);
        all.taken[index] = true;
        thread_number = index + 1;
    }
    thread_local Owner owner;
}

}  // namespace tarnbase::runtime
