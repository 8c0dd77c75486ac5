// SPDX-License-Identifier: Apache-2.0
// The schema manifest in the library's file: the section, its records, its lines.
#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tarnbase/tarnbase.h"

namespace {

template <typename T>
T read(const std::string &bytes, std::size_t offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

struct Record {
    std::uint32_t type;
    std::string text;  // without the NUL that ends it
};

class Manifest : public ::testing::Test {
 protected:
    void SetUp() override {
        std::ifstream in(TARNBASE_LIBRARY, std::ios::binary);
        std::ostringstream bytes;
        bytes << in.rdbuf();
        file_ = std::move(bytes).str();
        ASSERT_GT(file_.size(), sizeof(Elf64_Ehdr));
        elf_ = read<Elf64_Ehdr>(file_, 0);
        find_section();
        ASSERT_NE(section_.sh_size, 0U) << "no section .orvan";
        bytes_ = file_.substr(section_.sh_offset, section_.sh_size);
        split();
    }

    void find_section() {
        const auto header = [&](std::size_t i) {
            return read<Elf64_Shdr>(file_, elf_.e_shoff + i * elf_.e_shentsize);
        };
        const Elf64_Shdr names = header(elf_.e_shstrndx);
        for (std::size_t i = 0; i < elf_.e_shnum; ++i) {
            const Elf64_Shdr each = header(i);
            if (std::string(file_.c_str() + names.sh_offset + each.sh_name) == ".orvan") {
                section_ = each;
            }
        }
    }

    void split() {
        for (std::size_t at = 0; at < bytes_.size();) {
            const auto length = read<std::uint32_t>(bytes_, at);
            ASSERT_LE(at + 8 + length, bytes_.size());
            records_.push_back(
                {read<std::uint32_t>(bytes_, at + 4), bytes_.substr(at + 8, length - 1)});
            EXPECT_EQ(bytes_[at + 8 + length - 1], '\0');
            const std::size_t end = at + 8 + length;
            at = (end + 3) / 4 * 4;
            for (std::size_t i = end; i < at; ++i) EXPECT_EQ(bytes_[i], '\0');
        }
    }

    std::vector<std::string> lines(std::size_t record) const {
        std::vector<std::string> found;
        std::istringstream text(records_.at(record).text);
        for (std::string line; std::getline(text, line);) found.push_back(line);
        return found;
    }

    std::string file_;
    Elf64_Ehdr elf_{};
    Elf64_Shdr section_{};
    std::string bytes_;
    std::vector<Record> records_;
};

TEST_F(Manifest, IsInASectionThatIsNotLoaded) {
    EXPECT_EQ(section_.sh_type, static_cast<Elf64_Word>(SHT_PROGBITS));
    EXPECT_EQ(section_.sh_flags & SHF_ALLOC, 0U);
    EXPECT_EQ(section_.sh_addralign, 4U);
    for (std::size_t i = 0; i < elf_.e_phnum; ++i) {
        const auto segment = read<Elf64_Phdr>(file_, elf_.e_phoff + i * elf_.e_phentsize);
        const bool apart = segment.p_offset + segment.p_filesz <= section_.sh_offset ||
                           section_.sh_offset + section_.sh_size <= segment.p_offset;
        EXPECT_TRUE(apart) << "segment " << i << " holds bytes of the section";
    }
}

TEST_F(Manifest, HoldsTheManifestAndThenTheBuildNote) {
    ASSERT_EQ(records_.size(), 2U);
    EXPECT_EQ(records_[0].type, 2U);
    EXPECT_EQ(records_[1].type, 1U);
}

TEST_F(Manifest, HasALineForEachDescriptorInTheFixedColumns) {
    const std::map<std::string, std::string> kinds = {
        {"enum", "enum"}, {"type", "type"}, {"table", "tabl"}, {"table_record", "trec"}};
    std::map<std::string, const kel_type_info *> items;
    for (const kel_type_info *const *item = tarnbase_type_list; *item != nullptr; ++item) {
        items[(*item)->luid_text] = *item;
    }
    std::vector<std::string> all = lines(0);
    ASSERT_FALSE(all.empty());
    EXPECT_EQ(all.front(), "# tarnbase.minime");
    all.erase(all.begin());
    ASSERT_EQ(all.size(), items.size());
    for (const std::string &line : all) {
        SCOPED_TRACE(line);
        ASSERT_EQ(line.size(), 79U);
        const auto found = items.find(line.substr(0, 32));
        ASSERT_NE(found, items.end()) << "no descriptor, or a second line of one";
        const kel_type_info &item = *found->second;
        const kel_variant_info &variants = *item.variant_info;
        const std::string kind = kinds.at(item.kind);
        EXPECT_EQ(line[32], ':');
        EXPECT_EQ(line.substr(33, 32).find_first_not_of("0123456789abcdef"), std::string::npos);
        EXPECT_EQ(line.substr(65, 4), kind);
        EXPECT_EQ(std::stoi(line.substr(69, 3)), variants.variant_count - 1);
        EXPECT_EQ(line[72], ':');
        const std::uint32_t used = variants.variants[variants.variant_count - 1].used_length;
        const std::uint32_t size = kind == "tabl" || kind == "trec" ? 0 : (used + 7) / 8 * 8;
        EXPECT_EQ(std::stoul(line.substr(73, 5)), size);
        EXPECT_EQ(line[78], 'N');
        items.erase(found);
    }
    EXPECT_EQ(records_[0].text.size(), 18 + 80 * all.size());
}

TEST_F(Manifest, OrdersTypesByNameAndTablesByIdentity) {
    std::map<std::string, std::string> names;
    for (const kel_type_info *const *item = tarnbase_type_list; *item != nullptr; ++item) {
        names[(*item)->luid_text] = (*item)->name;
    }
    std::vector<std::string> types;
    std::vector<std::string> tables;
    for (const std::string &line : lines(0)) {
        if (line.size() != 79) continue;
        const bool is_type = line.substr(65, 4) == "enum" || line.substr(65, 4) == "type";
        if (is_type) {
            EXPECT_TRUE(tables.empty()) << "a type after the tables: " << line;
            types.push_back(names[line.substr(0, 32)]);
        } else {
            tables.push_back(line.substr(0, 32));
        }
    }
    EXPECT_TRUE(std::is_sorted(types.begin(), types.end()));
    EXPECT_TRUE(std::is_sorted(tables.begin(), tables.end()));
}

TEST_F(Manifest, HasTheKnownLines) {
    const std::vector<std::string> all = lines(0);
    for (const char *line :
         {"43a280d69caa75dca4db7bb48b46e016:60079416e6c19d3ad58b5da53807ac22enum000:00016N",
          "70a61c493cefdabb42c79a826c491e39:301e25b8ae76d505fe9624a20f02191ctype001:01904N",
          "09f02ed2147f259a0aee4a14c8331c9b:97d76957a270d27f594d2fa3911da4a8type000:00056N",
          "b1bbd13dd7e17f84a70ee216797542cc:e1d07067ef74500008674d8ade831baftabl000:00000N",
          "e7e9deccdbbc11bc0ff4fcb04f6cf52e:44bc147b5e77b05a720a706230bf6d35trec000:00000N"}) {
        EXPECT_NE(std::find(all.begin(), all.end(), line), all.end()) << line;
    }
}

TEST_F(Manifest, EndsWithANoteOnTheBuild) {
    const std::vector<std::string> note = lines(1);
    ASSERT_EQ(note.size(), 6U);
    EXPECT_EQ(note[0], "tarnbase");
    EXPECT_EQ(note[1].rfind("built by: ", 0), 0U);
    EXPECT_EQ(note[2].rfind("on host: ", 0), 0U);
    EXPECT_EQ(note[3].rfind("pid: ", 0), 0U);
    EXPECT_EQ(note[4].rfind("at: ", 0), 0U);
    // Day, month, day of the month in two places, time with nine decimals, year.
    EXPECT_EQ(note[4].size(), std::string("at: Sat Nov 21 05:39:09.339552674 2026").size());
    EXPECT_EQ(note[5].rfind("comment: ", 0), 0U);
    EXPECT_NE(note[5].find("  _KEL_  tarnbase"), std::string::npos);
}

TEST_F(Manifest, GivesEachItemASecondUniqueIdentity) {
    std::set<std::string> seen;
    for (const std::string &line : lines(0)) {
        if (line.size() != 79) continue;
        EXPECT_TRUE(seen.insert(line.substr(0, 32)).second) << line;
        EXPECT_TRUE(seen.insert(line.substr(33, 32)).second) << line;
    }
    EXPECT_EQ(seen.size(), 2 * 171U);
}

// The last variant's length in whole words, without the memory allocated beyond it.
TEST_F(Manifest, GivesTheUsedLengthOfAStructureRoundedUp) {
    const std::map<std::string, std::string> expected = {{"service_type_info_key", "000:00048N"},
                                                         {"st_aaa_type", "000:00080N"},
                                                         {"st_ldap_conn", "000:00056N"},
                                                         {"st_aaa_servers", "001:01904N"}};
    std::size_t found = 0;
    for (const kel_type_info *const *item = tarnbase_type_list; *item != nullptr; ++item) {
        const auto size = expected.find((*item)->name);
        if (size == expected.end()) continue;
        for (const std::string &line : lines(0)) {
            if (line.compare(0, 32, (*item)->luid_text) != 0) continue;
            EXPECT_EQ(line.substr(69), size->second) << (*item)->name;
            ++found;
        }
    }
    EXPECT_EQ(found, expected.size());
}

TEST_F(Manifest, HasTheLengthOfTheTextWithItsNulBeforeEachRecord) {
    ASSERT_EQ(records_.size(), 2U);
    EXPECT_EQ(read<std::uint32_t>(bytes_, 0), records_[0].text.size() + 1);
    EXPECT_EQ(read<std::uint32_t>(bytes_, 0), 18 + 80 * 171 + 1U);
    EXPECT_EQ(read<std::uint32_t>(bytes_, 4), 2U);
    for (const Record &each : records_) {
        EXPECT_EQ(each.text.find('\0'), std::string::npos);
        EXPECT_EQ(each.text.back(), '\n');
    }
    EXPECT_EQ(bytes_.size() % 4, 0U);
}

TEST_F(Manifest, WritesTheBuildNoteInFixedFormats) {
    const std::vector<std::string> forms = {
        "tarnbase", "built by: .+", "on host: .+", "pid: [1-9][0-9]*",
        "at: (Mon|Tue|Wed|Thu|Fri|Sat|Sun) "
        "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 123][0-9] "
        "[012][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{9} [0-9]{4}",
        // One space, and two more on each side of it.
        "comment: [^ ].*[^ ]   _KEL_  tarnbase"};
    const std::vector<std::string> note = lines(1);
    ASSERT_EQ(note.size(), forms.size());
    for (std::size_t i = 0; i < forms.size(); ++i) {
        EXPECT_TRUE(std::regex_match(note[i], std::regex(forms[i]))) << note[i];
    }
}

}  // namespace
