/* SPDX-License-Identifier: Apache-2.0 */
// What the tests of records and keys on the wire share.
#ifndef TARNBASE_TESTS_BEHAVIOUR_TABLE_WIRE_FIXTURE_H
#define TARNBASE_TESTS_BEHAVIOUR_TABLE_WIRE_FIXTURE_H

#include <string>
#include <vector>

#include "tests/behaviour/table/fixture.h"

namespace tarn::test {

inline constexpr u32 header_size = 27;
inline constexpr u32 frame_size = 43;
inline constexpr u8 untouched = 0xa5;
inline constexpr u32 in_place = 1;

using Bytes = std::vector<u8>;

class WireTest : public TableTest {
 protected:
    u32 object_len(const kel_record *record) {
        return s.object.type->len(handle, tx, record->object);
    }
    u32 key_len(const kel_record *record) {
        return s.has_key_object() ? s.key_object.type->len(handle, tx, record->key_object) : 0;
    }
    Bytes marshalled(const kel_record *record) {
        Bytes bytes(s.plain.len(handle, tx, record));
        EXPECT_EQ(
            s.plain.marshal(handle, tx, bytes.data(), record, static_cast<u32>(bytes.size()), &err),
            bytes.size());
        EXPECT_EQ(err, 0U);
        return bytes;
    }
    // Reads all of `bytes`, into a new record or into the given one.
    u32 unmarshal(kel_record *&record, const Bytes &bytes, u32 mode = 0) {
        return s.plain.unmarshal(handle, tx, &record, bytes.data(), static_cast<u32>(bytes.size()),
                                 mode, &err);
    }
    std::string empty_text(const char *type) {
        return std::string("(ERR): Failed to marshal ") + s.name + " record: Field " + type +
               " is empty";
    }
    void expect_same(kel_record *a, kel_record *b) {
        EXPECT_EQ(s.object.type->compare(a->object, b->object), 0);
        if (s.has_key_object()) {
            EXPECT_EQ(s.key_object.type->compare(a->key_object, b->key_object), 0);
        }
    }
};

}  // namespace tarn::test

#endif
