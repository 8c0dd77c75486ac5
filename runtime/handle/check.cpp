// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/check.h"

#include <cerrno>
#include <new>

#include "runtime/base/error_text.h"
#include "tarnbase/embedded.h"

using namespace tarnbase::runtime;

std::uint32_t kel_store_check(kel_store *store, kel_table_vector_lookup lookup,
                              kel_check_report report, kel_check_progress progress, void *context) {
    if (store->has_open_transaction()) {
        return fail(EBUSY, "kel_store_check: a transaction is open");
    }
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
