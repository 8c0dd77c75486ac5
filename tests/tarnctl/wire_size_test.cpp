// SPDX-License-Identifier: Apache-2.0
#include "describe/wire.h"

#include <gtest/gtest.h>

#include "model/store.h"
#include "model/value.h"

namespace {

using tarnctl::catalogue;
using tarnctl::wire_size;

// An object that was just made has empty strings and no addresses: what is left is fixed.
TEST(WireSize, OfEveryVariantIsThatOfAnEmptyObject) {
    for (const tarnctl::Structure *type : catalogue.structures) {
        for (int variant = 0; variant <= tarnctl::top_variant(*type); ++variant) {
            const tarnctl::Store store = tarnctl::Store::scratch();
            ASSERT_EQ(kel_handle_set_variant(store.handle(), type->descriptor,
                                             static_cast<int8_t>(variant)),
                      0U);
            const void *object = type->create(store.handle(), KEL_TX_NONE);
            EXPECT_EQ(wire_size(*type, variant).fixed,
                      type->len(store.handle(), KEL_TX_NONE, object))
                << type->name << " " << variant;
        }
    }
}

TEST(WireSize, WithStateIsThatOfAnEmptyTrackedObject) {
    for (const tarnctl::Structure *type : catalogue.structures) {
        const tarnctl::Store store = tarnctl::Store::scratch();
        kel_handle_set_state_tracking(store.handle(), KEL_STATE_TRACKING_ON);
        const void *object = type->create(store.handle(), KEL_TX_NONE);
        const tarnctl::WireSize size = wire_size(*type, tarnctl::top_variant(*type));
        EXPECT_EQ(size.fixed + size.state, type->len(store.handle(), KEL_TX_NONE, object))
            << type->name;
    }
}

}  // namespace
