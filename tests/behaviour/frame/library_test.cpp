// SPDX-License-Identifier: Apache-2.0
// The library itself, opened at run time: its descriptors, its vectors and
// its directory, by their exported names.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "tarnbase/module.h"
#include "tarnbase/runtime.h"
#include "tests/behaviour/frame/listed_names.h"
#include "tests/behaviour/frame/table_luids.h"
#include "tests/behaviour/frame/vector_slots.h"

namespace tarn::test {
namespace {

constexpr std::size_t slots = 48;
constexpr std::size_t structures = std::size(listed_structures);
constexpr std::size_t types = structures + std::size(listed_enumerations);
constexpr std::size_t items = types + 2 * std::size(table_luids);
using Vector = const void *const[slots];

class Library : public ::testing::Test {
 protected:
    Library() {
        if (library_ == nullptr) throw std::runtime_error(dlerror());
    }
    ~Library() override { dlclose(library_); }

    template <typename T>
    T *data(const std::string &name) const {
        void *address = dlsym(library_, name.c_str());
        EXPECT_NE(address, nullptr) << name;
        return static_cast<T *>(address);
    }
    template <typename Function>
    Function *function(const std::string &name) const {
        return reinterpret_cast<Function *>(dlsym(library_, name.c_str()));
    }

    const kel_type_info *descriptor(const std::string &item) const {
        return data<const kel_type_info>("_" + item + "_type_info_internal");
    }
    std::vector<const kel_type_info *> listed() const {
        std::vector<const kel_type_info *> all;
        for (auto *const *each = data<const kel_type_info *const>("tarnbase_type_list");
             *each != nullptr; ++each) {
            all.push_back(*each);
        }
        return all;
    }
    std::int32_t index_of(const std::uint8_t *luid) const {
        return function<std::int32_t(const std::uint8_t *)>("tarnbase_table_mrst_lookup")(luid);
    }
    // The 16 bytes of a LUID's text.
    static std::vector<std::uint8_t> bytes_of(const std::string &text) {
        std::vector<std::uint8_t> bytes;
        for (std::size_t i = 0; i < text.size(); i += 2) {
            bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
        }
        return bytes;
    }

