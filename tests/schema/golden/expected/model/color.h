/* SPDX-License-Identifier: Apache-2.0 */
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_MODEL_color_H
#define TARNBASE_MODEL_color_H

#include "frame/schema.h"
#include "tarnbase/enums/color.h"

namespace tarnbase::model {

extern kel_enum_object color_fallback;

inline constexpr Enumerator color_enumerators[] = {
    {"COLOR_RED", 1},
    {"COLOR_BLUE", 2},
};

inline constexpr Enumeration color = {
    .name = "color",
    .descriptor = &_color_type_info_internal,
    .fallback = &color_fallback,
    .first_user_value = 1,
    .count = 2,
    .enumerators = color_enumerators,
};

}  // namespace tarnbase::model

#endif
