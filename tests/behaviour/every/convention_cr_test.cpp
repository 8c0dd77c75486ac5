// SPDX-License-Identifier: Apache-2.0
// The forms without their own transaction and error word: they use the handle's, an error
// persists, and a creation never returns null.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "tests/behaviour/every/convention.h"
#include "tests/support/snapshot.h"

namespace tarn::test {
namespace {

constexpr u64 no_text = 0xffffffff;

bool is_cr(const Prototype &function) { return function.ends_with("_cr"); }

// The result of a form while an error persists; none for those that run anyway.
std::optional<u64> result_with_sticky_error(const Prototype &function) {
    const auto ends = [&](std::initializer_list<const char *> words) {
        return std::any_of(words.begin(), words.end(),
                           [&](const char *word) { return function.ends_with(word); });
    };
    if (ends({"_create_cr", "_destroy_cr", "_is_valid_cr", "_get_count_cr"})) return {};
    if (ends({"_print_cr", "_toxml_cr", "_marshal_cr"})) return no_text;
    if (ends({"_insert_cr", "_delete_cr", "_set_mem_cr"})) return 22;
    return 0;
}

class CrForms : public ItemTest {};
TARN_EVERY_ITEM(CrForms, Mode::plain, Mode::tracking);

TEST_P(CrForms, DoNothingWhileAnErrorSticks) {
    CallContext context(item, GetParam().mode);
    for (const Prototype &each : functions) context.arguments(each);
    const StoreSnapshot before(context.session.store());
    for (const Prototype &each : functions) {
        if (!is_cr(each) || !result_with_sticky_error(each)) continue;
        SCOPED_TRACE(each.name);
        const std::vector<Word> arguments = context.arguments(each);
        const auto scratch = context.scratch();
        context.handle->last_error = EINVAL;
        const HookRecorder hooks(context.handle);
        EXPECT_EQ(context.result(each, CallContext::invoke(each, arguments)),
                  *result_with_sticky_error(each));
        EXPECT_EQ(context.handle->last_error, EINVAL);
        EXPECT_TRUE(hooks.events.empty());
        EXPECT_EQ(context.scratch(), scratch);
        kel_clear_last_error(context.handle);
    }
    EXPECT_TRUE(before.changes().empty()) << to_text(before.changes());
}

TEST_P(CrForms, RunInTheHandlesTransaction) {
    for (const Prototype &each : functions) {
        if (!is_cr(each)) continue;
        SCOPED_TRACE(each.name);
        CallContext context(item, GetParam().mode);
        const std::vector<Word> arguments = context.arguments(each);
        u32 tx = 0;
        ASSERT_EQ(kel_transaction_begin(context.handle, &tx), 0U);
        context.handle->cr_tx_id = tx;
        {
            HookRecorder hooks(context.handle);
            CallContext::invoke(each, arguments);
            CallContext::expect_transaction(each, hooks, tx);
            const bool stores = each.ends_with("_create_cr") || each.ends_with("_destroy_cr") ||
                                each.ends_with("_delete_cr") || each.ends_with("_clone_cr") ||
                                each.ends_with("_mem_cr");
            EXPECT_TRUE(!stores || !hooks.events.empty());
        }
        EXPECT_EQ(context.handle->cr_fallback_enabled, 0U);
    }
}

// A structure's or an enumeration's, by the item's name.
struct Creations {
    const void *fallback = nullptr;
    u32 size = 0;  // of its fixed part
};

Creations creations_of(const std::string &item) {
    for (const Structure *each : all_structures()) {
        if (each->name == item) return {each->fallback, each->plain_size};
    }
    for (const Enumeration *each : all_enumerations()) {
        if (each->name == item) return {each->fallback, sizeof(kel_enum_object)};
    }
    return {};
}

class Fallbacks : public ItemTest {
 protected:
    Fallbacks() {
        for (const Prototype &each : functions) {
            if (operation_of(item, each).find("create") == std::string::npos) continue;
            (is_cr(each) ? without_null : with_null).push_back(each);
        }
    }
    std::vector<Prototype> with_null, without_null;
};
TARN_EVERY_ITEM(Fallbacks, Mode::plain);

TEST_P(Fallbacks, AreReturnedByCrCreationsWithoutMemoryAndNotDestroyed) {
    const Creations type = creations_of(item);
    if (type.fallback == nullptr) return;  // a table's record is destroyed in part
    CallContext context(item, GetParam().mode);
    kel_handle *const handle = context.handle;
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    void *object = call<void *>(item + "_create_cr", {handle});
    EXPECT_EQ(object, type.fallback);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(handle->cr_fallback_enabled, 0U);
    const std::vector<char> zeros(type.size, 0);
    EXPECT_EQ(std::memcmp(object, zeros.data(), type.size), 0);

    // While the error is set, the allocator isn't called again.
    hooks.fail_allocations(false);
    hooks.clear();
    EXPECT_EQ(call<void *>(item + "_create_cr", {handle}), object);
    call(item + "_destroy_cr", {handle, object});
    call(item + "_destroy", {handle, KEL_TX_NONE, object});
    call(item + "_destroy_internal", {handle, KEL_TX_NONE, object, 1});
    EXPECT_TRUE(hooks.events.empty());
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(std::memcmp(object, zeros.data(), type.size), 0);
}

TEST_P(Fallbacks, OfRecordsAreReturnedOnlyIfAnAllocationFails) {
    if (creations_of(item).fallback != nullptr) return;  // a type's is returned at once
    CallContext context(item, GetParam().mode);
    HookRecorder hooks(context.handle);
    hooks.fail_allocations(true);
    context.handle->last_error = EINVAL;
    const std::string creation = item + "_record_create_cr";
    EXPECT_EQ(call<kel_record *>(creation, {context.handle, 0}), table(item).fallback);
    EXPECT_EQ(hooks.count(Hook::alloc), 1U);
    EXPECT_EQ(context.handle->cr_fallback_enabled, 0U);
}

TEST_P(Fallbacks, AreNotReturnedByOtherCreations) {
    CallContext context(item, GetParam().mode);
    HookRecorder hooks(context.handle);
    hooks.fail_allocations(true);
    u32 tested = 0;
    for (const Prototype &each : with_null) {
        if (!each.returns_pointer()) continue;
        SCOPED_TRACE(each.name);
        const std::vector<Word> arguments = context.arguments(each);
        context.handle->last_error = 77;
        EXPECT_EQ(CallContext::invoke(each, arguments), 0U);
        EXPECT_EQ(context.handle->last_error, 77U);
        ++tested;
    }
    EXPECT_GE(tested, 2U);
    EXPECT_FALSE(without_null.empty());
}

}  // namespace
}  // namespace tarn::test
