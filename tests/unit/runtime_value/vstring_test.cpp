// SPDX-License-Identifier: Apache-2.0
// What a string contains: its text at every length, its order, its hash, its wire
// form. Who owns the text is tested in vstring_ownership_test.cpp.
#include <algorithm>
#include <cerrno>
#include <random>
#include <vector>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

// Lengths around the end of the inline text, and others.
constexpr std::size_t lengths[] = {0, 1, 3, 4, 5, 11, 12, 13, 14, 16, 24, 255, 4096, 70000};

std::string text_of_length(std::size_t length) {
    std::string text(length, '\0');
    for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<char>('a' + i % 23);
    return text;
}

class Vstring : public ValueTest {
 protected:
    kel_vstring *string = make_string();
};

TEST_F(Vstring, ANewStringIsEmpty) {
    EXPECT_EQ(text_of(string), "");
    EXPECT_EQ(kel_vstring_len(handle, tx, string), 4U);
    EXPECT_EQ(text_of(static_cast<const kel_vstring *>(nullptr)), "");
    EXPECT_EQ(kel_vstring_len(handle, tx, nullptr), 4U);
}

TEST_F(Vstring, ATextOfAnyLengthIsStoredWithItsNuls) {
    for (const std::size_t length : lengths) {
        std::string text = text_of_length(length);
        if (length > 1) text[length / 2] = '\0';
        assign(string, text);
        EXPECT_EQ(text_of(string), text) << length;
        EXPECT_EQ(string->borrowed, 0U);
        EXPECT_EQ(string->length, length);
    }
}

TEST_F(Vstring, TextsOfUpToTwelveBytesNeedNoBlock) {
    const std::uint64_t blocks = session.blocks();
    for (const std::size_t length : {0U, 1U, 11U, 12U}) {
        assign(string, text_of_length(length));
        EXPECT_EQ(session.blocks(), blocks) << length;
    }
    assign(string, text_of_length(13));
    EXPECT_EQ(session.blocks(), blocks + 1);
    assign(string, text_of_length(12));
    EXPECT_EQ(session.blocks(), blocks);
}

TEST_F(Vstring, UnusedBytesAreZero) {
    assign(string, "abcdefghijkl");
    assign(string, "xy");
    EXPECT_EQ(std::string(string->text.bytes, KEL_VSTRING_INLINE),
              std::string("xy\0\0\0\0\0\0\0\0\0\0", KEL_VSTRING_INLINE));
    assign(string, "abcdefghijklm");
    EXPECT_EQ(std::string(string->text.outside.prefix, 4), "abcd");
}

TEST_F(Vstring, TheChangeAfterTheHeaderIsAnnouncedFirst) {
    assign(string, "old");
    HookRecorder hooks(handle);
    kel_vstring_assign_text(handle, 5, string, "new", &err);
    ASSERT_EQ(hooks.events.size(), 1U);
    EXPECT_EQ(hooks.events[0].hook, Hook::write_log);
    EXPECT_EQ(hooks.events[0].address, &string->borrowed);
    EXPECT_EQ(hooks.events[0].length, 20U);
    EXPECT_EQ(hooks.events[0].tx_id, 5U);
    EXPECT_EQ(std::string(hooks.events[0].before.begin() + 8, hooks.events[0].before.begin() + 11),
              "old");
    EXPECT_EQ(text_of(string), "new");
}

TEST_F(Vstring, NullArgumentsFailWithEnoent) {
    assign(string, "kept");
    kel_vstring_set(handle, tx, string, nullptr, &err);
    expect_error(ENOENT);
    kel_vstring_set(handle, tx, nullptr, string, &err);
    expect_error(ENOENT);
    kel_vstring_assign(handle, tx, string, nullptr, 1, &err);
    expect_error(ENOENT);
    kel_vstring_assign(handle, tx, nullptr, "x", 1, &err);
    expect_error(ENOENT);
    kel_vstring_assign_text(handle, tx, string, nullptr, &err);
    expect_error(ENOENT);
    EXPECT_EQ(text_of(string), "kept");
    kel_vstring_assign(handle, tx, string, nullptr, 0, &err);
    EXPECT_EQ(err, 0U);
    EXPECT_EQ(text_of(string), "");
}

