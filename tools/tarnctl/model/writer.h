// SPDX-License-Identifier: Apache-2.0
//
// The process that is the writer of a store.
#ifndef TARNCTL_MODEL_WRITER_H
#define TARNCTL_MODEL_WRITER_H

#include <optional>
#include <string>

#include "tarnbase/embedded.h"

namespace tarnctl {

// None if no process is.
std::optional<kel_store_writer> writer_of(const kel_store *store);
// "4711 (tarn-ldap)".
std::string name_of(const kel_store_writer &writer);

}  // namespace tarnctl

#endif
