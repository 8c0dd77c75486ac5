// SPDX-License-Identifier: Apache-2.0
// Made by tarnc from {{origin}}; changes belong there.
#ifndef TARNBASE_TARN_ENUMS_{{face}}_HPP
#define TARNBASE_TARN_ENUMS_{{face}}_HPP

#include "tarnbase/enums/{{enum}}.h"
#include "tarnbase/tarn/enumeration.hpp"
#include "tarnbase/tarn/schema.hpp"

namespace tarn {

/// {{meaning}}.
enum class {{face}} : std::uint32_t {
{{#enumerators}}
    {{short}} = {{value}},{{note}}
{{/enumerators}}
};

template <>
struct enumeration_traits<{{face}}> {
    static constexpr enumerator<{{face}}> all[] = {
{{#enumerators}}
        {{open}}{{face}}::{{short}}, "{{enumerator}}"},
{{/enumerators}}
    };
};

}  // namespace tarn

#endif
