// SPDX-License-Identifier: Apache-2.0
// An object with an array of minutes, and calls of the array's operations.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_MINUTES_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_MINUTES_H

#include <string>
#include <vector>

#include "tests/behaviour/every/objects.h"

namespace tarn::test {

class MinuteTest : public StructureTest {
 protected:
    void SetUp() override {
        for (const Field &each : fields_of(type)) {
            if (each.kind == FieldKind::array) field = &each;
        }
        object = typed.create();
        typed.fill(object, 1);
    }
    void TearDown() override {
        typed.destroy(object);
        StructureTest::TearDown();
    }
    // Calls an operation of the array, with these arguments between the object and `err`.
    template <typename R = void>
    R on(const std::string &operation, std::vector<Word> arguments) {
        arguments.insert(arguments.begin(), object);
        arguments.emplace_back(&err);
        return typed.operator()<R>("minute_" + operation, arguments);
    }

    const Field *field = nullptr;
    void *object = nullptr;
};

// The structures with such an array, in each mode.
inline std::vector<InMode<Structure>> with_minutes() {
    return in_each_mode(std::vector<const Structure *>{&structure("st_aaa_servers"),
                                                       &structure("st_aaa_client_stats")});
}

}  // namespace tarn::test

#endif
