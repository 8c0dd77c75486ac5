// SPDX-License-Identifier: Apache-2.0
//
// Who has committed a transaction, if the store keeps a journal.
#ifndef TARNCTL_WATCH_AUTHOR_H
#define TARNCTL_WATCH_AUTHOR_H

#include <string>
#include <string_view>

#include "json/document.h"
#include "tarnbase/replica.h"
#include "terminal/screen.h"

namespace tarnctl {

// The name of its program, without the folder and the arguments; "" if it isn't known.
std::string program_of(const kel_replica_transaction &transaction);
// The name of its user, or the user's number; "" if it isn't known.
std::string user_of(const kel_replica_transaction &transaction);
std::string_view label_of(const kel_replica_transaction &transaction);

// "  by tarn-ldap[4711] root (slapd.log:17)", or nothing.
std::string author_text(const kel_replica_transaction &transaction, const Screen &screen);
// Sets the members "transaction" and, if they are known, "pid", "uid", "user", "command" and
// "label".
void add_author(Json &line, const kel_replica_transaction &transaction);

}  // namespace tarnctl

#endif
