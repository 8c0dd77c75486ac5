// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from sample.tarn; changes belong there.
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
#include "tarnbase/tarn/enums/color.hpp"
#include "tarnbase/tarn/types/corner.hpp"
#include "tarnbase/tarn/types/shape.hpp"
#include "tarnbase/tarn/types/shape_key.hpp"
#include "tarnbase/tarn/tables/shape.hpp"
#include "tarnbase/tarn/tables/layer_shape.hpp"

namespace tarn {

/// Types, to do something with each of them.
template <typename... Types>
struct type_list {};

/// All enumerations of the schema.
using every_enumeration = type_list<
    color
>;
/// All structures of the schema.
using every_structure = type_list<
    corner,
    shape,
    shape_key
>;
/// All tables of the schema.
using every_table = type_list<
    tbl_shape,
    tbl_layer_shape
>;

}  // namespace tarn

#endif
