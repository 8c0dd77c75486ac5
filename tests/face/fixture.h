/* SPDX-License-Identifier: Apache-2.0 */
// A private store with a session, and the number of existing objects of a type.
#ifndef TESTS_FACE_FIXTURE_H
#define TESTS_FACE_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tarnbase/tarn/session.hpp"
#include "tarnbase/tarn/tables/ldap_conn.hpp"

namespace face_test {

class Face : public testing::Test {
 protected:
    tarn::store store = tarn::store::create_private();
    tarn::session session{store};
};

// The number of allocated blocks, which a leak increases.
inline std::uint64_t blocks(const tarn::store &store) { return store.describe().blocks; }

inline tarn::table<tarn::ldap_conn> servers(const tarn::session &session) {
    return tarn::table<tarn::ldap_conn>::open_or_create(session, "ldap");
}

inline void add(tarn::table<tarn::ldap_conn> table, const std::string &name,
                std::uint32_t connections = 0) {
    auto record = table.make(name);
    record.set_num_conns(connections);
    table.insert(std::move(record));
}

// The keys of the records that a walk visits.
template <typename Range>
std::vector<std::string> names(const Range &range) {
    std::vector<std::string> all;
    for (auto record : range) all.emplace_back(record.sname());
    return all;
}

using Names = std::vector<std::string>;

// The error that a call throws.
template <typename Call>
tarn::error thrown_by(Call call) {
    try {
        call();
    } catch (const tarn::error &error) {
        return error;
    }
    return {0, "nothing was thrown"};
}

}  // namespace face_test

#endif
