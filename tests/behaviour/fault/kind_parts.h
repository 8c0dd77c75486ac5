/* SPDX-License-Identifier: Apache-2.0 */
// What a Kind fills its fields with, and how it reads them.
#ifndef TARNBASE_TESTS_BEHAVIOUR_FAULT_KIND_PARTS_H
#define TARNBASE_TESTS_BEHAVIOUR_FAULT_KIND_PARTS_H

#include <string>
#include <vector>

#include "tests/behaviour/fault/kind.h"

namespace tarn::test {

// One of two texts that do not fit inside a string.
kel_vstring text_of(u32 set, const char *first, const char *second);

// Each line of a print form, by the name before the colon, after the prefix.
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
