// SPDX-License-Identifier: Apache-2.0
//
// The state flags of an object, one a field. A handle with state tracking sets them, and only an
// object that such a handle made has them.
#ifndef TARNCTL_MODEL_STATE_H
#define TARNCTL_MODEL_STATE_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/schema.h"
#include "model/difference.h"
#include "tarnbase/tarn/tracking.hpp"

namespace tarnctl {

// False for null.
bool is_tracked(const void *object);

// The flags that aren't 0, by the paths of their fields: a leaf, a structure, an array as a whole
// (`minute`), an element of one (`minute[5]`).
using StateFlags = std::vector<std::pair<std::string, uint8_t>>;
StateFlags state_flags_of(kel_handle *handle, void *object, const Structure &structure);

// A record's flags: of its object, and of its key object.
struct RecordFlags {
    StateFlags object;
    StateFlags key;
};
RecordFlags state_flags_of(const Record &record);

// A flag that differs between two states of a record.
struct FlagChange {
    bool is_of_key;
    std::string path;
    uint8_t before;
    uint8_t after;
};
std::vector<FlagChange> flags_between(const RecordFlags &before, const RecordFlags &after);
// The same as a change of a field, `state(num_conns)` or `key_state(port)`.
FieldChange field_change(const FlagChange &change);

// Sets the flag of a field. The object is tracked. Failure `data` if there is no such field.
void set_state_flag(kel_handle *handle, uint32_t tx_id, void *object, const Structure &structure,
                    const std::string &path, uint8_t flag);

}  // namespace tarnctl

#endif
