// SPDX-License-Identifier: Apache-2.0
/// @file
/// The journal of a store and the durability of its commits (tarnbase/journal.h).
#ifndef TARNBASE_TARN_JOURNAL_HPP
#define TARNBASE_TARN_JOURNAL_HPP

#include <cstdint>
#include <string>

#include "tarnbase/journal.h"
#include "tarnbase/tarn/transaction.hpp"

namespace tarn {

/// Sets the label that the journal records with the commit: what the transaction is for. An empty
/// text removes it. Without a journal it has no effect.
/// Errors: EINVAL the transaction isn't open; E2BIG the text has more than 1024 bytes; ENOMEM.
inline result<void> try_label(session &in, const transaction &of, const std::string &text) {
    if (!of.is_open()) return error(EINVAL, "labelling: the transaction isn't open");
    const std::uint32_t status = kel_transaction_label(in.c_handle(), of.id(), text.c_str());
    if (status != 0) return detail::last_failure(status);
    return {};
}

/// Waits until what is committed is on the disk. Threads that call it at once share the writing.
/// Errors: EIO the disk fails; as kel_store_sync.
inline result<void> try_sync(const store &which) {
    const std::uint32_t status = kel_store_sync(which.c_store());
    if (status != 0) return detail::last_failure(status);
    return {};
}

/// Sets whether a store keeps its log as a journal, and how durable commits are, for all
/// processes. Errors: EINVAL a member has no such value; as kel_store_set_journal.
inline result<void> try_set_journal(const store &which, const kel_journal_settings &settings) {
    const std::uint32_t status = kel_store_set_journal(which.c_store(), &settings);
    if (status != 0) return detail::last_failure(status);
    return {};
}

/// Returns: the settings, and what is kept. Errors: as kel_store_describe_journal.
inline result<kel_journal_description> try_describe_journal(const store &which) {
    kel_journal_description description = {};
    const std::uint32_t status = kel_store_describe_journal(which.c_store(), &description);
    if (status != 0) return detail::last_failure(status);
    return description;
}

/// Returns: how much of the log is compressed. Errors: as kel_store_describe_compression.
inline result<kel_journal_compression> try_describe_compression(const store &which) {
    kel_journal_compression compression = {};
    const std::uint32_t status = kel_store_describe_compression(which.c_store(), &compression);
    if (status != 0) return detail::last_failure(status);
    return compression;
}

#if TARN_EXCEPTIONS
/// As try_label; throws.
inline void label(session &in, const transaction &of, const std::string &text) {
    try_label(in, of, text).value();
}
/// As try_sync; throws.
inline void sync(const store &which) { try_sync(which).value(); }
/// As try_set_journal; throws.
inline void set_journal(const store &which, const kel_journal_settings &settings) {
    try_set_journal(which, settings).value();
}
#endif

}  // namespace tarn

#endif
