// SPDX-License-Identifier: Apache-2.0
// How every operation begins: it returns if an error is set on entry, and otherwise
// last_error is that of this operation.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tarnbase/runtime.h"
#include "tests/behaviour/every/convention.h"
#include "tests/support/services.h"
#include "tests/support/snapshot.h"

namespace tarn::test {
namespace {

// Whether a name, or its twin, ends with one of these.
bool ends_as(const Prototype &function, std::initializer_list<const char *> ends) {
    for (const std::string end : ends) {
        if (function.ends_with(end) || function.ends_with(end + "_unsafe")) return true;
    }
    return false;
}

// A structure's own copy, which must run, and an object's access to itself.
bool is_whole_object(const std::string &item, const Prototype &function) {
    const std::string operation = operation_of(item, function);
    const bool is_structure =
        function.parameters.size() > 2 && function.parameters[2].name == "destination";
    return (operation == "set" && is_structure) || operation == "get";
}

// Operations that don't test for an earlier error.
bool runs_with_an_error(const std::string &item, const Prototype &function) {
    return ends_as(function, {"create_record", "create_record_w_src", "record_add_ref",
                              "destroy_record", "table_record_print", "_handler"}) ||
           is_whole_object(item, function);
}

class Entry : public ItemTest {};
TARN_EVERY_ITEM(Entry, Mode::plain, Mode::tracking, Mode::store_types);

TEST_P(Entry, WithAnErrorSetAnOperationReturnsItsFailureAndChangesNothing) {
    CallContext context(item, GetParam().mode);
    for (const Prototype &each : functions) context.arguments(each);
    const StoreSnapshot before(context.session.store());
    for (const Prototype &each : functions) {
        if (!each.takes("err") || runs_with_an_error(item, each)) continue;
        SCOPED_TRACE(each.name);
        const std::vector<Word> arguments = context.arguments(each);
        const auto scratch = context.scratch();
        context.err = EIO;
        context.handle->last_error = EINVAL;
        const HookRecorder hooks(context.handle);
        kel_handle handle_before = *context.handle;
        const u64 result = context.result(each, CallContext::invoke(each, arguments));
        // The runtime's error for the object's variant is passed on.
        EXPECT_TRUE(result == 0 || each.ends_with("_adjust_variant")) << result;
        EXPECT_EQ(context.err, EIO);
        EXPECT_EQ(std::memcmp(&handle_before, context.handle, sizeof(kel_handle)), 0);
        EXPECT_TRUE(hooks.events.empty());
        EXPECT_EQ(context.scratch(), scratch);
    }
    EXPECT_TRUE(before.changes().empty()) << to_text(before.changes());
}

// Operations that report to the caller in other ways, and don't change last_error.
bool leaves_last_error(const std::string &item, const Prototype &function) {
    return ends_as(function,
                   {"create_record", "create_record_w_src", "record_add_ref", "_handler",
                    "_adjust_variant", "_get_oid_count", "_get_object_references", "_walk"}) ||
           is_whole_object(item, function);
}

class Clearing : public ItemTest {};
TARN_EVERY_ITEM(Clearing, Mode::plain);

TEST_P(Clearing, AnOperationClearsTheErrorOfThePreviousOne) {
    for (const Prototype &each : functions) {
        if (!each.takes("err")) continue;
        SCOPED_TRACE(each.name);
        CallContext context(item, GetParam().mode);
        const std::vector<Word> arguments = context.arguments(each);
        context.handle->last_error = 77;
        const kel_handle before = *context.handle;
        CallContext::invoke(each, arguments);
        EXPECT_EQ(context.handle->last_error == 77, leaves_last_error(item, each));
        // The rest of the handle is the runtime's.
        context.handle->last_error = 77;
        EXPECT_EQ(std::memcmp(&before, context.handle, sizeof before), 0);
    }
}

TEST_P(Clearing, AnErrorIsReportedInTheErrorWordAndInTheHandle) {
    for (const Prototype &each : functions) {
        if (!each.takes("err") || leaves_last_error(item, each)) continue;
        // Creating the key object, after the creation that failed, clears the handle's.
        if (ends_as(each, {"table_record_unmarshal"})) continue;
        SCOPED_TRACE(each.name);
        CallContext context(item, GetParam().mode);
        std::vector<Word> arguments = context.arguments(each);
        for (std::size_t i = 2; i < arguments.size(); ++i) {
            if (each.parameters[i].name == "buffer_len") arguments[i] = 1;
        }
        ServiceRecorder services(context.handle);
        services.at_each = [&context](const ServiceCall &call) {
            if (call.name != "kel_store_err") return;
            EXPECT_EQ(call.arguments.at(1), context.err);
        };
        CallContext::invoke(each, arguments);
        EXPECT_TRUE(context.err == 0 || context.handle->last_error == context.err)
            << context.err << ", " << context.handle->last_error;
    }
}

class Transaction : public ItemTest {};
TARN_EVERY_ITEM(Transaction, Mode::plain);

TEST_P(Transaction, OfTheCallerIsPassedToEveryHook) {
    CallContext context(item, GetParam().mode);
    for (const Prototype &each : functions) context.arguments(each);
    for (const Prototype &each : functions) {
        if (!each.takes("tx_id")) continue;
        SCOPED_TRACE(each.name);
        std::vector<Word> arguments = context.arguments(each);
        u32 tx = 0;
        ASSERT_EQ(kel_transaction_begin(context.handle, &tx), 0U);
        arguments.at(1) = tx;
        context.err = 0;
        {
            const HookRecorder hooks(context.handle);
            CallContext::invoke(each, arguments);
            CallContext::expect_transaction(each, hooks, tx);
        }
        ASSERT_EQ(kel_transaction_rollback(context.handle, tx), 0U);
    }
}

// Stores that aren't announced: the names and ids of tables, a reference that is
// added, and the descriptor of an enumeration that is destroyed or read.
bool stores_permanently(const std::string &item, const Prototype &function) {
    const auto &enumerations = all_enumerations();
    const bool is_enumeration =
        std::any_of(enumerations.begin(), enumerations.end(),
                    [&](const Enumeration *each) { return each->name == item; });
    return function.result == "kel_table *" || ends_as(function, {"_table_free", "_add_ref"}) ||
           (is_enumeration && ends_as(function, {"_destroy", "_unmarshal"}));
}

TEST_P(Transaction, ThatIsRolledBackUndoesEveryOperation) {
    CallContext context(item, GetParam().mode);
    for (const Prototype &each : functions) context.arguments(each);
    const StoreSnapshot before(context.session.store());
    for (const Prototype &each : functions) {
        if (!each.takes("tx_id") || stores_permanently(item, each)) continue;
        std::vector<Word> arguments = context.arguments(each);
        u32 tx = 0;
        ASSERT_EQ(kel_transaction_begin(context.handle, &tx), 0U);
        arguments.at(1) = tx;
        context.err = 0;
        CallContext::invoke(each, arguments);
        ASSERT_EQ(kel_transaction_rollback(context.handle, tx), 0U) << each.name;
    }
    EXPECT_TRUE(before.lasting_changes().empty()) << to_text(before.lasting_changes());
}

// At each opening of a table, each creation of a record and each creation of a
// structure, but not in the worker that it calls or for an enumeration.
bool registers_trace_module(const std::string &item, const Prototype &function) {
    const std::string operation = operation_of(item, function);
    if (function.result == "kel_table *") return true;
    if (function.result == "kel_record *" && operation.find("create") != std::string::npos) {
        return true;
    }
    return operation == "create" || operation == "create_cr";
}

class TraceModule : public ItemTest {};
TARN_EVERY_ITEM(TraceModule, Mode::plain);

TEST_P(TraceModule, OfTypesIsRegisteredByCreationsAndOpens) {
    CallContext context(item, GetParam().mode);
    const bool is_enumeration = prototypes_of(item).front().ends_with("_variant_data_index_cap");
    std::size_t tested = 0;
    for (const Prototype &each : functions) {
        const bool registers = registers_trace_module(item, each);
        if (!registers && !each.ends_with("_create_internal")) continue;
        SCOPED_TRACE(each.name);
        const std::vector<Word> arguments = context.arguments(each);
        context.err = 0;
        const ServiceRecorder services(context.handle);
        CallContext::invoke(each, arguments);
        const auto registered = services.calls("ptrail_module_init_fn");
        ASSERT_EQ(registered.size(), registers && !is_enumeration ? 1U : 0U);
        for (const ServiceCall &call : registered) EXPECT_EQ(call.text, "kel_tarnbase_type");
        ++tested;
    }
    EXPECT_GE(tested, 3U);
}

// Without its own trace sink: the line goes to standard error.
class CorruptHandle : public ::testing::TestWithParam<ItemInMode> {};
INSTANTIATE_TEST_SUITE_P(Every, CorruptHandle, ::testing::ValuesIn([] {
                             std::vector<ItemInMode> structures;
                             for (const Structure *each : all_structures()) {
                                 structures.push_back({each->name, Mode::plain});
                             }
                             return structures;
                         }()),
                         item_name);

TEST_P(CorruptHandle, EndsTheProcessAtTheFirstCreation) {
    const Session session;
    kel_state_tracking corrupt = {0x1234};
    session.handle()->state_tracking = &corrupt;
    const std::string create = GetParam().item + "_create";
    EXPECT_DEATH(call(create, {session.handle(), KEL_TX_NONE}),
                 "\\(FATAL\\): Corrupted KEL Handle");
    session.handle()->state_tracking = nullptr;
}

}  // namespace
}  // namespace tarn::test