 private:
    void *const library_ = dlopen(TARNBASE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
};

std::string text_of(const std::uint8_t *luid) {
    std::string text;
    for (std::size_t i = 0; i < 16; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(luid[i]));
        text += digits;
    }
    return text;
}

TEST_F(Library, OnlyLinksItselfWhenItIsLoaded) {
    for (const char *module : {"type", "table", "queue", "stub"}) {
        const std::string id = std::string("g_kel_tarnbase_") + module + "_trace_module_id";
        EXPECT_EQ(*data<const std::uint16_t>(id), 0U) << id;
    }
    EXPECT_EQ(*data<void *const>("tarnbase_bundle_registered_handler"), nullptr);
    const Vector *directory = data<Vector>("tarnbase_table_lut");
    for (std::size_t table = 0; table < std::size(table_luids); ++table) {
        for (const void *each : directory[table]) EXPECT_EQ(each, nullptr) << table;
    }
    for (const kel_type_info *item : listed()) {
        for (int v = 0; v < item->variant_info->variant_count; ++v) {
            const kel_variant_usage &usage = item->variant_info->variants[v];
            EXPECT_EQ(usage.created, 0U) << item->name;
            EXPECT_EQ(usage.destroyed, 0U) << item->name;
            EXPECT_EQ(usage.live, 0U) << item->name;
        }
    }
}

TEST_F(Library, ListsStructuresThenEnumerationsInTheirFixedOrderThenATableBeforeItsRecord) {
    std::vector<const kel_type_info *> expected;
    for (const char *name : listed_structures) expected.push_back(descriptor(name));
    for (const char *name : listed_enumerations) expected.push_back(descriptor(name));
    const std::vector<const kel_type_info *> all = listed();
    ASSERT_EQ(all.size(), items);
    ASSERT_EQ(expected.size(), types);
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(all[i], expected[i]) << i;
    for (std::size_t i = expected.size(); i < all.size(); i += 2) {
        EXPECT_EQ(all[i], descriptor(std::string(all[i]->name) + "_table")) << i;
        EXPECT_EQ(all[i + 1], descriptor(std::string(all[i]->name) + "_table_record")) << i;
    }
    EXPECT_STREQ(all[0]->name, "ravoClientInfoEntry_key");
    EXPECT_STREQ(all[types - 1]->name, "server_state");
    EXPECT_STREQ(all[types]->name, "tbl_ravoClientInfoEntry_op");
}

// A value structure that several tables shared would give no order: none does.
TEST_F(Library, ListsTablesInTheOrderOfTheirValueStructures) {
    std::vector<std::string> tables;
    for (const char *name : listed_structures) {
        const std::string table = "tbl_" + std::string(name).substr(3);
        for (const TableLuid &each : table_luids) {
            if (std::string(name).compare(0, 3, "st_") == 0 && each.table == table) {
                tables.push_back(table);
            }
        }
    }
    ASSERT_EQ(tables.size(), std::size(table_luids));
    const std::vector<const kel_type_info *> all = listed();
    for (std::size_t i = 0; i < tables.size(); ++i) EXPECT_EQ(all[types + 2 * i]->name, tables[i]);
}

TEST_F(Library, DescribesEachItemByItsKindNameAndIdentity) {
    const std::vector<const kel_type_info *> all = listed();
    for (std::size_t i = 0; i < all.size(); ++i) {
        const kel_type_info &item = *all[i];
        SCOPED_TRACE(item.name);
        const bool is_record = i >= types && (i - types) % 2 == 1;
        EXPECT_EQ(item.magic, 0xbeeff00dU);
        EXPECT_STREQ(item.module_name, "tarnbase");
        EXPECT_STREQ(item.kind, i < structures ? "type"
                                : i < types    ? "enum"
                                               : (is_record ? "table_record" : "table"));
        EXPECT_EQ(text_of(item.luid), item.luid_text);
        EXPECT_EQ(item.type_slot, 0xffffffffU);
        EXPECT_EQ(item.store_private, 0U);
        if (is_record) {
            EXPECT_EQ(std::string(all[i - 1]->name) + "_record", item.name);
        }
    }
}

TEST_F(Library, GivesTheUsedAllocationOfEachVariant) {
    for (const kel_type_info *item : listed()) {
        SCOPED_TRACE(item->name);
        const kel_variant_info &info = *item->variant_info;
        const bool has_two = std::string(item->name) == "st_aaa_servers";
        ASSERT_EQ(info.variant_count, has_two ? 2 : 1);
        const bool of_table = std::string(item->kind).compare(0, 5, "table") == 0;
        const kel_variant_usage &last = info.variants[info.variant_count - 1];
        EXPECT_EQ(last.variant, of_table || has_two ? 1U : 0U);
        if (of_table) {
            EXPECT_EQ(last.used_length, 8U);
            EXPECT_EQ(last.alloc_slop, 0U);
        } else if (std::string(item->kind) == "enum") {
            EXPECT_EQ(last.used_length, 16U);
            EXPECT_EQ(last.alloc_slop, 0U);
        } else {
            // Rounded up to words, and one or two words more.
            const std::uint32_t used = last.used_length;
            const std::uint32_t size = (used + 7) / 8 * 8 + (used <= 64 ? 8 : 16);
            EXPECT_EQ(used + last.alloc_slop, size);
        }
    }
    const kel_variant_info &servers = *descriptor("st_aaa_servers")->variant_info;
    EXPECT_EQ(servers.variants[0].variant, 0U);
    EXPECT_EQ(servers.variants[0].used_length, 1836U);
    EXPECT_EQ(servers.variants[0].alloc_slop, 84U);
    EXPECT_EQ(servers.variants[1].used_length, 1904U);
    EXPECT_EQ(servers.variants[1].alloc_slop, 16U);
    EXPECT_EQ(descriptor("st_ldap_conn")->variant_info->variants[0].used_length, 52U);
    EXPECT_EQ(descriptor("st_ldap_conn")->variant_info->variants[0].alloc_slop, 12U);
}

TEST_F(Library, HasEachTableWithItsFixedIdentityInThreeConstants) {
    for (const TableLuid &each : table_luids) {
        const std::string name = each.table;
        SCOPED_TRACE(name);
        const kel_type_info *item = descriptor(name + "_table");
        EXPECT_STREQ(item->luid_text, each.luid_text);
        const auto *luid = data<const std::uint8_t>("table_" + name + "_luid");
        EXPECT_EQ(std::memcmp(luid, item->luid, 16), 0);
        EXPECT_STREQ(data<const char>("table_" + name + "_luid_text"), each.luid_text);
        // Zero to the end of its 64 bytes.
        char text[64] = {};
        std::snprintf(text, sizeof text, "table %s", each.table);
        EXPECT_EQ(std::memcmp(data<const char>("table_" + name + "_name"), text, 64), 0);
    }
}

TEST_F(Library, HasAVectorForEachTableBeforeTheDirectoryIsFilled) {
    ASSERT_EQ(std::size(vector_slots) + 2, slots);
    for (const TableLuid &each : table_luids) {
        const std::string name = each.table;
        const auto &vector = *data<Vector>(name + "_table_vft");
        EXPECT_EQ(vector[0], data<const void>("table_" + name + "_luid")) << name;
        EXPECT_EQ("table " + name, static_cast<const char *>(vector[1]));
        for (std::size_t slot = 2; slot < slots; ++slot) {
            const std::string operation = name + "_" + vector_slots[slot - 2];
            EXPECT_EQ(vector[slot], data<const void>(operation)) << operation;
            EXPECT_EQ(operation.substr(operation.size() - 7), "_unsafe");
        }
    }
}

TEST_F(Library, FindsEachTablesIndexByItsIdentity) {
    std::int32_t index = 0;
    for (const TableLuid &each : table_luids) {
        EXPECT_EQ(index_of(bytes_of(each.luid_text).data()), index) << each.table;
        ++index;
    }
}

TEST_F(Library, FindsNothingForAnIdentityThatDiffersInAnyByte) {
    for (const TableLuid &each : table_luids) {
        for (std::size_t byte = 0; byte < 16; ++byte) {
            for (const int difference : {1, 0x80}) {
                std::vector<std::uint8_t> luid = bytes_of(each.luid_text);
                luid[byte] = static_cast<std::uint8_t>(luid[byte] ^ difference);
                EXPECT_EQ(index_of(luid.data()), -1) << each.table << ", byte " << byte;
            }
        }
        // Equal in the first half only.
        std::vector<std::uint8_t> half = bytes_of(each.luid_text);
        std::fill(half.begin() + 8, half.end(), std::uint8_t{0});
        EXPECT_EQ(index_of(half.data()), -1) << each.table;
    }
    EXPECT_EQ(index_of(std::vector<std::uint8_t>(16, 0).data()), -1);
    EXPECT_EQ(index_of(std::vector<std::uint8_t>(16, 0xff).data()), -1);
}

TEST_F(Library, FillsItsDirectoryWithAllVectorsAtTheFirstCall) {
    ASSERT_EQ(function<std::uint32_t()>("tarnbase_table_vft_init")(), 0U);
    const Vector *directory = data<Vector>("tarnbase_table_lut");
    for (std::size_t i = 0; i < std::size(table_luids); ++i) {
        const auto *vector = data<Vector>(std::string(table_luids[i].table) + "_table_vft");
        EXPECT_EQ(std::memcmp(directory[i], vector, sizeof(Vector)), 0) << table_luids[i].table;
    }
}

std::vector<std::string> lines;
std::vector<std::string> formats;

void keep_line(const char *format, ...) {
    char line[128];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    lines.emplace_back(line);
    formats.emplace_back(format);
}

TEST_F(Library, DumpsTwoLinesPerItemAndThreeForTwoVariants) {
    const std::size_t variants_in_all = items + 1;  // one item has two
    function<void(void (*)(const char *, ...))>("tarnbase_type_variant_dump")(&keep_line);
    EXPECT_EQ(lines.size(), items + variants_in_all);
    std::size_t variants = 0;
    for (const std::string &format : formats) {
        if (format == "variant %d used length %d alloc slop %d\n") {
            ++variants;
        } else {
            EXPECT_EQ(format, "n_variants %d\n");
        }
    }
    EXPECT_EQ(variants, variants_in_all);
    EXPECT_EQ(lines[0], "n_variants 1\n");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "variant 1 used length 1904 alloc slop 16\n"),
              1);
}

}  // namespace
}  // namespace tarn::test
