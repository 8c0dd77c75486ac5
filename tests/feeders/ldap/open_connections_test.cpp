// SPDX-License-Identifier: Apache-2.0
#include "feeders/ldap/open_connections.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace tarn_ldap {
namespace {

TEST(OpenConnections, WhatWasOpenedAndNotClosedIsOpen) {
    OpenConnections connections;
    connections.opened(1);
    connections.opened(2);
    connections.closed(1);
    EXPECT_EQ(connections.count(), 1u);
}

TEST(OpenConnections, AConnectionClosedBeforeItIsOpenedIsClosed) {
    OpenConnections connections;
    connections.closed(1);
    EXPECT_EQ(connections.count(), 0u);
    connections.opened(1);
    EXPECT_EQ(connections.count(), 0u);
    connections.opened(1);
    EXPECT_EQ(connections.count(), 1u);
}

TEST(OpenConnections, ClosingWhatIsUnknownNeverGoesBelowZero) {
    OpenConnections connections;
    for (uint64_t connection = 0; connection < 10; ++connection) {
        connections.closed(connection);
        connections.closed(connection);
    }
    EXPECT_EQ(connections.count(), 0u);
}

TEST(OpenConnections, EarlierConnectionsAreClosedByUnknownNumbers) {
    OpenConnections connections;
    connections.adopt(2);
    connections.opened(7);
    connections.closed(5);
    EXPECT_EQ(connections.count(), 2u);
    connections.closed(6);
    connections.closed(7);
    EXPECT_EQ(connections.count(), 0u);
}

TEST(OpenConnections, AnEarlyCloseCountedAsAnEarlierConnectionIsCorrected) {
    OpenConnections connections;
    connections.adopt(1);
    connections.closed(7);
    connections.opened(7);
    EXPECT_EQ(connections.count(), 1u);
}

TEST(OpenConnections, ClosesBeforeTheStoredCountIsReadAreSubtracted) {
    OpenConnections connections;
    connections.closed(5);
    connections.adopt(2);
    EXPECT_EQ(connections.count(), 1u);
}

TEST(OpenConnections, AClearedServerHasNoneAndItsNumbersStartAgain) {
    OpenConnections connections;
    connections.adopt(3);
    connections.opened(1);
    connections.closed(2);
    connections.clear();
    EXPECT_EQ(connections.count(), 0u);
    connections.opened(2);
    EXPECT_EQ(connections.count(), 1u);
}

TEST(OpenConnections, AnyOrderOfTheLinesGivesTheSameCount) {
    constexpr unsigned seed = 7;
    std::mt19937 random(seed);
    for (int step = 0; step < 500; ++step) {
        const uint64_t opened = random() % 20;
        const uint64_t closed = opened == 0 ? 0 : random() % (opened + 1);
        const uint64_t from_earlier = random() % 4;
        std::vector<std::pair<bool, uint64_t>> lines;
        for (uint64_t connection = 0; connection < opened; ++connection) {
            lines.emplace_back(true, connection);
            if (connection < closed) lines.emplace_back(false, connection);
        }
        std::shuffle(lines.begin(), lines.end(), random);
        OpenConnections connections;
        connections.adopt(from_earlier);
        for (const auto &[is_open, connection] : lines)
            is_open ? connections.opened(connection) : connections.closed(connection);
        ASSERT_EQ(connections.count(), opened - closed + from_earlier)
            << "seed " << seed << ", step " << step;
    }
}

}  // namespace
}  // namespace tarn_ldap
