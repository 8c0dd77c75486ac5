/* SPDX-License-Identifier: Apache-2.0 */
// Checks the maps by address: the texts that strings own, the data and the identities of objects.
// Each entry must be used by what it is for, which the walk over the records finds.
#ifndef TARNBASE_RUNTIME_CHECK_SIDE_ENTRIES_H
#define TARNBASE_RUNTIME_CHECK_SIDE_ENTRIES_H

#include <functional>
#include <string>

#include "runtime/check/blocks.h"
#include "runtime/index/address_map.h"
#include "runtime/mapping/object_data.h"
#include "runtime/mapping/object_identity.h"
#include "tarnbase/value.h"

namespace tarnbase::runtime {

class SideEntries {
 public:
    SideEntries(const Image &image, Findings &findings, Blocks &blocks);

    // Checks the maps, and claims their blocks.
    void check();

    // From now on a text may be missing in the map. It contains the address of its string, too.
    void accept_unlisted_texts() { accepts_unlisted_texts_ = true; }
    // The text at `text`, if it is one that `string` owns; marks it as used.
    bool use_text(const kel_vstring *string, const char *text, std::uint64_t length);
    // The entries of an object or record, or null; marked as used.
    const ObjectData *use_data(const void *object);
    const Identity *use_identity(const void *object);
    // Whether the map of objects' data could be read.
    bool has_data() const { return data_usable_; }

    // Calls `visit` with each identity of an object that nothing has used.
    void each_unused_identity(const std::function<void(const Identity &)> &visit) const;
    // Adds a finding for each entry that wasn't used. `is_opaque` says whether the owner at an
    // address is in an object of an unknown type.
    void check_use(const std::function<bool(const void *owner)> &is_opaque) const;

 private:
    void check_identities();
    // The entry of a key in a map that was walked.
    const MapNode *find(const MapRoot &root, std::uint64_t key) const;
    template <typename Visit>
    void each(const MapRoot &root, bool usable, Visit visit) const;

    const StoreHeader &header_;
    Findings &findings_;
    Blocks &blocks_;
    BlockSet texts_, used_;  // entries of texts; entries of any map that are used
    BlockSet by_object_, by_id_;
    bool texts_usable_ = false, data_usable_ = false, identities_usable_ = false;
    bool accepts_unlisted_texts_ = false;
};

}  // namespace tarnbase::runtime

#endif
