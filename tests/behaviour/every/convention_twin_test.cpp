// SPDX-License-Identifier: Apache-2.0
// The `_unsafe` form of an operation behaves like the plain one, in success and in
// each failure: the same result, errors, hook calls, trace lines and bytes. A handle
// whose tracking is off behaves like one without a tracking record.
#include "tests/behaviour/every/convention.h"
#include "tests/support/snapshot.h"

namespace tarn::test {
namespace {

class Twins : public ItemTest {
 protected:
    static std::vector<Situation> situations(const Prototype &function) {
        std::vector<Situation> all = {{"as it should be"}};
        if (function.takes("err")) all.push_back({"error on entry", 5});
        all.push_back({"without memory", 0, true});
        for (const Parameter &each : function.parameters) {
            if (may_be_null(function, each)) {
                all.push_back({"null " + each.name, 0, false, each.name});
            }
            if (each.name == "buffer_len") all.push_back({"no space", 0, false, "", each.name});
        }
        return all;
    }

    // The arguments that may be null, with an error or with a result.
    static bool may_be_null(const Prototype &function, const Parameter &parameter) {
        const auto is = [&](const char *word) {
            return function.name.find(word) != std::string::npos;
        };
        const std::string &name = parameter.name;
        if (name == "table") return is("_count") || is("_search") || is("_pkey_print_");
        if (name == "record") {
            return is("_add_ref_") || is("destroy_record_") || is("_record_destroy_") ||
                   is("_pkey_print_") || is("_shadow_");
        }
        if (name == "key" || name == "object") return is("_search") || is("_by_key_");
        return name == "name" || name == "pkey";
    }
};
INSTANTIATE_TEST_SUITE_P(Every, Twins, ::testing::ValuesIn([] {
                             std::vector<ItemInMode> tables;
                             for (const Table *each : all_tables()) {
                                 tables.push_back({each->name, Mode::plain});
                             }
                             return tables;
                         }()),
                         item_name);

TEST_P(Twins, BehaveAlike) {
    u32 pairs = 0;
    for (const Prototype &unsafe : functions) {
        if (!unsafe.ends_with("_unsafe")) continue;
        Prototype plain = unsafe;
        plain.name.resize(plain.name.size() - 7);
        for (const Situation &situation : situations(unsafe)) {
            SCOPED_TRACE(unsafe.name + ", " + situation.name);
            EXPECT_EQ(outcome_of(item, unsafe, situation), outcome_of(item, plain, situation));
        }
        ++pairs;
    }
    EXPECT_EQ(pairs, 56U);
}

class TrackingOff : public ItemTest {};
TARN_EVERY_ITEM(TrackingOff, Mode::plain);

TEST_P(TrackingOff, IsTheSameAsNoTrackingRecordInEveryOperation) {
    for (const Prototype &each : functions) {
        if (each.parameters.empty() || each.parameters[0].name != "handle") continue;
        SCOPED_TRACE(each.name);
        Situation with_record = {"tracking off"};
        with_record.tracking_off = true;
        Outcome off = outcome_of(item, each, with_record);
        Outcome none = outcome_of(item, each, {"no record"});
        // An object without flags is traced only if no mode has refused them before.
        if (each.name.find("_state_flag_") != std::string::npos) off.traces = none.traces;
        EXPECT_EQ(off, none);
    }
}

}  // namespace
}  // namespace tarn::test
