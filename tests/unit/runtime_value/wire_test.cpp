// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <functional>
#include <vector>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

class Wire : public ValueTest {
 protected:
    // Expects `bytes` from a writer, and EMSGSIZE with nothing written for every smaller
    // buffer.
    void expect_written(const std::vector<std::uint8_t> &bytes,
                        const std::function<std::uint32_t(void *, std::uint32_t)> &write) {
        const auto length = static_cast<std::uint32_t>(bytes.size());
        std::vector<std::uint8_t> buffer(length, 0xee);
        for (std::uint32_t space = 0; space < length; ++space) {
            EXPECT_EQ(write(buffer.data(), space), 0U);
            expect_error(EMSGSIZE);
            EXPECT_EQ(buffer, std::vector<std::uint8_t>(length, 0xee));
        }
        err = EIDRM;
        EXPECT_EQ(write(buffer.data(), length), 0U);
        EXPECT_EQ(err, EIDRM);
        EXPECT_EQ(buffer, std::vector<std::uint8_t>(length, 0xee));
        err = 0;
        EXPECT_EQ(write(buffer.data(), length), length);
        EXPECT_EQ(err, 0U);
        EXPECT_EQ(buffer, bytes);
    }

    // Expects a reader to take all of `bytes`, and EMSGSIZE for every shorter part.
    void expect_read(const std::vector<std::uint8_t> &bytes,
                     const std::function<std::uint32_t(const void *, std::uint32_t)> &read) {
        const auto length = static_cast<std::uint32_t>(bytes.size());
        for (std::uint32_t space = 0; space < length; ++space) {
            const std::vector<std::uint8_t> cut(bytes.begin(), bytes.begin() + space);
            EXPECT_EQ(read(cut.data(), space), 0U);
            expect_error(EMSGSIZE);
        }
        err = EIDRM;
        EXPECT_EQ(read(bytes.data(), length), 0U);
        EXPECT_EQ(err, EIDRM);
        err = 0;
        EXPECT_EQ(read(bytes.data(), length), length);
        EXPECT_EQ(err, 0U);
    }
};

TEST_F(Wire, AVariantIsOneSignedByte) {
    for (const std::int8_t variant :
         {std::int8_t{0}, std::int8_t{1}, std::int8_t{-1}, std::int8_t{127}, std::int8_t{-128}}) {
        const std::vector<std::uint8_t> bytes = {static_cast<std::uint8_t>(variant)};
        expect_written(bytes, [&](void *buffer, std::uint32_t space) {
            return _kel_instance_variant_marshal(handle, tx, buffer, &variant, space, &err);
        });
        std::int8_t result = 33;
        expect_read(bytes, [&](const void *buffer, std::uint32_t space) {
            EXPECT_EQ(result, 33);
            return _kel_instance_variant_unmarshal(handle, tx, buffer, &result, space, &err);
        });
        EXPECT_EQ(result, variant);
    }
}

TEST_F(Wire, FlagsAreOneByte) {
    const std::uint8_t flags = 40;
    expect_written({40}, [&](void *buffer, std::uint32_t space) {
        return _kel_instance_obj_flag_marshal(handle, tx, buffer, &flags, space, &err);
    });
    std::uint8_t result = 1;
    expect_read({40}, [&](const void *buffer, std::uint32_t space) {
        return _kel_instance_obj_flag_unmarshal(handle, tx, buffer, &result, space, &err);
    });
    EXPECT_EQ(result, 40);
}

TEST_F(Wire, TraceCorrelationIsAWordAndAByte) {
    const std::uint64_t word = 0x0102030405060708U;
    const std::uint8_t byte = 9;
    const std::vector<std::uint8_t> bytes = {8, 7, 6, 5, 4, 3, 2, 1, 9};
    expect_written(bytes, [&](void *buffer, std::uint32_t space) {
        return _kel_instance_ra_data_marshal(handle, tx, buffer, &word, &byte, space, &err);
    });
    std::uint64_t word_read = 0;
    std::uint8_t byte_read = 0;
    expect_read(bytes, [&](const void *buffer, std::uint32_t space) {
        return _kel_instance_ra_data_unmarshal(handle, tx, buffer, &word_read, &byte_read, space,
                                               &err);
    });
    EXPECT_EQ(word_read, word);
    EXPECT_EQ(byte_read, byte);
}

