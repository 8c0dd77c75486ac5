// SPDX-License-Identifier: Apache-2.0
// The `_unsafe` form of an operation does what the plain one does, in success and in
// each failure: the same result, errors, hook calls, trace lines and bytes.
#include "tests/behaviour/every/convention.h"
#include "tests/support/snapshot.h"

namespace tarn::test {
namespace {

// How a call is made to fail, if it is.
struct Situation {
    std::string name;
    u32 error_on_entry = 0;
    bool without_memory = false;
    std::string null_parameter = {};
    std::string small_parameter = {};  // set to 1
};

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
            if (each.name == "buffer_len") all.push_back({"no room", 0, false, "", each.name});
        }
        return all;
    }

    // What a caller may leave out, for an error or for an answer.
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

    Outcome play(const Prototype &function, const Situation &situation) {
        Stage stage(item, GetParam().mode);
        std::vector<Word> arguments = stage.arguments(function);
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const std::string &name = function.parameters[i].name;
            if (name == situation.null_parameter) arguments[i] = nullptr;
            if (name == situation.small_parameter) arguments[i] = 1;
        }
        TraceCapture lines;
        HookRecorder hooks(stage.handle);
        hooks.fail_allocations(situation.without_memory);
        stage.err = situation.error_on_entry;
        stage.handle->last_error = 77;
        Outcome outcome;
        outcome.result = stage.result(function, Stage::invoke(function, arguments));
        outcome.err = stage.err;
        outcome.last_error = stage.handle->last_error;
        for (const HookEvent &event : hooks.events) {
            const auto address = reinterpret_cast<std::uintptr_t>(event.address);
            outcome.hooks.push_back({static_cast<u64>(event.hook), stage.place(address),
                                     event.length, static_cast<u32>(event.delta), event.tx_id});
        }
        for (const TraceLine &line : lines.lines) {
            outcome.traces.push_back(std::to_string(line.level) + line.text);
        }
        outcome.written.assign(stage.scratch().begin(), stage.scratch().end());
        return outcome;
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
            EXPECT_EQ(play(unsafe, situation), play(plain, situation));
        }
        ++pairs;
    }
    EXPECT_EQ(pairs, 56U);
}

}  // namespace
}  // namespace tarn::test
