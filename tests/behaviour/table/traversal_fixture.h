/* SPDX-License-Identifier: Apache-2.0 */
// What the tests of reads share: the three names of each form, records of several tenants,
// and what was reported to the replication engine.
#ifndef TARNBASE_TESTS_BEHAVIOUR_TABLE_TRAVERSAL_FIXTURE_H
#define TARNBASE_TESTS_BEHAVIOUR_TABLE_TRAVERSAL_FIXTURE_H

#include <cerrno>
#include <cstring>
#include <functional>
#include <type_traits>
#include <vector>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {

using Reported = std::vector<const void *>;
using Reads = std::vector<std::function<kel_record *()>>;

class ReadTest : public TableTest {
 protected:
    std::vector<const Traversal *> names() { return {&s.by_key, &s.by_pkey, &s.by_pkey_unsafe}; }
    // The records reported since the last call, each with the table's vector.
    Reported reported() {
        Reported records;
        for (const ServiceCall &call : services.calls("kelrepl_add_to_cache")) {
            records.push_back(call.pointer<const void>(3));
            EXPECT_EQ(call.pointer<const void *const>(4), s.vector);
            EXPECT_EQ(call.tx_id(), tx);
        }
        services.clear();
        return records;
    }
    // The reads take unsigned numbers; anything else is left as it is.
    template <typename T>
    static auto unsigned_number(T argument) {
        if constexpr (std::is_same_v<T, int>) return static_cast<u32>(argument);
        else return argument;
    }
    // Calls a read of the table with the handle, the transaction and the error word.
    template <typename Form, typename... Arguments>
    kel_record *read(Form form, Arguments... arguments) {
        return form(handle, tx, table, unsigned_number(arguments)..., &err);
    }
    // Every read from an end of the index.
    Reads reads_from_ends(u32 src = KEL_SOURCE_DEFAULT) {
        Reads reads = {[=, this] { return read(s.index.first_not_pending, src); },
                       [=, this] { return read(s.index.last_not_pending, src); }};
        for (const Traversal *t : names()) {
            for (const auto end : {t->first, t->last, t->first_ignore_src}) {
                reads.push_back([=, this] { return read(end); });
            }
            for (const auto end : {t->first_by_src, t->last_by_src}) {
                reads.push_back([=, this] { return read(end, src); });
            }
        }
        return reads;
    }
    // Every step from a record.
    Reads steps_from(kel_record *record, u32 src = KEL_SOURCE_DEFAULT) {
        Reads reads;
        const auto add = [&](Traversal::StepBySrc step) {
            reads.push_back([=, this] { return read(step, record, src); });
        };
        add(s.index.next_not_pending);
        add(s.index.prev_not_pending);
        for (const auto step : {s.index.next_internal, s.index.prev_internal}) {
            reads.push_back([=, this] { return read(step, record, src, 1, 0); });
        }
        for (const Traversal *t : names()) {
            for (const auto step : {t->next, t->prev, t->next_ignore_src, t->prev_ignore_src,
                                    t->sub_next, t->sub_prev, t->shadow}) {
                reads.push_back([=, this] { return read(step, record); });
            }
            add(t->next_by_src);
            add(t->prev_by_src);
        }
        return reads;
    }
    // Every step from a key.
    Reads steps_from(const Key &key, u32 src = KEL_SOURCE_DEFAULT) {
        const void *const value = key.value();
        void *const object = key.object();
        Reads reads = {[=, this] { return read(s.index.next_by_key_w_src, value, src); },
                       [=, this] { return read(s.index.next_by_object_w_src, object, src); }};
        for (const auto step : {s.index.next_by_key, s.index.prev_by_key,
                                s.index.next_by_key_not_pending, s.index.prev_by_key_not_pending}) {
            reads.push_back([=, this] { return read(step, value); });
        }
        for (const Operations *form : {&s.plain, &s.unsafe}) {
            for (const auto step : {form->next_by_object, form->prev_by_object}) {
                reads.push_back([=, this] { return read(step, object); });
            }
        }
        return reads;
    }
    void expect_nothing_with_an_error_set(const Reads &reads) {
        handle->last_error = EINVAL;
        err = EIO;
        services.clear();
        for (const auto &each : reads) EXPECT_EQ(each(), nullptr);
        EXPECT_EQ(err, EIO);
        EXPECT_EQ(handle->last_error, EINVAL);
        EXPECT_TRUE(services.calls().empty());
        err = 0;
        handle->last_error = 0;
    }
    void expect_last_error_cleared_first(const Reads &reads) {
        for (const auto &each : reads) {
            handle->last_error = EINVAL;
            services.clear();
            each();
            EXPECT_EQ(err, 0U);
            EXPECT_EQ(handle->last_error, 0U);
            ASSERT_FALSE(services.calls().empty());
            EXPECT_EQ(services.calls()[0].name, "kel_clear_last_error");
        }
    }
    void expect_nothing_stored_or_allocated(const Reads &reads) {
        const kel_table before = *table;
        HookRecorder hooks(handle);
        for (const auto &each : reads) each();
        for (const Hook hook : {Hook::alloc, Hook::free, Hook::write_log, Hook::delta_log}) {
            EXPECT_EQ(hooks.count(hook), 0U);
        }
        EXPECT_EQ(0, std::memcmp(&before, table, sizeof before));
    }
    kel_record *put_for(u16 tenant, u32 key, u32 src = KEL_SOURCE_DEFAULT) {
        kel_thread_set_tenant(tenant);
        kel_record *record = put(key, src);
        kel_thread_set_tenant(0);
        return record;
    }
};

}  // namespace tarn::test

#endif