TEST_F(Wire, AJumpIsFourBytesSigned) {
    const std::int32_t jump = -2;
    const std::vector<std::uint8_t> bytes = {0xfe, 0xff, 0xff, 0xff};
    expect_written(bytes, [&](void *buffer, std::uint32_t space) {
        return _kel_variant_jump_marshal(handle, tx, buffer, &jump, space, &err);
    });
    std::int32_t result = 0;
    expect_read(bytes, [&](const void *buffer, std::uint32_t space) {
        return _kel_variant_jump_unmarshal(handle, tx, buffer, &result, space, &err);
    });
    EXPECT_EQ(result, jump);
}

TEST_F(Wire, AMessageHeaderIsTwentySevenBytes) {
    const kel_message_header header = {
        KEL_MESSAGE_MARKER, {255, 255, 255, 255, 255, 254}, 1, 0x04030201, 0x08070605};
    const std::vector<std::uint8_t> bytes = {188, 255, 255, 255, 255, 255, 254, 1, 1, 2, 3, 4, 5, 6,
                                             7,   8,   0,   0,   0,   0,   0,   0, 0, 0, 0, 0, 0};
    ASSERT_EQ(bytes.size(), KEL_MESSAGE_HEADER_SIZE);
    expect_written(bytes, [&](void *buffer, std::uint32_t space) {
        return _kel_message_header_marshal(handle, tx, buffer, &header, space, &err);
    });
    kel_message_header result{};
    expect_read(bytes, [&](const void *buffer, std::uint32_t space) {
        return _kel_message_header_unmarshal(handle, tx, buffer, &result, space, &err);
    });
    EXPECT_EQ(std::memcmp(&result, &header, sizeof header), 0);
}

TEST_F(Wire, AReaderAcceptsAnyMessageHeader) {
    const std::vector<std::uint8_t> zeros(40, 0);
    kel_message_header result{1, {1, 1, 1, 1, 1, 1}, 1, 1, 1};
    EXPECT_EQ(_kel_message_header_unmarshal(handle, tx, zeros.data(), &result, 40, &err), 27U);
    const kel_message_header expected{};
    EXPECT_EQ(std::memcmp(&result, &expected, sizeof expected), 0);
}

TEST_F(Wire, NothingIsAnnouncedForTheCallersOwnVariables) {
    HookRecorder hooks(handle);
    const std::uint8_t bytes[27] = {};
    std::int8_t variant;
    std::uint8_t flags;
    kel_message_header header;
    _kel_instance_variant_unmarshal(handle, tx, bytes, &variant, 27, &err);
    _kel_instance_obj_flag_unmarshal(handle, tx, bytes, &flags, 27, &err);
    _kel_message_header_unmarshal(handle, tx, bytes, &header, 27, &err);
    EXPECT_TRUE(hooks.events.empty());
}

TEST_F(Wire, TheStateTrackingFlagIsReadFromTheSecondByte) {
    const std::uint8_t tracked[] = {0, OBJ_STATE_TRACKED | OBJ_RA_DATA};
    const std::uint8_t plain[] = {OBJ_STATE_TRACKED, OBJ_RA_DATA};
    EXPECT_NE(kellib_type_header_get_state_tracking_flag(tracked), 0U);
    EXPECT_EQ(kellib_type_header_get_state_tracking_flag(plain), 0U);
    EXPECT_EQ(kellib_type_header_get_state_tracking_flag(nullptr), 0U);
}

}  // namespace
}  // namespace tarn::test
