/* SPDX-License-Identifier: Apache-2.0 */
// The values of a test object: each depends on a seed and the field's name, so that
// they can be checked after any conversion.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_VALUES_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_VALUES_H

#include <array>
#include <string>

#include "tarnbase/embedded.h"
#include "tests/behaviour/every/call.h"
#include "tests/behaviour/every/model.h"

namespace tarn::test {

inline constexpr u32 minutes = 1440;

// The seed of the fields inside a nested structure.
u32 seed_inside(const Field &field, u32 seed);

// The result of `_get_value`, as a word: sign-extended for the signed kinds.
u64 plain_value(const Field &field, u32 seed);
// The word as stored in a field of that kind.
u64 narrowed(FieldKind kind, u64 word);
std::string text_value(const Field &field, u32 seed);
ip_address address_value(const Field &field, u32 seed);
std::array<u8, minutes> array_value(const Field &field, u32 seed);

std::string text_of(const kel_vstring *string);

// A string that refers to its own text.
class Text {
 public:
    explicit Text(std::string text) : text_(std::move(text)) {
        kel_vstring_refer(&string_, text_.data(), static_cast<u32>(text_.size()));
    }
    Text(const Text &) = delete;
    Text &operator=(const Text &) = delete;
    const kel_vstring *get() const { return &string_; }

 private:
    std::string text_;
    kel_vstring string_;
};

}  // namespace tarn::test

#endif
