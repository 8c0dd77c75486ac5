// SPDX-License-Identifier: Apache-2.0
//
// The members of a record's JSON that have an object and its state flags.
#ifndef TARNCTL_EXCHANGE_OBJECT_MEMBERS_H
#define TARNCTL_EXCHANGE_OBJECT_MEMBERS_H

namespace tarnctl {

struct ObjectMembers {
    const char *fields;
    const char *state;
};

constexpr ObjectMembers data_members{"fields", "state"};
constexpr ObjectMembers key_members{"key", "key_state"};

}  // namespace tarnctl

#endif
