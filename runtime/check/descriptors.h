/* SPDX-License-Identifier: Apache-2.0 */
// The descriptors that objects of a store may have: its own copies, and the constant ones of the
// libraries in this process. A constant one of another process is an address outside of the store
// that means nothing here.
#ifndef TARNBASE_RUNTIME_CHECK_DESCRIPTORS_H
#define TARNBASE_RUNTIME_CHECK_DESCRIPTORS_H

#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "runtime/check/blocks.h"
#include "tarnbase/runtime.h"

namespace tarnbase::runtime {

enum class Fit : std::uint8_t { right, foreign, wrong };

class Descriptors {
 public:
    Descriptors(Blocks &blocks, Findings &findings);

    // Checks the copy that the type map has under `luid_text`, and claims its blocks.
    void add_copy(const std::string &luid_text, const kel_type_info_copy *copy);

    // Whether `found` may be the descriptor of what has the constant one `constant`.
    Fit fit(const kel_type_info *found, const kel_type_info *constant) const;
    // A descriptor that may be read: a copy or a constant one; else null.
    const kel_type_info *readable(const kel_type_info *found) const {
        return readable_.count(found) != 0 ? found : nullptr;
    }
    // Whether it is an address outside of the store that isn't known in this process.
    bool is_foreign(const kel_type_info *found) const {
        return found != nullptr && !blocks_.is_inside(found) && readable_.count(found) == 0;
    }
    // The readable descriptor with that LUID text and kind, or null.
    const kel_type_info *with_luid_text(const std::string &luid_text) const;
    // Whether a block contains variants that a copy had before it got more of them. They stay, for
    // the log of a transaction that was open then.
    bool are_old_variants(const char *bytes, std::uint64_t length) const;

 private:
    const kel_type_info *copy_of(const kel_type_info *constant) const;
    void check_info(const std::string &where, const std::string &luid_text,
                    const kel_type_info &info);
    bool check_variants(const std::string &where, const kel_type_info &info);

    Blocks &blocks_;
    Findings &findings_;
    std::map<std::string, const kel_type_info *> copies_;  // those that may be read
    std::vector<const kel_type_info *> constants_;
    std::unordered_set<const kel_type_info *> readable_;  // both
    // Copies by the constant descriptor, as they were looked up.
    mutable std::unordered_map<const kel_type_info *, const kel_type_info *> copies_of_;
};

}  // namespace tarnbase::runtime

#endif
