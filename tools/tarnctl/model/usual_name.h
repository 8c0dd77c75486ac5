// SPDX-License-Identifier: Apache-2.0
//
// The name under which a table is made where none is given: the one under which the daemons that
// keep it open it. They share one name for all tables of a kind: "ldap" for those of tarn-ldap,
// "dot1x" for those of tarn-dot1x. Any other table has its own name without "tbl_".
#ifndef TARNCTL_MODEL_USUAL_NAME_H
#define TARNCTL_MODEL_USUAL_NAME_H

#include <string>

#include "base/schema.h"

namespace tarnctl {

std::string usual_name(const Table &table);

}  // namespace tarnctl

#endif
