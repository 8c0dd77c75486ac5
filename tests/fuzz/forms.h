/* SPDX-License-Identifier: Apache-2.0 */
// Output into buffers of exactly the required size, and into smaller ones.
#ifndef TARNBASE_TESTS_FUZZ_FORMS_H
#define TARNBASE_TESTS_FUZZ_FORMS_H

#include <string>
#include <utility>

#include "tests/fuzz/input.h"
#include "tests/fuzz/round.h"

namespace tarnbase::fuzz {

// Longer than any text here: the XML of an array is the longest.
inline constexpr u32 longest_text = 128 * 1024;

// Memory for texts of unknown length.
char *text_page();

// Returns the text that `write(buffer, length, err)` writes, with its error. It is written
// three times: to a large buffer, to a buffer of its exact length, where it must fit, and
// to one cut to `portion` 256ths of that, where it must not.
template <typename Write>
std::pair<std::string, u32> text_form(u8 portion, Write write) {
    u32 err = 0;
    char *page = text_page();
    const u32 length = write(page, longest_text, &err);
    if (err != 0) return {std::string(), err};
    std::string text(page, length);

    Buffer exact(length);
    require(write(exact.text(), length, &err) == length && err == 0,
            "a text fits in a buffer of its length");

    Buffer cut(length * portion / 256);
    u32 lack = 0;
    write(cut.text(), cut.size(), &lack);
    require(lack != 0, "a buffer that is too short for a text is reported");
    return {std::move(text), 0};
}

}  // namespace tarnbase::fuzz

#endif
