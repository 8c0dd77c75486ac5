// SPDX-License-Identifier: Apache-2.0
//
// The catalogue of the schema under the names that tarnctl uses.
#ifndef TARNCTL_BASE_SCHEMA_H
#define TARNCTL_BASE_SCHEMA_H

#include "catalogue/catalogue.h"

namespace tarnctl {

using tarnbase::catalogue::Catalogue;
using tarnbase::catalogue::Enumeration;
using tarnbase::catalogue::Enumerator;
using tarnbase::catalogue::Field;
using tarnbase::catalogue::FieldFunctions;
using tarnbase::catalogue::Kind;
using tarnbase::catalogue::Structure;
using tarnbase::catalogue::Table;

inline const Catalogue &catalogue = tarnbase::catalogue::schema;

}  // namespace tarnctl

#endif
