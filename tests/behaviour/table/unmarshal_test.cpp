// SPDX-License-Identifier: Apache-2.0
// Records read from the wire, into a new record or an existing one.
#include <cerrno>
#include <cstring>
#include <vector>

#include "tests/behaviour/table/wire_fixture.h"

namespace tarn::test {
namespace {

class RecordRead : public WireTest {};
TARN_EACH_TABLE_AND_MODE(RecordRead);

TEST_P(RecordRead, ARecordThatIsReadHasSourceOne) {
    kel_record *record = make(1, 7, 5);
    const Bytes bytes = marshalled(record);
    for (const Operations *form : {&s.plain, &s.unsafe}) {
        kel_record *read = nullptr;
        EXPECT_EQ(form->unmarshal(handle, tx, &read, bytes.data(), static_cast<u32>(bytes.size()),
                                  0, &err),
                  bytes.size());
        ASSERT_EQ(err, 0U);
        ASSERT_NE(read, nullptr);
        expect_same(read, record);
        EXPECT_EQ(key_of(read), 1U);
        EXPECT_EQ(s.get_value(handle, read->object), 5U);
        EXPECT_EQ(read->src, KEL_SOURCE_DEFAULT);
        EXPECT_EQ(read->ref_count, 1U);
        EXPECT_EQ(read->flags, 0U);
        insert(read);
        destroy(read);
    }
}

TEST_P(RecordRead, ARecordIsReadIntoAnExistingOne) {
    const Bytes bytes = marshalled(make(1, 1, 5));
    kel_record *target = make(2, 7, 6);
    kel_record *const same = target;
    void *const object = target->object;
    EXPECT_EQ(unmarshal(target, bytes, in_place), bytes.size());
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(target, same);
    EXPECT_EQ(target->object, object);
    EXPECT_EQ(target->src, 7U);
    EXPECT_EQ(key_of(target), 1U);
    EXPECT_EQ(s.get_value(handle, target->object), 5U);
}

TEST_P(RecordRead, InPlaceNeedsARecordWithItsObjects) {
    const Bytes bytes = marshalled(make(1));
    kel_record *target = nullptr;
    EXPECT_EQ(unmarshal(target, bytes, in_place), 0U);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(handle->last_error, ENOENT);
    EXPECT_EQ(target, nullptr);

    err = 0;
    target = s.plain.create_record(handle, tx, &err);
    kel_record *const same = target;
    EXPECT_EQ(unmarshal(target, bytes, in_place), frame_size);
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(target, same);
    EXPECT_EQ(target->object, nullptr);
    err = 0;
    destroy(target);
}

TEST_P(RecordRead, WithoutMemoryFailsWithEnomem) {
    const Bytes bytes = marshalled(make(1));
    HookRecorder hooks(handle);
    hooks.fail_allocations(true);
    kel_record *read = nullptr;
    EXPECT_EQ(unmarshal(read, bytes), 0U);
    EXPECT_EQ(err, ENOMEM);
    EXPECT_EQ(handle->last_error, ENOMEM);
    EXPECT_EQ(read, nullptr);
}

TEST_P(RecordRead, ARecordWhoseObjectCannotBeCreatedIsStored) {
    const Bytes bytes = marshalled(make(1));
    kel_record *read = nullptr;
    kel_store_fail_allocation(session.store(), 2);
    EXPECT_EQ(unmarshal(read, bytes), frame_size);
    kel_store_fail_allocation(session.store(), 0);
    EXPECT_EQ(err, ENOMEM);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(read->object, nullptr);
    if (s.has_key_object()) {
        EXPECT_NE(read->key_object, nullptr) << "made, though not filled";
    }
    err = 0;
    destroy(read);
}

TEST_P(RecordRead, ATruncatedFrameReturnsTheRecordAndAnError) {
    const Bytes bytes = marshalled(make(1));
    kel_record *read = nullptr;
    EXPECT_EQ(s.plain.unmarshal(handle, tx, &read, bytes.data(), 20, 0, &err), 16U);
    EXPECT_EQ(err, EMSGSIZE);
    ASSERT_NE(read, nullptr);
    EXPECT_NE(read->object, nullptr);
    if (s.has_key_object()) {
        EXPECT_NE(read->key_object, nullptr);
    }
    err = 0;
    destroy(read);

    read = nullptr;
    s.plain.unmarshal(handle, tx, &read, bytes.data(), frame_size + 8, 0, &err);
    EXPECT_EQ(err, EMSGSIZE);
    ASSERT_NE(read, nullptr);
    err = 0;
    destroy(read);
}

TEST_P(RecordRead, IdentityAndHeaderAreNotChecked) {
    kel_record *record = make(1, 1, 5);
    Bytes bytes = marshalled(record);
    std::memset(bytes.data(), untouched, frame_size);
    kel_record *read = nullptr;
    EXPECT_EQ(unmarshal(read, bytes), bytes.size());
    EXPECT_EQ(err, 0U);
    expect_same(read, record);
    destroy(read);
}

// The number of blocks that the store allocates before the key object depends on the mode.
TEST_P(RecordRead, ARecordWhoseKeyObjectCannotBeCreatedIsStoredWithItsValue) {
    if (!s.has_key_object()) return;
    kel_record *record = make(1, 1, 5);
    const Bytes bytes = marshalled(record);
    u32 met = 0;
    for (u64 n = 3; n < 12; ++n) {
        kel_record *read = nullptr;
        err = 0;
        kel_store_fail_allocation(session.store(), n);
        const u32 consumed = unmarshal(read, bytes);
        kel_store_fail_allocation(session.store(), 0);
        ASSERT_NE(read, nullptr);
        if (err == ENOMEM && read->object != nullptr &&
            consumed == frame_size + object_len(record)) {
            ++met;
            EXPECT_EQ(handle->last_error, ENOMEM);
            EXPECT_EQ(s.get_value(handle, read->object), 5U);
            EXPECT_EQ(read->key_object, nullptr);
        }
        err = 0;
        destroy(read);
    }
    EXPECT_GT(met, 0U);
}

TEST_P(RecordRead, InPlaceNeedsTheKeyObjectToo) {
    if (!s.has_key_object()) return;
    kel_record *record = make(1, 1, 5);
    const Bytes bytes = marshalled(record);
    kel_record *target = make(2);
    void *key = s.key_object.detach(handle, tx, target);
    EXPECT_EQ(unmarshal(target, bytes, in_place), frame_size + object_len(record));
    EXPECT_EQ(err, ENOENT);
    EXPECT_EQ(handle->last_error, ENOENT);
    EXPECT_EQ(s.get_value(handle, target->object), 5U);
    EXPECT_EQ(target->key_object, nullptr);
    s.key_object.type->destroy(handle, tx, key);
}

TEST_P(RecordRead, InPlaceAllocatesNothing) {
    const Bytes bytes = marshalled(make(1, 1, 5));
    kel_record *target = make(2, 7, 6);
    const u64 created = usage_of(target).created;
    const void *key = s.has_key_object() ? target->key_object : nullptr;
    HookRecorder hooks(handle);
    unmarshal(target, bytes, in_place);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(usage_of(target).created, created);
    for (const HookEvent &event : hooks.of(Hook::alloc)) {
        EXPECT_LT(event.length, s.record_size()) << "more than a text";
    }
    if (s.has_key_object()) {
        EXPECT_EQ(target->key_object, key);
    }
    EXPECT_EQ(services.calls("_kel_message_header_unmarshal").at(0).arguments_in(4, 5),
              std::vector<u64>{bytes.size()});
}

}  // namespace
}  // namespace tarn::test
