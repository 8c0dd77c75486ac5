// SPDX-License-Identifier: Apache-2.0
// What the interface has for calls of the C interface: scopes, callbacks and buffers.
#include <cstring>
#include <stdexcept>

#include "fixture.h"
#include "tarnbase/tarn/tables/test_grown.hpp"
#include "tarnbase/tarn/trace.hpp"
#include "tarnbase/tarn/tracking.hpp"
#include "tarnbase/tarn/variant.hpp"

namespace face_test {
namespace {

using CCall = Face;

TEST_F(CCall, TrackingScopeRestoresThePreviousMode) {
    kel_handle *handle = session.c_handle();
    {
        const tarn::tracking_scope outer(handle, tarn::tracking::on);
        EXPECT_EQ(handle->state_tracking->state_tracking_mode, KEL_STATE_TRACKING_ON);
        {
            const tarn::tracking_scope inner(handle, tarn::tracking::existing);
            EXPECT_EQ(handle->state_tracking, nullptr);
        }
        EXPECT_EQ(handle->state_tracking->state_tracking_mode, KEL_STATE_TRACKING_ON);
    }
    EXPECT_EQ(handle->state_tracking, nullptr);
}

TEST_F(CCall, TrackingScopeGivesNewObjectsStateFlags) {
    auto table = servers(session);
    const auto is_tracked = [&](const tarn::new_record<tarn::ldap_conn> &record) {
        const auto *object = reinterpret_cast<const kel_object *>(record.c_object());
        return (object->flags & OBJ_STATE_TRACKED) != 0;
    };
    EXPECT_FALSE(is_tracked(table.make("a")));
    const tarn::tracking_scope scope(session.c_handle(), tarn::tracking::on);
    EXPECT_TRUE(is_tracked(table.make("b")));
}

TEST_F(CCall, VariantScopeRestoresThePreviousVariant) {
    auto table = tarn::table<tarn::grown>::open_or_create(session, "grown");
    const kel_type_info &type = _st_grown_type_info_internal;
    const auto variant = [&] {
        const auto record = table.make();
        return reinterpret_cast<const kel_object *>(record.c_object())->variant;
    };
    const auto newest = variant();
    ASSERT_GT(newest, 0);
    {
        const tarn::variant_scope outer(session.c_handle(), type, 0);
        EXPECT_EQ(variant(), 0);
        {
            tarn::variant_scope inner(session.c_handle(), type, -1);
            EXPECT_EQ(variant(), -1);
            const tarn::variant_scope moved(std::move(inner));
            EXPECT_EQ(variant(), -1);
        }
        EXPECT_EQ(variant(), 0);
    }
    EXPECT_EQ(variant(), newest);
}

TEST_F(CCall, QuietScopeSuppressesTraceLines) {
    auto table = servers(session);
    add(table, "ldap1");
    const auto refused = [&] {
        testing::internal::CaptureStderr();
        EXPECT_FALSE(table.try_insert(table.make("ldap1")));
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_NE(refused(), "");
    {
        const tarn::quiet_scope quiet;
        EXPECT_EQ(refused(), "");
    }
    EXPECT_NE(refused(), "");
}

TEST_F(CCall, CallbackPassesItemsAndRethrows) {
    auto table = servers(session);
    add(table, "ldap1");
    add(table, "ldap2");
    using Class = tarn::detail::table_class<tarn::ldap_conn>::type;
    const auto walk = [&](auto function) {
        tarn::callback visit(function);
        std::uint32_t err = 0;
        Class::walk(table.c_table(), visit.template run<kel_record *>, &visit, &err);
        EXPECT_EQ(err, 0U);
        visit.finish();
    };
    int met = 0;
    walk([&](kel_record *) { ++met; });
    EXPECT_EQ(met, 2);
    walk([&](kel_record *) { return ++met < 3; });
    EXPECT_EQ(met, 3);
    EXPECT_THROW(walk([&](kel_record *) {
                     ++met;
                     throw std::runtime_error("of the function");
                 }),
                 std::runtime_error);
    EXPECT_EQ(met, 4);
}

TEST_F(CCall, TextFormGrowsUntilItFits) {
    const std::string text(5000, 'a');
    const auto write = [&](char *buffer, std::uint32_t size, std::uint32_t *err) {
        if (size < text.size()) *err = EMSGSIZE;
        else std::memcpy(buffer, text.data(), text.size());
        return static_cast<std::uint32_t>(text.size());
    };
    EXPECT_EQ(tarn::text_form("writing", "it", write).value(), text);
    const auto refuse = [](char *, std::uint32_t, std::uint32_t *err) {
        *err = EINVAL;
        return 0U;
    };
    EXPECT_EQ(tarn::text_form("writing", "it", refuse).error().number(), std::uint32_t{EINVAL});
}

}  // namespace
}  // namespace face_test
