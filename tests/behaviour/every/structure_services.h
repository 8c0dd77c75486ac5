/* SPDX-License-Identifier: Apache-2.0 */
// A test of the services that a structure's operations call, with two filled objects.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_STRUCTURE_SERVICES_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_STRUCTURE_SERVICES_H

#include <algorithm>
#include <string>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/behaviour/every/objects.h"
#include "tests/support/services.h"

namespace tarn::test {

using Words = std::vector<u64>;

// The first part of the names of a kind's services; null if the operations are the library's own.
inline const char *service_of(FieldKind kind) {
    const char *type = facts_of(kind).type;
    return *type == '\0' ? nullptr : type;
}

// A call of a service for a field, and its arguments.
struct FieldCall {
    std::string service;
    const void *subject = nullptr;
    u64 detail = 0;

    bool operator==(const FieldCall &) const = default;
};
inline void PrintTo(const FieldCall &each, std::ostream *out) {
    *out << each.service << ' ' << each.subject << ' ' << each.detail;
}

class ServicesTest : public StructureTest {
 protected:
    void SetUp() override {
        object = within.create();
        other = within.create();
        within.fill(object, 1);
        within.fill(other, 2);
    }
    void TearDown() override {
        within.destroy(object);
        within.destroy(other);
        ASSERT_EQ(kel_transaction_commit(handle, tx), 0U);
        StructureTest::TearDown();
    }
    // The calls of these services; `subject` and `detail` are places of arguments.
    std::vector<FieldCall> calls_of(const ServiceRecorder &recorder,
                                    const std::vector<std::string> &services, std::size_t subject,
                                    std::size_t detail) const {
        std::vector<FieldCall> found;
        for (const ServiceCall &call : recorder.calls()) {
            if (std::find(services.begin(), services.end(), call.name) == services.end()) continue;
            found.push_back({call.name, call.pointer<const void>(subject),
                             detail == 0 ? 0 : call.arguments.at(detail)});
        }
        return found;
    }
    static Words of(const ServiceRecorder &recorder, const std::string &service,
                    const void *subject, std::size_t place) {
        for (const ServiceCall &call : recorder.calls(service)) {
            if (call.pointer<const void>(place) == subject) return call.arguments;
        }
        return {};
    }
    void expect_pair(const ServiceRecorder &recorder, const Field &field) const {
        EXPECT_EQ(of(recorder, "kel_get_instance_variant", object, 0),
                  (Words{word(object), 1, is_small(field.kind)}));
    }
    void expect_adjusted(const ServiceRecorder &recorder) const {
        EXPECT_EQ(of(recorder, "kellib_adjust_variant", object, 2),
                  (Words{word(handle), tx, word(object), word(head(object)->descriptor),
                         static_cast<u64>(type.top_variant), word(&err)}));
    }
    void expect_marked(const ServiceRecorder &recorder, const Field &field) const {
        EXPECT_EQ(of(recorder, "kel_set_instance_modified", object, 0),
                  (Words{word(object), 1, is_small(field.kind), 1}));
        EXPECT_EQ(recorder.calls().back().name, "kel_set_instance_modified");
    }

    u32 begin() const {
        u32 started = 0;
        EXPECT_EQ(kel_transaction_begin(handle, &started), 0U);
        return started;
    }

    const u32 tx = begin();
    const Typed within{type, handle, tx};
    void *object = nullptr;
    void *other = nullptr;
};
}  // namespace tarn::test

#endif
