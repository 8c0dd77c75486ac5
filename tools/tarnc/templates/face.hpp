// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
/// @file
/// The whole C++ interface. Include the headers of the tables that you use where compile
/// time matters: `tarnbase/tarn/tables/<name>.hpp`.
#ifndef TARNBASE_TARN_HPP
#define TARNBASE_TARN_HPP

#include "tarnbase/tarn/snapshot.hpp"
#include "tarnbase/tarn/store.hpp"
#include "tarnbase/tarn/table.hpp"
#include "tarnbase/tarn/trace.hpp"
#include "tarnbase/tarn/tracking.hpp"
#include "tarnbase/tarn/transaction.hpp"
#include "tarnbase/tarn/variant.hpp"
{{#face_enumerations}}
#include "tarnbase/tarn/enums/{{face}}.hpp"
{{/face_enumerations}}
{{#face_structures}}
#include "tarnbase/tarn/types/{{face}}.hpp"
{{/face_structures}}
{{#face_tables}}
#include "tarnbase/tarn/tables/{{file}}.hpp"
{{/face_tables}}

namespace tarn {

/// Types, to do something with each of them.
template <typename... Types>
struct type_list {};

/// All enumerations of the schema.
using every_enumeration = type_list<
{{#face_enumerations}}
    {{face}}{{comma}}
{{/face_enumerations}}
>;
/// All structures of the schema.
using every_structure = type_list<
{{#face_structures}}
    {{face}}{{comma}}
{{/face_structures}}
>;
/// All tables of the schema.
using every_table = type_list<
{{#face_tables}}
    {{table}}{{comma}}
{{/face_tables}}
>;

}  // namespace tarn

#endif
