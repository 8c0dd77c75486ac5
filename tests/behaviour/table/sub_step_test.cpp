// SPDX-License-Identifier: Apache-2.0
// Steps between the records of one key, and to its shadow.
#include <cerrno>

#include "tests/behaviour/table/traversal_fixture.h"

namespace tarn::test {
namespace {

class SubSteps : public ReadTest {};
TARN_EACH_TABLE_AND_MODE(SubSteps);

TEST_P(SubSteps, StayWithinOneKey) {
    kel_record *k1 = put(0, 1);
    kel_record *k1_second = put(0, 2);
    kel_record *k2 = put(1, 1);
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->first), k1);
        EXPECT_EQ(read(t->next, k1), k2);
        EXPECT_EQ(read(t->sub_next, k1), k1_second);
        EXPECT_EQ(read(t->sub_next, k1_second), nullptr);
        EXPECT_EQ(read(t->sub_prev, k1_second), k1);
        EXPECT_EQ(read(t->sub_prev, k1), nullptr);
        EXPECT_EQ(read(t->sub_prev, k2), nullptr);
        EXPECT_EQ(err, 0U);
    }
}

TEST_P(SubSteps, SkipNoRecord) {
    kel_record *pending = put(0, 3);
    set_pending(pending);
    kel_record *record = put(0, 2);
    // The last key of one tenant's run equals the first of the next one's.
    kel_record *crossed = put_for(1, 0, 1);
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->sub_next, record), pending);
        EXPECT_EQ(read(t->sub_next, pending), crossed);
        EXPECT_EQ(read(t->sub_prev, crossed), pending);
    }
}

TEST_P(SubSteps, AShadowIsTheLastRecordOfItsKeyAndNotReported) {
    kel_record *record = put(0, 1);
    kel_record *between = put(0, 9);
    kel_record *shadow = put(0, 255);
    kel_record *other = put(1, 1);
    for (const Traversal *t : names()) {
        services.clear();
        EXPECT_EQ(read(t->shadow, record), shadow);
        EXPECT_EQ(reported(), Reported{between});
        EXPECT_EQ(read(t->shadow, shadow), shadow);
        EXPECT_EQ(services.count("e_avl_get_next"), 0U);
        EXPECT_EQ(read(t->shadow, other), nullptr);
        EXPECT_EQ(read(t->shadow, nullptr), nullptr);
        EXPECT_EQ(read(t->next, record), other);
        services.clear();
        EXPECT_EQ(read(t->next_by_src, record, 255), shadow);
        EXPECT_EQ(read(t->first_by_src, 255), shadow);
        EXPECT_EQ(read(t->last_by_src, 255), shadow);
        EXPECT_EQ(read(t->sub_next, between), shadow);
        EXPECT_EQ(read(t->next_ignore_src, between), shadow);
        EXPECT_EQ(read(t->prev_ignore_src, other), shadow);
        EXPECT_EQ(reported(), Reported{});
        EXPECT_EQ(err, 0U);
    }
}

TEST_P(SubSteps, AShadowIsFoundRightAfterItsRecord) {
    kel_record *record = put(0, 1);
    kel_record *shadow = put(0, 255);
    services.clear();
    EXPECT_EQ(read(s.by_key.shadow, record), shadow);
    EXPECT_EQ(reported(), Reported{});
}

TEST_P(SubSteps, ASearchForAMissingShadowReportsEachSource) {
    kel_record *record = put(0, 1);
    kel_record *second = put(0, 2);
    kel_record *third = put(0, 3);
    services.clear();
    EXPECT_EQ(read(s.by_key.shadow, record), nullptr);
    EXPECT_EQ(reported(), (Reported{second, third}));
}

TEST_P(SubSteps, ContinueFromADeletedRecord) {
    kel_record *first = put(0, 1);
    kel_record *second = put(0, 2);
    kel_record *third = put(0, 3);
    remove(second);
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->sub_next, second), third);
        EXPECT_EQ(read(t->sub_prev, second), first);
    }
}

TEST_P(SubSteps, TakeOneStepWithoutReadingTheTenant) {
    const std::vector<std::string> steps = {"kel_clear_last_error", "mt_get_tenant_id",
                                            "e_avl_get_next", "e_avl_get_prev",
                                            "kelrepl_add_to_cache"};
    kel_record *first = put(0, 1);
    kel_record *second = put(0, 2);
    kel_record *third = put(0, 3);
    services.clear();
    read(s.by_key.sub_next, first);
    EXPECT_EQ(services.order(steps), "kel_clear_last_error e_avl_get_next kelrepl_add_to_cache");
    EXPECT_EQ(reported(), Reported{second});
    read(s.by_key.sub_prev, third);
    EXPECT_EQ(services.order(steps), "kel_clear_last_error e_avl_get_prev kelrepl_add_to_cache");
    EXPECT_EQ(reported(), Reported{second});
    read(s.by_key.shadow, second);
    EXPECT_EQ(services.order(steps),
              "kel_clear_last_error e_avl_get_next kelrepl_add_to_cache "
              "kel_clear_last_error e_avl_get_next");
}

TEST_P(SubSteps, ToAnotherKeyReportNothing) {
    kel_record *record = put(0);
    kel_record *other = put(1);
    services.clear();
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->sub_next, record), nullptr);
        EXPECT_EQ(read(t->sub_prev, other), nullptr);
        EXPECT_EQ(read(t->shadow, record), nullptr);
    }
    EXPECT_EQ(reported(), Reported{});
}

TEST_P(SubSteps, ToAShadowReachTheNextTenant) {
    kel_record *record = put(0, 1);
    kel_record *crossed = put_for(1, 0, 255);
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->shadow, record), crossed);
    }
}

TEST_P(SubSteps, TheShadowOfAShadowIsItselfEvenWithAnErrorSet) {
    kel_record *shadow = put(0, 255);
    err = EIO;
    services.clear();
    for (const Traversal *t : names()) {
        EXPECT_EQ(read(t->shadow, shadow), shadow);
    }
    EXPECT_EQ(err, EIO);
    EXPECT_TRUE(services.calls().empty());
}

TEST_P(SubSteps, AFailedReportEndsTheSearchForAShadow) {
    kel_record *record = put(0, 1);
    put(0, 2);
    put(0, 255);
    services.always_fail("kelrepl_add_to_cache");
    services.clear();
    EXPECT_EQ(read(s.by_key.shadow, record), nullptr);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(services.count("e_avl_get_next"), 1U);
}

}  // namespace
}  // namespace tarn::test