TEST_F(Vstring, AnErrorOnEntryStopsEveryOperation) {
    assign(string, "kept");
    kel_vstring *other = make_string("other");
    char buffer[64] = "untouched";
    const Document document = parse("<f>x</f>");
    err = EIDRM;
    HookRecorder hooks(handle);
    EXPECT_EQ(kel_vstring_get(handle, tx, string, &err), nullptr);
    kel_vstring_set(handle, tx, string, other, &err);
    kel_vstring_assign_text(handle, tx, string, "x", &err);
    kel_vstring_assign(handle, tx, string, "x", 1, &err);
    EXPECT_EQ(kel_vstring_marshal(handle, tx, buffer, string, 64, &err), 0U);
    EXPECT_EQ(kel_vstring_unmarshal(handle, tx, buffer, string, 64, 0, &err), 0U);
    EXPECT_EQ(kel_vstring_print(handle, tx, buffer, 0, "n", string, 64, &err), 0U);
    EXPECT_EQ(kel_vstring_to_xml(handle, tx, "n", buffer, string, 64, 0, &err), 0U);
    kel_vstring_from_xml(handle, tx, "//f", document.get(), string, &err, nullptr, 0);
    EXPECT_EQ(kel_vstring_type_type_backpropagate(handle, tx, string, &err), 0U);
    EXPECT_EQ(err, EIDRM);
    EXPECT_EQ(text_of(string), "kept");
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_TRUE(hooks.events.empty());
}

TEST_F(Vstring, ATextTooLongForASigned32BitLengthIsAnError) {
    // Only the length is read, and four bytes for the prefix.
    kel_vstring_assign(handle, tx, string, "x", 0xffffffffU, &err);
    expect_error(EINVAL);
    kel_vstring huge;
    kel_vstring_refer(&huge, "xxxx", 0xffffffffU);
    kel_vstring_set(handle, tx, string, &huge, &err);
    expect_error(EINVAL);
    EXPECT_EQ(kel_vstring_len(handle, tx, &huge), 0xffffffffU);
    char buffer[8];
    EXPECT_EQ(kel_vstring_marshal(handle, tx, buffer, &huge, 0xffffffffU, &err), 0U);
    expect_error(EMSGSIZE);
    EXPECT_EQ(text_of(string), "");
}

TEST_F(Vstring, TheWireFormIsLengthAndBytesAndRoundTrips) {
    for (const std::size_t length : lengths) {
        const std::string text = text_of_length(length);
        assign(string, text);
        const auto wire = static_cast<std::uint32_t>(length + 4);
        ASSERT_EQ(kel_vstring_len(handle, tx, string), wire);
        std::vector<char> buffer(wire);
        ASSERT_EQ(kel_vstring_marshal(handle, tx, buffer.data(), string, wire, &err), wire);
        EXPECT_EQ(static_cast<std::uint8_t>(buffer[0]), length & 0xff);
        EXPECT_EQ(static_cast<std::uint8_t>(buffer[1]), length >> 8 & 0xff);
        EXPECT_EQ(static_cast<std::uint8_t>(buffer[2]), length >> 16);
        EXPECT_EQ(buffer[3], 0);
        EXPECT_EQ(std::string(buffer.begin() + 4, buffer.end()), text);
        kel_vstring *copy = make_string("something that was there before");
        ASSERT_EQ(kel_vstring_unmarshal(handle, tx, buffer.data(), copy, wire, 0, &err), wire);
        EXPECT_EQ(text_of(copy), text);
    }
}

TEST_F(Vstring, ANullStringIsMarshalledAsAnEmptyOne) {
    std::uint8_t buffer[4] = {1, 1, 1, 1};
    EXPECT_EQ(kel_vstring_marshal(handle, tx, buffer, nullptr, 4, &err), 4U);
    EXPECT_EQ(buffer[0] + buffer[1] + buffer[2] + buffer[3], 0);
}

TEST_F(Vstring, ATooSmallBufferFailsWithEmsgsizeAndWritesNothing) {
    assign(string, "abc");
    for (std::uint32_t space = 0; space < 7; ++space) {
        std::vector<char> buffer(space, '~');
        EXPECT_EQ(kel_vstring_marshal(handle, tx, buffer.data(), string, space, &err), 0U);
        expect_error(EMSGSIZE);
        EXPECT_EQ(buffer, std::vector<char>(space, '~'));
    }
}

TEST_F(Vstring, AHostileLengthNeverReadsBeyondTheBuffer) {
    assign(string, "kept");
    for (const std::uint32_t length :
         {1U, 5U, 0x7fffffffU, 0x80000000U, 0xfffffffcU, 0xffffffffU}) {
        for (const std::uint32_t extra : {0U, 1U, 4U}) {
            if (length <= extra) continue;
            // On the heap and of exactly the given length.
            std::vector<char> buffer(4 + extra);
            std::memcpy(buffer.data(), &length, sizeof length);
            EXPECT_EQ(kel_vstring_unmarshal(handle, tx, buffer.data(), string, 4 + extra, 0, &err),
                      0U);
            expect_error(EMSGSIZE);
            EXPECT_EQ(text_of(string), "kept");
        }
    }
    for (std::uint32_t space = 0; space < 4; ++space) {
        std::vector<char> buffer(space);
        EXPECT_EQ(kel_vstring_unmarshal(handle, tx, buffer.data(), string, space, 0, &err), 0U);
        expect_error(EMSGSIZE);
    }
}

