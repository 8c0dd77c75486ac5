// SPDX-License-Identifier: Apache-2.0
// An index keeps the order of the process's own comparison, even if the library describes another.
#include <cstring>
#include <string_view>

#include "tests/unit/runtime_order/servers.h"

namespace {

std::string_view text_of(const kel_vstring *value) {
    const char *block = value->text.bytes;
    if (value->length > KEL_VSTRING_INLINE) {
        std::memcpy(&block, value->text.outside.block, sizeof block);
    }
    return {block, value->length};
}

}  // namespace

// Backwards, and without regard to the length.
extern "C" std::int32_t kel_vstring_compare(const kel_vstring *a, const kel_vstring *b) {
    const int order = text_of(b).compare(text_of(a));
    return (order > 0) - (order < 0);
}

namespace tarn::test {
namespace {

TEST_F(Servers, AreInTheOrderOfTheProgramsOwnComparison) {
    std::vector<kel_record *> backwards;
    for (int i = 0; i < 500; ++i) {
        backwards.insert(backwards.begin(), insert("server " + std::to_string(1000 + i)));
    }
    EXPECT_EQ(walked(), backwards);
    EXPECT_EQ(find("server 1000"), backwards.back());
    EXPECT_EQ(find("server 1499"), backwards.front());
    EXPECT_EQ(find("server 1500"), nullptr);
}

}  // namespace
}  // namespace tarn::test
