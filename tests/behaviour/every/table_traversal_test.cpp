// SPDX-License-Identifier: Apache-2.0
// Every traversal form of each table.
#include <dlfcn.h>

#include <cerrno>

#include "tests/behaviour/every/tabled.h"

namespace tarn::test {
namespace {

// Key 1; key 2 of sources 1, 2 and its shadow; key 3 of source 2; key 4.
class TableTraversal : public EveryTable {
 protected:
    using Records = std::vector<kel_record *>;

    void SetUp() override {
        a = put(1);
        b = put(2);
        b2 = put(2, 2);
        shadow = put(2, KEL_SOURCE_SHADOW);
        c2 = put(3, 2);
        d = put(4);
    }
    // The three names that most forms have: by key, by pkey, and that one's twin.
    std::vector<std::string> forms(const std::string &operation) const {
        return {by_key(operation), "pkey_" + operation, "pkey_" + operation + "_unsafe"};
    }
    kel_record *step(const std::string &operation, std::vector<Word> arguments) {
        kel_record *found = find(operation, std::move(arguments));
        EXPECT_EQ(err, 0U) << operation;
        return found;
    }
    // The results of a first or last form and its steps; `further` are their arguments.
    Records run(const std::string &start, const std::string &onward, std::vector<Word> further) {
        std::vector<Word> arguments = {table};
        arguments.insert(arguments.end(), further.begin(), further.end());
        Records records;
        for (kel_record *each = step(start, arguments); each != nullptr;) {
            records.push_back(each);
            arguments = {table, each};
            arguments.insert(arguments.end(), further.begin(), further.end());
            each = step(onward, arguments);
        }
        return records;
    }
    void expect_both_ways(const std::string &suffix, std::vector<Word> further, Records records) {
        const Records back(records.rbegin(), records.rend());
        const auto first = forms("get_first" + suffix), last = forms("get_last" + suffix);
        const auto next = forms("get_next" + suffix), prev = forms("get_prev" + suffix);
        for (std::size_t i = 0; i < first.size(); ++i) {
            EXPECT_EQ(run(first[i], next[i], further), records) << first[i];
            EXPECT_EQ(run(last[i], prev[i], further), back) << last[i];
        }
    }

