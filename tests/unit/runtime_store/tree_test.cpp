// SPDX-License-Identifier: Apache-2.0
// The index tree against std::set, its links and its balance.
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <set>
#include <string>
#include <utility>

#include "runtime/index/node.h"
#include "tests/unit/runtime_store/support.h"

namespace tarn::test {
namespace {

using tarnbase::runtime::Balance;
using tarnbase::runtime::Node;
using tarnbase::runtime::to_node;

struct Entry {
    kel_index_node node;
    int key;
};

Entry *entry_of(kel_index_node *node) { return reinterpret_cast<Entry *>(node); }

int key_of(const kel_index_node *node) { return reinterpret_cast<const Entry *>(node)->key; }

std::uint32_t compare(const kel_index_node *a, const kel_index_node *b) {
    return key_of(a) < key_of(b) ? 0 : key_of(a) == key_of(b) ? 1 : 2;
}

// The height of a subtree. Checks its links, order and balance.
int check(const Node *node, const Node *parent, void **anchor, std::vector<int> &keys) {
    if (node == nullptr) return 0;
    EXPECT_EQ(node->parent(), parent);
    EXPECT_EQ(node->tree, anchor);
    const int before = check(node->child[0], node, anchor, keys);
    keys.push_back(key_of(to_public(node)));
    const int after = check(node->child[1], node, anchor, keys);
    const Balance expected = before == after  ? Balance::even
                             : before > after ? Balance::before_higher
                                              : Balance::after_higher;
    EXPECT_LE(std::abs(before - after), 1);
    EXPECT_EQ(node->balance(), expected);
    return 1 + std::max(before, after);
}

// A tree with its anchor and nodes in the arena, and a node for each key.
class Tree {
 public:
    Tree(SmallStore &store, int keys) : store_(store) {
        anchor = static_cast<void **>(store.allocate(sizeof(void *)));
        for (int key = 0; key < keys; ++key) {
            auto *made = static_cast<Entry *>(store.allocate(sizeof(Entry)));
            made->key = key;
            entries.push_back(made);
        }
    }

    bool insert(Entry *entry, std::uint32_t tx = KEL_TX_NONE) {
        return e_avl_insert(store_.handle->arena, tx, anchor, &entry->node, &aux, compare) != 0;
    }
    bool remove(Entry *entry, std::uint32_t tx = KEL_TX_NONE) {
        return e_avl_delete(store_.handle->arena, tx, anchor, &entry->node, &aux, compare) != 0;
    }
    kel_index_node *find(int key) const {
        const Entry probe{{}, key};
        return e_avl_search(*anchor, &probe.node, compare);
    }
    kel_index_node *next(const kel_index_node *node) const {
        return e_avl_get_next(*anchor, node, compare);
    }
    kel_index_node *previous(const kel_index_node *node) const {
        return e_avl_get_prev(*anchor, node, compare);
    }

    void expect_keys(const std::set<int> &wanted) const {
        std::vector<int> keys;
        check(static_cast<const Node *>(*anchor), nullptr, anchor, keys);
        EXPECT_EQ(keys, std::vector<int>(wanted.begin(), wanted.end()));
    }

    // The neighbours of a key, found with a node that may or may not be in the tree.
    void expect_neighbours(const kel_index_node *node, const std::set<int> &wanted) const {
        const auto after = wanted.upper_bound(key_of(node));
        const auto from = wanted.lower_bound(key_of(node));
        expect_node(next(node), after == wanted.end() ? -1 : *after);
        expect_node(previous(node), from == wanted.begin() ? -1 : *std::prev(from));
    }

    void expect_node(kel_index_node *node, int key) const {
        const kel_index_node *wanted =
            key < 0 ? nullptr : &entries[static_cast<std::size_t>(key)]->node;
        EXPECT_EQ(node, wanted) << "key " << key;
    }

    void **anchor = nullptr;
    std::uintptr_t aux = 0;
    std::vector<Entry *> entries;

 private:
    SmallStore &store_;
};

class RandomTree : public ::testing::TestWithParam<std::uint32_t> {
 protected:
    SmallStore store;
    Tree tree{store, 150};
    std::set<int> model;
    Chance chance{GetParam()};

    int any_key() { return static_cast<int>(chance.below(tree.entries.size())); }