TEST_F(Vstring, UnmarshalReadsOnlyItsOwnBytes) {
    const char buffer[] = "\x03\0\0\0abcdefgh";
    EXPECT_EQ(kel_vstring_unmarshal(handle, tx, buffer, string, sizeof buffer, 1, &err), 7U);
    EXPECT_EQ(text_of(string), "abc");
    EXPECT_EQ(kel_vstring_unmarshal(handle, tx, buffer, nullptr, sizeof buffer, 0, &err), 0U);
    expect_error(ENOENT);
}

// The documented order of strings.
int model_order(const std::string &a, const std::string &b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    const int order = std::memcmp(a.data(), b.data(), a.size());
    return (order > 0) - (order < 0);
}

TEST_F(Vstring, ShorterTextsOrderFirstAndNullBeforeAll) {
    kel_vstring *empty = make_string();
    kel_vstring *z = make_string("z");
    kel_vstring *aa = make_string("aa");
    EXPECT_EQ(kel_vstring_compare(z, aa), -1);
    EXPECT_EQ(kel_vstring_compare(aa, z), 1);
    EXPECT_EQ(kel_vstring_compare(empty, string), 0);
    EXPECT_EQ(kel_vstring_compare(nullptr, nullptr), 0);
    EXPECT_EQ(kel_vstring_compare(nullptr, empty), -1);
    EXPECT_EQ(kel_vstring_compare(empty, nullptr), 1);
}

TEST_F(Vstring, BytesOrderAsUnsignedNumbers) {
    kel_vstring *low = make_string("\x7f");
    kel_vstring *high = make_string("\x80");
    EXPECT_EQ(kel_vstring_compare(low, high), -1);
    kel_vstring *long_low = make_string(std::string("\x7f") + text_of_length(20));
    kel_vstring *long_high = make_string(std::string("\x80") + text_of_length(20));
    EXPECT_EQ(kel_vstring_compare(long_high, long_low), 1);
}

TEST_F(Vstring, CompareAgreesWithAModelOnRandomTexts) {
    constexpr unsigned seed = 20240611;
    std::mt19937 random(seed);
    std::vector<std::string> texts;
    std::vector<kel_vstring *> strings;
    for (int i = 0; i < 120; ++i) {
        // Few lengths, few letters and long common beginnings: many near ties.
        std::string text(random() % 18, 'a');
        for (std::size_t at = random() % 18; at < text.size(); ++at) {
            text[at] = static_cast<char>(random() % 3 == 0 ? 0xf0 : 'a' + random() % 2);
        }
        texts.push_back(text);
        strings.push_back(make_string(text));
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
        for (std::size_t j = 0; j < texts.size(); ++j) {
            const int expected = model_order(texts[i], texts[j]);
            ASSERT_EQ(kel_vstring_compare(strings[i], strings[j]), expected)
                << "seed " << seed << ", pair " << i << " " << j;
            if (expected == 0) {
                ASSERT_EQ(kel_vstring_hash(strings[i], 7), kel_vstring_hash(strings[j], 7));
            }
        }
    }
    std::sort(strings.begin(), strings.end(), [](const kel_vstring *a, const kel_vstring *b) {
        return kel_vstring_compare(a, b) < 0;
    });
    for (std::size_t i = 1; i < strings.size(); ++i) {
        EXPECT_LE(model_order(text_of(strings[i - 1]), text_of(strings[i])), 0);
    }
}

TEST_F(Vstring, AKeyToSearchWithIsEqualToTheStringAndOwnsNothing) {
    for (const std::size_t length : lengths) {
        const std::string text = text_of_length(length);
        assign(string, text);
        const std::uint64_t blocks = session.blocks();
        kel_vstring key;
        kel_vstring_refer(&key, text.data(), static_cast<std::uint32_t>(length));
        EXPECT_EQ(kel_vstring_compare(&key, string), 0) << length;
        EXPECT_EQ(kel_vstring_hash(&key, 1), kel_vstring_hash(string, 1));
        EXPECT_EQ(text_of(&key), text);
        EXPECT_EQ(key.borrowed, length > KEL_VSTRING_INLINE ? 1U : 0U);
        EXPECT_EQ(key.descriptor, &_kel_vstring_type_info_internal);
        EXPECT_EQ(session.blocks(), blocks);
    }
    kel_vstring none;
    kel_vstring_refer(&none, nullptr, 20);
    EXPECT_EQ(text_of(&none), "");
}

TEST_F(Vstring, HashesChainAndAnEmptyTextKeepsTheSeed) {
    kel_vstring *empty = make_string();
    EXPECT_NE(kel_vstring_hash(empty, 1), kel_vstring_hash(empty, 2));
    EXPECT_EQ(kel_vstring_hash(nullptr, 9), 9U);
    kel_vstring *a = make_string("alpha");
    kel_vstring *b = make_string("beta");
    EXPECT_NE(kel_vstring_hash(b, kel_vstring_hash(a, 0)),
              kel_vstring_hash(a, kel_vstring_hash(b, 0)));
}

}  // namespace
}  // namespace tarn::test
