// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/runtime_check/checked_store.h"

#include <stdexcept>

#include "tarnbase/module.h"
#include "tests/support/module.h"

namespace tarn::test {

std::vector<std::string> findings_of(kel_store *store) {
    std::vector<std::string> lines;
    kel_store_check(
        store, tarnbase_table_get_vft,
        [](const char *text, void *context) {
            static_cast<std::vector<std::string> *>(context)->emplace_back(text);
        },
        nullptr, &lines);
    return lines;
}

std::string joined(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &line : lines) text += line + "\n";
    return text;
}

CheckedStore::CheckedStore() {
    kel_trace_set_sink([](void *, std::uint16_t, std::uint32_t, const char *) {}, nullptr);
    const kel_store_options options{64ULL << 20, nullptr};
    if (kel_store_create_private(&options, &store_) != 0) {
        throw std::runtime_error(kel_error_text());
    }
}

CheckedStore::~CheckedStore() {
    kel_store_close(store_);
    tarnbase::forget_table_roots();
}

}  // namespace tarn::test
