// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from shapes.tarn; changes belong there.
#ifndef TARNBASE_TARN_ENUMS_color_HPP
#define TARNBASE_TARN_ENUMS_color_HPP

#include "tarnbase/enums/color.h"
#include "tarnbase/tarn/enumeration.hpp"
#include "tarnbase/tarn/schema.hpp"

namespace tarn {

/// what a shape is painted with.
enum class color : std::uint32_t {
    red = 1,  ///< the color of warnings
    blue = 2,
};

template <>
struct enumeration_traits<color> {
    static constexpr enumerator<color> all[] = {
        {color::red, "COLOR_RED"},
        {color::blue, "COLOR_BLUE"},
    };
};

}  // namespace tarn

#endif
