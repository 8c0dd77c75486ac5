// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/check.h"

#include <cerrno>
#include <new>

#include "runtime/base/error_text.h"
#include "tarnbase/embedded.h"

using namespace tarnbase::runtime;

namespace {

std::uint32_t check_and_report(kel_store *store, kel_table_vector_lookup lookup,
                               kel_check_report report, kel_check_progress progress,
                               void *context) {
    try {
        const std::uint64_t total = store->header->arena.blocks;
        Findings findings([&](const char *text) { report(text, context); });
        check_store(*store, lookup, findings, [&](std::uint64_t blocks) {
            if (progress != nullptr) progress(std::min(blocks, total), total, context);
        });
        if (findings.count() == 0) return 0;
        return fail(EBADMSG, "the store is damaged: %llu findings",
                    static_cast<unsigned long long>(findings.count()));
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM, "kel_store_check: no memory");
    }
}

}  // namespace

std::uint32_t kel_store_check(kel_store *store, kel_table_vector_lookup lookup,
                              kel_check_report report, kel_check_progress progress, void *context) {
    if (store->has_open_transaction()) {
        return fail(EBUSY, "kel_store_check: a transaction is open");
    }
    // Another thread may refresh the store.
    if (const std::uint32_t error = kel_store_begin_read(store, 0)) return error;
    const std::uint32_t status = check_and_report(store, lookup, report, progress, context);
    kel_store_end_read(store);
    return status;
}
