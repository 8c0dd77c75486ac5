// SPDX-License-Identifier: Apache-2.0
#include "library/manifest.h"

#include <gtest/gtest.h>

#include <random>

#include "base/failure.h"

namespace {

using tarnctl::Comparison;
using tarnctl::Failure;
using tarnctl::Manifest;
using tarnctl::ManifestItem;
using tarnctl::parse_manifest;

const std::string luid = "0123456789abcdef0123456789abcdef";
const std::string digest = "fedcba9876543210fedcba9876543210";
const std::string item_line = luid + ":" + digest + "type001:00064N\n";

std::string record(uint32_t type, const std::string &text) {
    std::string bytes;
    const auto length = static_cast<uint32_t>(text.size() + 1);
    for (const uint32_t number : {length, type}) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(number >> shift & 0xff);
    }
    bytes += text;
    bytes.resize((bytes.size() + 4) / 4 * 4);
    return bytes;
}

std::string manifest_of(const std::string &lines) { return record(2, "# sample.minime\n" + lines); }

// The message of the failure that a section causes.
std::string failure_of(const std::string &section) {
    try {
        parse_manifest("x.so", section);
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code(), tarnctl::Exit::data);
        return failure.what();
    }
    return "none";
}

TEST(Manifest, IsReadWithItsItemsAndItsBuildNote) {
    const Manifest manifest =
        parse_manifest("x.so", manifest_of(item_line) + record(1, "sample\nbuilt by: me\n"));
    EXPECT_EQ(manifest.module, "sample");
    ASSERT_EQ(manifest.items.size(), 1U);
    EXPECT_EQ(manifest.items[0].luid, luid);
    EXPECT_EQ(manifest.items[0].digest, digest);
    EXPECT_EQ(manifest.items[0].kind, "type");
    EXPECT_EQ(manifest.items[0].variant, 1U);
    EXPECT_EQ(manifest.items[0].size, 64U);
    EXPECT_EQ(manifest.build, (std::vector<std::string>{"sample", "built by: me"}));
}

TEST(Manifest, ThatIsBrokenIsRefusedNamingItsLine) {
    const std::string begin = "x.so: the schema manifest can't be read: ";
    EXPECT_EQ(failure_of(""), begin + "the section holds none");
    EXPECT_EQ(failure_of(record(1, "note")), begin + "the section holds none");
    EXPECT_EQ(failure_of("abc"), begin + "the record at byte 0 is cut short");
    EXPECT_EQ(failure_of(record(2, "").substr(0, 8)), begin + "the record at byte 0 is cut short");
    EXPECT_EQ(failure_of(record(2, "")), begin + "line 1: expected `# MODULE.minime`");
    EXPECT_EQ(failure_of(record(2, "sample\n")), begin + "line 1: expected `# MODULE.minime`");
    EXPECT_EQ(failure_of(record(2, std::string("a\0b", 3))),
              begin + "the record at byte 0 is no text");
    EXPECT_EQ(failure_of(manifest_of("") + manifest_of("")),
              begin + "the record at byte 28 is a second one of its type");
    const std::string line = begin + "line 3: expected an item of 79 characters";
    for (std::string bad : {"short\n", "\n", item_line.c_str() + 1}) {
        EXPECT_EQ(failure_of(manifest_of(item_line + bad)), line) << bad;
    }
    for (const std::size_t at : {0U, 32U, 40U, 65U, 70U, 72U, 75U, 78U}) {
        std::string bad = item_line;
        bad[at] = 'x';
        EXPECT_EQ(failure_of(manifest_of(item_line + bad)), line) << at;
    }
}

TEST(Manifest, OfAnyBytesIsReadOrRefused) {
    const std::string good = manifest_of(item_line + item_line) + record(1, "note\n");
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_NE(failure_of(good.substr(0, length)), "") << length;
    std::mt19937 random(20261121);
    for (int step = 0; step < 5000; ++step) {
        std::string bytes = good;
        for (int i = 0; i < 4; ++i) bytes[random() % bytes.size()] = static_cast<char>(random());
        EXPECT_NE(failure_of(bytes), "") << step;
    }
}

TEST(Manifest, OfThisProgramIsTheSameAsItself) {
    const Manifest own = tarnctl::own_manifest();
    EXPECT_EQ(own.items.size(), 61U + 20U + 2 * 45U);
    for (const Comparison &each : tarnctl::compare_with_own(own)) {
        EXPECT_EQ(each.difference, "");
        EXPECT_FALSE(each.name.empty());
    }
}

TEST(Manifest, ReportsEachDifferenceOfAnItem) {
    Manifest manifest = tarnctl::own_manifest();
    ManifestItem &changed = manifest.items[0];
    changed.size += 8;
    changed.variant += 1;
    manifest.items[1].digest = digest;
    manifest.items[2].luid = luid;
    manifest.items[3].luid = manifest.items[4].luid;
    manifest.items[3].kind = "enum";
    const ManifestItem gone = tarnctl::own_manifest().items[2];
    const auto compared = tarnctl::compare_with_own(manifest);
    EXPECT_EQ(compared[0].name, "ravoClientInfoEntry_key");
    EXPECT_EQ(compared[0].difference, "highest variant 1, here 0; size 64, here 56");
    EXPECT_EQ(compared[1].difference.substr(0, 39), "digest " + digest);
    EXPECT_EQ(compared[2].difference, "new");
    EXPECT_EQ(compared[2].name, "");
    EXPECT_NE(compared[3].difference.find("kind enum, here type"), std::string::npos);
    EXPECT_EQ(compared[4].difference, "there twice");
    ASSERT_EQ(compared.size(), manifest.items.size() + 2);
    EXPECT_EQ(compared[manifest.items.size()].difference, "gone");
    EXPECT_EQ(compared[manifest.items.size()].item.luid, gone.luid);
}

}  // namespace
