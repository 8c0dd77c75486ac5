// SPDX-License-Identifier: Apache-2.0
// Compiled and never run: a program that uses the headers generated from odd.tarn.
#include "tarnbase/tarn.hpp"
#include "tarnbase/tarn/owned.hpp"

std::uint32_t use_names(const tarn::session &session) {
    auto table = tarn::table<tarn::class_>::open_or_create(session, "odd");
    auto record = table.make(7);
    record.set_key(1);
    record.set_default(true);
    record.set_tarn(record.tarn_() + record.std_() + record.result_());
    record.set_protocol(tarn::protocol::default_);
    record.set_protocol(tarn::protocol::protocol_1_2);
    record.corner().set_x(3);
    record.set_address("text");
    record.set_bytes(0, record.bytes(1));
    record.set_later(0, record.later(1));
    return record.key() + record.key_() + record.later()[0];
}

// The key is an object, here one outside any record.
bool use_deep_key(const tarn::session &session) {
    auto table = tarn::table<tarn::deep>::open_or_create(session, "odd");
    auto key = tarn::owned<tarn::deep_key>::make(session);
    key.corner().set_x(3);
    key.set_pattern(2, 1);
    table.insert(table.make(key));
    return table.contains(key) && table.begin()->key().pattern(2) == 1;
}
