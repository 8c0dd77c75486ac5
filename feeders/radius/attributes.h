// SPDX-License-Identifier: Apache-2.0
//
// The attributes of FreeRADIUS's statistics: its dictionary.freeradius.
#ifndef FEEDERS_RADIUS_ATTRIBUTES_H
#define FEEDERS_RADIUS_ATTRIBUTES_H

#include <cstdint>

namespace tarn_radius {

constexpr uint32_t kVendor = 11344;

enum Attribute : uint8_t {
    kStatisticsType = 127,
    kAccessAccepts = 129,
    kAccessRejects = 130,
    kAccessChallenges = 131,
    kAuthResponses = 132,
    kAuthDuplicateRequests = 133,
    kAuthDroppedRequests = 136,
    kProxyAccessRequests = 138,
    kProxyAccessAccepts = 139,
    kProxyAccessRejects = 140,
    kProxyAccessChallenges = 141,
    kProxyAuthResponses = 142,
    kAccountingResponses = 149,
    kAcctDuplicateRequests = 150,
    kAcctDroppedRequests = 153,
    kProxyAccountingRequests = 155,
    kProxyAccountingResponses = 156,
    kClientAddress = 167,
    kServerAddress = 170,
    kServerPort = 171,
    kOutstandingRequests = 172,
    kServerState = 173,
    kStartTime = 176,
    kError = 187,
    kClientAddress6 = 188,
    kServerAddress6 = 189,
};

// Of kStatisticsType.
enum StatisticsType : uint32_t {
    kAuthentication = 0x01,
    kAccounting = 0x02,
    kInternal = 0x10,
    kClient = 0x20,
    kHomeServer = 0x80,
};

// Of kServerState.
enum HomeState : uint32_t { kHomeAlive = 0, kHomeZombie = 1, kHomeDead = 2, kHomeIdle = 3 };

}  // namespace tarn_radius

#endif