    void insert_or_remove(std::uint32_t tx, std::uint64_t inserts_of_ten) {
        const int key = any_key();
        Entry *entry = tree.entries[static_cast<std::size_t>(key)];
        if (chance.below(10) < inserts_of_ten) {
            // A linked node must not be linked again, but an equal one may be tried.
            Entry twin{{}, key};
            Entry *inserted = model.contains(key) ? &twin : entry;
            EXPECT_EQ(tree.insert(inserted, tx), model.insert(key).second);
        } else {
            EXPECT_EQ(tree.remove(entry, tx), model.erase(key) == 1);
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Tree, RandomTree, ::testing::Values(21U, 22U, 23U, 24U));

TEST_P(RandomTree, IsEqualToASetAfterEveryStep) {
    for (int step = 0; step < 1200 && !HasFailure(); ++step) {
        SCOPED_TRACE(seed_and_step(GetParam(), step));
        insert_or_remove(KEL_TX_NONE, step / 300 % 2 == 0 ? 7 : 3);
        tree.expect_keys(model);
        const int key = any_key();
        tree.expect_node(tree.find(key), model.contains(key) ? key : -1);
        // The node itself, linked or unlinked, and one that was never linked.
        const Entry probe{{}, key};
        tree.expect_neighbours(&tree.entries[static_cast<std::size_t>(key)]->node, model);
        tree.expect_neighbours(&probe.node, model);
        tree.expect_node(e_avl_get_first(*tree.anchor), model.empty() ? -1 : *model.begin());
        tree.expect_node(e_avl_get_last(*tree.anchor), model.empty() ? -1 : *model.rbegin());
    }
}

TEST_P(RandomTree, EditsRolledBackLeaveEveryByteAsItWas) {
    for (int round = 0; round < 20 && !HasFailure(); ++round) {
        SCOPED_TRACE(seed_and_step(GetParam(), round));
        for (int i = 0; i < 20; ++i) insert_or_remove(KEL_TX_NONE, 6);
        const std::set<int> kept = model;
        const StoreSnapshot before(store.store);
        const std::uint32_t tx = store.begin();
        for (int i = 0; i < 60; ++i) insert_or_remove(tx, 5);
        tree.expect_keys(model);
        store.roll_back(tx);
        EXPECT_EQ(to_text(before.changes()), "");
        model = kept;
        tree.expect_keys(model);
    }
}

class TreeOf20 : public SmallStoreTest {
 protected:
    void SetUp() override {
        for (Entry *entry : tree.entries) {
            ASSERT_TRUE(tree.insert(entry));
            model.insert(entry->key);
        }
    }

    Tree tree{store, 20};
    std::set<int> model;
};

TEST_F(TreeOf20, InsertOfAnEqualNodeChangesNothing) {
    Entry twin{{{1, 2, 3, 4}}, 7};
    const StoreSnapshot before(store.store);
    EXPECT_FALSE(tree.insert(&twin));
    EXPECT_EQ(twin.node.opaque[0], 1U);
    EXPECT_EQ(to_text(before.changes()), "");
}

TEST_F(TreeOf20, InsertDoesNotMindWhatANodeHeld) {
    Entry *entry = tree.entries[4];
    ASSERT_TRUE(tree.remove(entry));
    std::memset(&entry->node, 0xa5, sizeof entry->node);
    EXPECT_TRUE(tree.insert(entry));
    tree.expect_keys(model);
}

TEST_F(TreeOf20, DeleteTakesTheVeryNodeAndNoEqualOne) {
    Entry twin{{}, 7};
    EXPECT_FALSE(tree.remove(&twin));
    Entry copy = *tree.entries[7];
    EXPECT_FALSE(tree.remove(&copy));
    Entry copy_of_root = *entry_of(static_cast<kel_index_node *>(*tree.anchor));
    EXPECT_FALSE(tree.remove(&copy_of_root));
    tree.expect_keys(model);
    EXPECT_TRUE(tree.remove(tree.entries[7]));
    EXPECT_FALSE(tree.remove(tree.entries[7]));
    model.erase(7);
    tree.expect_keys(model);
}

TEST_F(TreeOf20, DeleteLeavesTheNodesOfAnotherTreeAlone) {
    Tree other(store, 3);
    for (Entry *entry : other.entries) ASSERT_TRUE(other.insert(entry));
    EXPECT_FALSE(tree.remove(other.entries[1]));
    other.expect_keys({0, 1, 2});
    tree.expect_keys(model);
}

TEST_F(TreeOf20, AByteCopyOfANodeFindsTheNeighboursByItsKey) {
    for (const Entry *entry : tree.entries) {
        const Entry copy = *entry;
        tree.expect_neighbours(&copy.node, model);
    }
}

// Every position in the tree with every key: far below, far above, another node's, its own.
// The tree is in order except for that node.
TEST_F(TreeOf20, ANodeWhoseKeyWasChangedInPlaceHasTheNeighboursOfItsKey) {
    for (Entry *entry : tree.entries) {
        const int old_key = entry->key;
        model.erase(old_key);
        for (int key = -1; key <= 20; ++key) {
            SCOPED_TRACE(std::to_string(old_key) + " changed to " + std::to_string(key));
            entry->key = key;
            tree.expect_neighbours(&entry->node, model);
        }
        entry->key = old_key;
        model.insert(old_key);
    }
}

TEST_F(TreeOf20, AChangedNodeAndARemovedOneHaveTheSameNeighbours) {
    for (Entry *entry : tree.entries) {
        for (int key = -1; key <= 20; ++key) {
            SCOPED_TRACE(std::to_string(entry->key) + " changed to " + std::to_string(key));
            const int old_key = std::exchange(entry->key, key);
            kel_index_node *const next = tree.next(&entry->node);
            kel_index_node *const previous = tree.previous(&entry->node);
            entry->key = old_key;
            ASSERT_TRUE(tree.remove(entry));
            entry->key = key;
            EXPECT_EQ(next, tree.next(&entry->node));
            EXPECT_EQ(previous, tree.previous(&entry->node));
            entry->key = old_key;
            ASSERT_TRUE(tree.insert(entry));
        }
    }
}

struct Walk {
    Tree *tree = nullptr;
    int delete_each = 0;  // deletes the nodes whose key it divides, and spoils them
    int stop_at = -1;
    std::vector<int> seen;
};

std::uint32_t visit(kel_index_node *node, void *context) {
    auto &walk = *static_cast<Walk *>(context);
    const int key = key_of(node);
    walk.seen.push_back(key);
    if (walk.delete_each != 0 && key % walk.delete_each == 0) {
        EXPECT_TRUE(walk.tree->remove(entry_of(node)));
        std::memset(node, 0xff, sizeof *node);
    }
    return key == walk.stop_at ? 77 : 0;
}

TEST_F(TreeOf20, WalkVisitsAllInOrderAndReturnsTheLastResult) {
    Walk walk;
    EXPECT_EQ(e_avl_walk(*tree.anchor, visit, &walk), 0U);
    EXPECT_EQ(walk.seen, std::vector<int>(model.begin(), model.end()));
}

TEST_F(TreeOf20, ANonzeroResultEndsAWalk) {
    Walk walk;
    walk.stop_at = 5;
    EXPECT_EQ(e_avl_walk(*tree.anchor, visit, &walk), 77U);
    EXPECT_EQ(walk.seen, (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST_F(TreeOf20, AWalkMayDeleteTheNodeItVisits) {
    for (const int each : {3, 2, 1}) {
        const std::set<int> visited = model;
        Walk walk{&tree, each, -1, {}};
        EXPECT_EQ(e_avl_walk(*tree.anchor, visit, &walk), 0U);
        EXPECT_EQ(walk.seen, std::vector<int>(visited.begin(), visited.end()));
        std::erase_if(model, [each](int key) { return key % each == 0; });
        tree.expect_keys(model);
    }
    EXPECT_EQ(*tree.anchor, nullptr);
}

TEST(EmptyTree, HasNoNodesToFind) {
    const Entry probe{{}, 1};
    Walk walk;
    EXPECT_EQ(e_avl_search(nullptr, &probe.node, compare), nullptr);
    EXPECT_EQ(e_avl_get_first(nullptr), nullptr);
    EXPECT_EQ(e_avl_get_last(nullptr), nullptr);
    EXPECT_EQ(e_avl_get_next(nullptr, &probe.node, compare), nullptr);
    EXPECT_EQ(e_avl_get_prev(nullptr, &probe.node, compare), nullptr);
    EXPECT_EQ(e_avl_walk(nullptr, visit, &walk), 0U);
    EXPECT_TRUE(walk.seen.empty());
}

class TableIdTree : public SmallStoreTest {
 protected:
    kel_table *make(std::uint64_t id) {
        auto *table = static_cast<kel_table *>(store.allocate(sizeof(kel_table)));
        table->table_id = id;
        return table;
    }
    kel_table *find(std::uint64_t id) {
        kel_table probe{};
        probe.table_id = id;
        return tbi_rb_tree_LM_RB_FIND(store.handle->arena, KEL_TX_NONE, head, &probe, nullptr);
    }
    void insert(kel_table *table) {
        tbi_rb_tree_LM_RB_INSERT(store.handle->arena, KEL_TX_NONE, head, table);
    }
    void remove(kel_table *table) {
        tbi_rb_tree_LM_RB_REMOVE(store.handle->arena, KEL_TX_NONE, head, table);
    }

    kel_table_id_tree *head =
        &static_cast<kel_table_id_root *>(store.allocate(sizeof(kel_table_id_root)))->tree_head;
};

TEST_F(TableIdTree, FindsTheBlocksThatAreInIt) {
    std::vector<kel_table *> tables;
    for (std::uint64_t id = 1; id <= 40; ++id) {
        tables.push_back(make(id * 1000));
        insert(tables.back());
    }
    for (std::size_t i = 0; i < tables.size(); i += 2) remove(tables[i]);
    for (std::size_t i = 0; i < tables.size(); ++i) {
        EXPECT_EQ(find((i + 1) * 1000), i % 2 == 0 ? nullptr : tables[i]);
        EXPECT_EQ(find((i + 1) * 1000 + 1), nullptr);
    }
}

TEST_F(TableIdTree, ASecondBlockWithAnIdLeavesTheFirstInItsPlace) {
    kel_table *first = make(5);
    kel_table *second = make(5);
    insert(first);
    insert(second);
    EXPECT_EQ(find(5), first);
    remove(second);
    EXPECT_EQ(find(5), first);
    remove(first);
    EXPECT_EQ(find(5), nullptr);
}

}  // namespace
}  // namespace tarn::test
