/* SPDX-License-Identifier: Apache-2.0 */
// What the tests of records as text and as XML share.
#ifndef TARNBASE_TESTS_BEHAVIOUR_TABLE_TEXT_FIXTURE_H
#define TARNBASE_TESTS_BEHAVIOUR_TABLE_TEXT_FIXTURE_H

#include <string>
#include <vector>

#include "tests/behaviour/table/fixture.h"
#include "tests/support/values.h"

namespace tarn::test {

inline constexpr u32 space = 1U << 20;  // a day of minutes is 1440 elements

class TextTest : public TableTest {
 protected:
    using Writer = u32 (*)(kel_handle *, u32, char *, const kel_record *, u32, u32 *);
    std::string written(Writer writer, const kel_record *record) {
        std::vector<char> area(space, ' ');
        const u32 length = writer(handle, tx, area.data(), record, space, &err);
        EXPECT_EQ(err, 0U);
        return std::string(area.data(), length);
    }
    std::string object_text(const Slot &slot, const void *object) {
        std::vector<char> area(space, ' ');
        const u32 length = slot.type->print(handle, tx, area.data(), 2, slot.type->name.data(),
                                            object, space, &err);
        return std::string(area.data(), length);
    }
    std::string object_xml(const Slot &slot, const void *object) {
        std::vector<char> area(space, ' ');
        const u32 length = slot.type->to_xml(handle, tx, slot.type->name.data(), area.data(),
                                             object, space, 0, &err);
        return std::string(area.data(), length);
    }
    const std::string first_line = std::string("record@") + s.name + ": {\n";
    std::vector<char> buffer = std::vector<char>(space, ' ');
};

}  // namespace tarn::test

#endif