    kel_record *a = nullptr, *b = nullptr, *b2 = nullptr, *shadow = nullptr, *c2 = nullptr,
               *d = nullptr;
};
TARN_EVERY_TABLE(TableTraversal);

TEST_P(TableTraversal, OfSource1StepsFromKeyToKeyInBothDirections) {
    expect_both_ways("", {}, {a, b, d});
}

TEST_P(TableTraversal, BySourceStepsThroughThatSourceInBothDirections) {
    expect_both_ways("_by_src", {2}, {b2, c2});
    expect_both_ways("_by_src", {1}, {a, b, d});
    expect_both_ways("_by_src", {255}, {shadow});
    expect_both_ways("_by_src", {9}, {});
}

TEST_P(TableTraversal, IgnoringSourcesStepsThroughAllInBothDirections) {
    const Records all = {a, b, b2, shadow, c2, d};
    const auto first = forms("get_first_ignore_src");
    const auto next = forms("get_next_ignore_src"), prev = forms("get_prev_ignore_src");
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(run(first[i], next[i], {}), all);
        Records back;
        for (kel_record *each = d; each != nullptr; each = step(prev[i], {table, each})) {
            back.insert(back.begin(), each);
        }
        EXPECT_EQ(back, all);
    }
    EXPECT_EQ(walk(), all);
}

TEST_P(TableTraversal, SkipsPendingRecords) {
    keldb_request_record_destroy(handle, tx, b, &err);
    const auto form = [this](const char *end) {
        return by_key(std::string("get_") + end + "_not_pending_destroy");
    };
    EXPECT_EQ(run(form("first"), form("next"), {1}), (Records{a, d}));
    EXPECT_EQ(run(form("last"), form("prev"), {1}), (Records{d, a}));
    EXPECT_EQ(step(by_key("get_next_by_key_not_pending_destroy"), {table, key(1)}), d);
    EXPECT_EQ(step(by_key("get_prev_by_key_not_pending_destroy"), {table, key(4)}), a);
    expect_both_ways("", {}, {a, b, d});
}

TEST_P(TableTraversal, SubStepsStayWithinAKeyAndFindItsShadow) {
    for (const std::string &form : forms("get_sub_next")) {
        EXPECT_EQ(step(form, {table, a}), nullptr);
        EXPECT_EQ(step(form, {table, b}), b2);
        EXPECT_EQ(step(form, {table, b2}), shadow);
        EXPECT_EQ(step(form, {table, shadow}), nullptr);
    }
    for (const std::string &form : forms("get_sub_prev")) {
        EXPECT_EQ(step(form, {table, b}), nullptr);
        EXPECT_EQ(step(form, {table, shadow}), b2);
    }
    for (const std::string &form : forms("get_shadow")) {
        EXPECT_EQ(step(form, {table, b}), shadow);
        EXPECT_EQ(step(form, {table, shadow}), shadow);
        EXPECT_EQ(step(form, {table, a}), nullptr);
        EXPECT_EQ(step(form, {table, nullptr}), nullptr);
    }
}

TEST_P(TableTraversal, ByKeyStartsAfterOrBeforeTheKeyWhetherItExistsOrNot) {
    EXPECT_EQ(step(by_key("get_next_by_key"), {table, key(1)}), b);
    EXPECT_EQ(step(by_key("get_next_by_key"), {table, key(3)}), d);
    EXPECT_EQ(step(by_key("get_prev_by_key"), {table, key(2)}), a);
    EXPECT_EQ(step(by_key("get_next_by_key_w_src"), {table, key(2), 2}), c2);
    for (const std::string &twin : twins) {
        EXPECT_EQ(step("get_next_by_key" + twin, {table, key_object(2)}), d);
        EXPECT_EQ(step("get_prev_by_key" + twin, {table, key_object(4)}), b);
    }
    EXPECT_EQ(step("get_next_by_key_w_src", {table, key_object(2), 2}), c2);
}

TEST_P(TableTraversal, TheShortFormTakesASelector) {
    const auto get = [this](u32 selector, kel_record *from, u32 src, u32 mode) {
        return cr<kel_record *>(by_key("get_cr"), {table, selector, from, src, mode});
    };
    EXPECT_EQ(get(0, nullptr, 0, 0), a);
    EXPECT_EQ(get(1, nullptr, 2, 0), c2);
    EXPECT_EQ(get(2, d, 0, 0), b);
    EXPECT_EQ(get(3, b, 0, 0), d);
    EXPECT_EQ(get(3, b, 0, 1), b2);
    EXPECT_EQ(handle->last_error, 0U);
    EXPECT_EQ(get(4, b, 0, 0), nullptr);
    EXPECT_EQ(handle->last_error, EINVAL);
    kel_clear_last_error(handle);
}

TEST_P(TableTraversal, TheInternalStepsTakeEveryFilter) {
    const std::string next = by_key("get_next_internal"), prev = by_key("get_prev_internal");
    EXPECT_EQ(step(next, {table, b, 1, 1, 0}), d);
    EXPECT_EQ(step(next, {table, b, 0, 0, 0}), b2);
    EXPECT_EQ(step(prev, {table, d, 2, 1, 0}), c2);
    keldb_request_record_destroy(handle, tx, c2, &err);
    EXPECT_EQ(step(prev, {table, d, 2, 1, 1}), b2);
}

u32 count_two(kel_record *, void *counter) { return ++*static_cast<u32 *>(counter) == 2 ? 9 : 0; }

TEST_P(TableTraversal, WalksVisitAllTenantsAndEndWhenTheCallerStopsThem) {
    kel_thread_set_tenant(1);
    kel_record *other = put(1);
    EXPECT_EQ(walk(), (Records{a, b, b2, shadow, c2, d, other}));
    expect_both_ways("", {}, {other});
    u32 counter = 0;
    cr("record_walk_cr", {table, 0, &count_two, &counter});
    EXPECT_EQ(counter, 2U);
    cr("record_walk_cr", {table, 1, &count_two, &counter});
    EXPECT_EQ(counter, 2U);
    kel_walk_pair pair = {&count_two, &counter};
    counter = 1;
    EXPECT_EQ(call<u32>(key_name("avl_internal_walk"), {&a->index_node, &pair}), 9U);
    call(key_name("unordered_traversal"), {});
}

TEST_P(TableTraversal, ContinuesFromADeletedRecord) {
    on("delete", {table, b, &err});
    EXPECT_EQ(step(by_key("get_next"), {table, b}), d);
    EXPECT_EQ(step(by_key("get_prev"), {table, b}), a);
    drop(b);
}

// The forms by key, which have no twin.
constexpr const char *keyed_forms[] = {"get_first",
                                       "get_first_by_src",
                                       "get_first_not_pending_destroy",
                                       "get_first_ignore_src",
                                       "get_last",
                                       "get_last_by_src",
                                       "get_last_not_pending_destroy",
                                       "get_next",
                                       "get_prev",
                                       "get_next_by_src",
                                       "get_prev_by_src",
                                       "get_next_not_pending_destroy",
                                       "get_prev_not_pending_destroy",
                                       "get_next_ignore_src",
                                       "get_prev_ignore_src",
                                       "get_sub_next",
                                       "get_sub_prev",
                                       "get_shadow",
                                       "get_next_by_key",
                                       "get_prev_by_key",
                                       "get_next_by_key_not_pending_destroy",
                                       "get_prev_by_key_not_pending_destroy",
                                       "get_next_by_key_w_src",
                                       "walk",
                                       "search_w_src",
                                       "search_nearest"};

// Not every form has every name.
TEST_P(TableTraversal, HasOnlyTheFormsOfItsFamily) {
    const auto is_there = [](const std::string &name) {
        return dlsym(RTLD_DEFAULT, name.c_str()) != nullptr;
    };
    ASSERT_TRUE(is_there(key_name("get_first"))) << "names are found";
    std::vector<std::string> missing = {
        key_name("get_last_ignore_src"),
        name("pkey_get_last_ignore_src"),
        name("pkey_get_last_ignore_src_unsafe"),
        key_name("get_prev_by_key_w_src"),
        name("get_prev_by_key_w_src"),
        name("get_next_by_key_w_src_unsafe"),
        key_name("get_first_internal"),
        key_name("get_last_internal"),
        name("pkey_insert_cr"),
    };
    for (const char *step : {"get_first", "get_last", "get_next", "get_prev"}) {
        missing.push_back(name(std::string("pkey_") + step + "_not_pending_destroy"));
    }
    for (const char *form : keyed_forms) {
        EXPECT_TRUE(is_there(key_name(form))) << form;
        missing.push_back(key_name(std::string(form) + "_unsafe"));
    }
    for (const std::string &each : missing) EXPECT_FALSE(is_there(each)) << each;
}

}  // namespace
}  // namespace tarn::test
