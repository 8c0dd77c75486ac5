// SPDX-License-Identifier: Apache-2.0
// The registries of bundle handlers.
#include "runtime/services/communication.h"

#include <gtest/gtest.h>

#include "tarnbase/runtime.h"

namespace tarnbase::runtime {
namespace {

TEST(CommunicationRegistries, KeepAHandlerEachUntilItIsUnregistered) {
    int ridge = 0, interface = 0;
    ridge_comm_bundle_handler_register(&ridge);
    if_common_bundle_handler_register(&interface);
    EXPECT_EQ(ridge_bundle_handler(), &ridge);
    EXPECT_EQ(interface_bundle_handler(), &interface);
    ridge_comm_bundle_handler_unregister();
    EXPECT_EQ(ridge_bundle_handler(), nullptr);
    EXPECT_EQ(interface_bundle_handler(), &interface);
    if_common_bundle_handler_unregister();
    EXPECT_EQ(interface_bundle_handler(), nullptr);
}

}  // namespace
}  // namespace tarnbase::runtime
