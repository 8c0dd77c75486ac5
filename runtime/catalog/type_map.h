/* SPDX-License-Identifier: Apache-2.0 */
// A store's descriptor copies, by LUID text.
#ifndef TARNBASE_RUNTIME_CATALOG_TYPE_MAP_H
#define TARNBASE_RUNTIME_CATALOG_TYPE_MAP_H

#include <array>
#include <cstdint>

#include "runtime/catalog/named_entry.h"
#include "tarnbase/handle.h"

namespace tarnbase::runtime {

// Enters a copy; it replaces one with the same text. Without memory for the entry the
// next lookup finds no copy.
void type_map_insert(kel_handle *handle, const char *luid_text, kel_type_info_copy *copy);
// The copy with that text, or null.
kel_type_info_copy *type_map_lookup(const kel_handle *handle, const char *luid_text);

// What a handle has found in the type map in its transaction, by the addresses of the texts: a
// library has the texts of its descriptors in constants. Until a transaction ends, nothing but the
// process itself changes the store, and it removes no entry.
class FoundTypes {
 public:
    // The handle began a transaction.
    void begin(std::uint32_t tx_id);
    // As type_map_lookup.
    kel_type_info_copy *lookup(const kel_handle *handle, std::uint32_t tx_id,
                               const char *luid_text);

 private:
    struct Found {
        std::uint64_t transaction = 0;
        const char *luid_text = nullptr;
        const NamedEntry *entry = nullptr;
    };

    static constexpr std::size_t places = 32;

    std::array<Found, places> found_{};
    std::uint64_t transactions_ = 0;  // that the handle began
    std::uint32_t tx_id_ = 0;         // of the last one
};

}  // namespace tarnbase::runtime

#endif
