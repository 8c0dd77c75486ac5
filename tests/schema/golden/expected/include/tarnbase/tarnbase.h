/* SPDX-License-Identifier: Apache-2.0 */
/* Made by tarnc from sample.tarn; changes belong there. */
/* The whole public interface. Include a single item's header where that will do. */
#ifndef TARNBASE_TARNBASE_H
#define TARNBASE_TARNBASE_H

#include "tarnbase/module.h"
#include "tarnbase/enums/color.h"
#include "tarnbase/types/st_corner.h"
#include "tarnbase/types/st_shape.h"
#include "tarnbase/types/shape_key.h"
#include "tarnbase/tables/tbl_shape.h"
#include "tarnbase/tables/tbl_layer_shape.h"

#endif
