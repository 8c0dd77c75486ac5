/* SPDX-License-Identifier: Apache-2.0 */
// The values that every form of forms_bench carries, and what its peers add to the contests.
#ifndef TARNBASE_BENCH_FORMS_FORMS_H
#define TARNBASE_BENCH_FORMS_FORMS_H

#include <array>
#include <cstdint>
#include <string>

#include "bench/contest.h"

namespace bench {

struct Small {
    std::string name = "ldap00000001.a.example.org";
    std::array<std::uint32_t, 18> numbers{};
};

struct Large {
    std::string name = "ldap00000001.a.example.org";
    std::array<std::uint32_t, 40> numbers{};
    std::array<std::uint8_t, 1440> minute{};
};

template <typename Object>
Object filled() {
    Object object;
    for (std::size_t i = 0; i < object.numbers.size(); ++i)
        object.numbers[i] = static_cast<std::uint32_t>(i * 2654435761U);
    if constexpr (requires { object.minute; }) {
        for (std::size_t i = 0; i < object.minute.size(); ++i)
            object.minute[i] = static_cast<std::uint8_t>(i % 101);
    }
    return object;
}

struct Forms {
    std::vector<Contender> encode, decode;
};

// Each adds its contenders; the last two of FlatBuffers read the fields, without and with
// verifying the form before.
void add_protobuf(Forms &small, Forms &large);
void add_flatbuffers(Forms &small, Forms &large);
void add_capnp(Forms &small, Forms &large);

}  // namespace bench

#endif
