// SPDX-License-Identifier: Apache-2.0
// Large indexes of texts that digests distinguish badly: equal ones of several tenants and sources,
// different lengths, long common beginnings, any bytes.
#include <algorithm>
#include <map>
#include <random>
#include <tuple>

#include "runtime/index/index_page.h"
#include "tests/unit/runtime_order/servers.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::first_leaf;
using tarnbase::runtime::IndexPage;
using tarnbase::runtime::is_page;
using tarnbase::runtime::KeyHints;

// Shorter texts order first.
using Key = std::tuple<std::uint16_t, std::size_t, std::string, std::uint32_t>;

class TextKeys : public Servers {
 protected:
    void insert_all(const std::vector<std::string> &names) {
        for (const std::string &name : names) {
            for (const std::uint16_t tenant : {std::uint16_t{0}, std::uint16_t{300}}) {
                kel_thread_set_tenant(tenant);
                for (const std::uint32_t source : {7U, 1U}) {
                    const Key key = {tenant, name.size(), name, source};
                    if (model.contains(key)) continue;
                    model[key] = insert(name, source);
                    ASSERT_EQ(err, 0U);
                }
            }
        }
    }
    void expect_all_found() {
        for (const std::uint16_t tenant : {std::uint16_t{0}, std::uint16_t{300}}) {
            kel_thread_set_tenant(tenant);
            std::vector<kel_record *> of_source_1;
            for (const auto &[key, record] : model) {
                if (std::get<0>(key) != tenant || std::get<3>(key) != 1) continue;
                of_source_1.push_back(record);
                EXPECT_EQ(find(std::get<2>(key)), record);
                EXPECT_EQ(find(std::get<2>(key) + "?"), nullptr);
            }
            EXPECT_EQ(walked(), of_source_1);
        }
    }
    std::map<Key, kel_record *> model;
};

TEST_F(TextKeys, WithALongCommonBeginningAreFound) {
    std::vector<std::string> names;
    for (int i = 0; i < 400; ++i) {
        names.push_back("cn=server,ou=access control,o=campus network,c=" + std::to_string(i * 7));
    }
    insert_all(names);
    expect_all_found();
}

TEST_F(TextKeys, OfAnyLengthAndAnyBytesAreFound) {
    std::mt19937 engine(5);
    std::vector<std::string> names = {""};
    for (int i = 0; i < 600; ++i) {
        std::string name(engine() % 60, '\0');
        std::ranges::generate(name, [&] { return static_cast<char>(engine() % 3 * 127); });
        names.push_back(name);
    }
    insert_all(names);
    expect_all_found();
}

TEST_F(TextKeys, OfDifferentGroupsInTurnAreFound) {
    std::vector<std::string> names;
    for (int i = 0; i < 600; ++i) {
        names.push_back(std::string(1, static_cast<char>('a' + i % 5)) + "-group-" +
                        std::to_string(100000 + i));
    }
    insert_all(names);
    expect_all_found();
}

// What a search fetches before it compares.
TEST_F(TextKeys, AreWhereTheirPagesSay) {
    std::vector<std::string> names;
    for (int i = 0; i < 400; ++i) names.push_back("server-of-the-campus-" + std::to_string(i * 7));
    insert_all(names);
    auto *root = static_cast<IndexPage *>(table->index_root);
    ASSERT_TRUE(is_page(root));
    std::size_t seen = 0;
    for (const IndexPage *leaf = first_leaf(root); leaf != nullptr; leaf = leaf->next) {
        for (std::uint32_t slot = 0; slot < leaf->count; ++slot, ++seen) {
            const auto *node = reinterpret_cast<const char *>(leaf->node(slot));
            const auto *record =
                reinterpret_cast<const kel_record *>(node - offsetof(kel_record, index_node));
            const kel_vstring *name = st_ldap_conn_sname_get(
                handle, KEL_TX_NONE, static_cast<st_ldap_conn *>(record->object), &err);
            const KeyHints hints = leaf->entry(slot).hints;
            const auto distance = [&](const void *to) {
                return static_cast<const char *>(to) - node;
            };
            EXPECT_EQ(hints.object, distance(name) / 16);
            EXPECT_EQ(hints.text, distance(kel_vstring_bytes(name, nullptr)) / 16);
        }
    }
    EXPECT_EQ(seen, model.size());
}

}  // namespace
}  // namespace tarn::test
