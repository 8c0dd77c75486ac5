/* SPDX-License-Identifier: Apache-2.0 */
// What a Kind fills its fields with, and how it sees them.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FAULT_KIND_PARTS_H
#define TARNBASE_TESTS_BEHAVIOUR_FAULT_KIND_PARTS_H

#include <string>
#include <vector>

#include "tests/behaviour/fault/kind.h"

namespace tarn::test {

// One of two texts that don't fit in a string.
kel_vstring text_of(u32 set, const char *first, const char *second);

// Each line of a print form, by what stands in front of the colon. Nested ones have
// the name of what they are nested in before their own.
void see_lines(const std::string &text, const std::string &prefix, Sight &sight);

template <u32 (*Print)(kel_handle *, u32, char *, const void *, u32, u32 *)>
void see_print(kel_handle *h, const void *object, Sight &sight) {
    std::vector<char> text(4096, ' ');
    u32 err = 0;
    const u32 length = Print(h, KEL_TX_NONE, text.data(), object, 4096, &err);
    sight["error of its print"] = std::to_string(err);
    see_lines(std::string(text.data(), length), "", sight);
}

}  // namespace tarn::test

#endif
