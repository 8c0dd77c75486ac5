// SPDX-License-Identifier: Apache-2.0
#include "frame/optional_services.h"

#include <gtest/gtest.h>

#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"

namespace {

using tarnbase::find_optional_service;

void *address_of(auto *function) { return reinterpret_cast<void *>(function); }

TEST(OptionalServices, AreFunctionsOfTheRuntime) {
    EXPECT_EQ(find_optional_service("kel_store_create"), address_of(&kel_store_create));
}

// Programs replace a service by one of their own.
TEST(OptionalServices, AreTheProgramsFunctionsIfItHasThem) {
    EXPECT_EQ(find_optional_service("kel_store_err"), address_of(&kel_store_err));
}

TEST(OptionalServices, AreNullIfNoRuntimeHasThem) {
    EXPECT_EQ(find_optional_service("kel_service_of_no_runtime"), nullptr);
}

}  // namespace
