// SPDX-License-Identifier: Apache-2.0
// What a field measures: the notes of the schema for programs that watch figures.
#ifndef TARNC_MEASURE_H
#define TARNC_MEASURE_H

#include <string>

#include "frame/kinds.h"

namespace tarnc {

// The measure of a field without a note: "counter", "gauge", "plain" or, of a structure, whose
// fields have measures of their own, "parts".
std::string usual_measure(tarnbase::FieldKind kind, bool counts);
bool can_have(tarnbase::FieldKind kind, const std::string &measure);
// The fields that can have the measure, as a diagnostic names them.
std::string holders_of(const std::string &measure);
// Lower-case words with '_' between them; or nothing.
bool is_measure_name(const std::string &name);

}  // namespace tarnc

#endif
