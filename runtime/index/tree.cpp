// SPDX-License-Identifier: Apache-2.0
// A height-balanced tree: the subtrees of a node differ in height by at most one.
#include "runtime/index/tree.h"

#include <initializer_list>

#include "runtime/index/node.h"

namespace tarnbase::runtime {

namespace {

template <typename T>
void store(WriteLog log, T &place, T value) {
    if (log.handle != nullptr) {
        log.set(place, value);
    } else {
        place = value;
    }
}

// Changes a tree, announcing each store.
class Editor {
 public:
    Editor(WriteLog log, void **anchor) : log_(log), anchor_(anchor) {}

    // Returns whether the tree has a level more.
    bool link(Node *node, Node *parent, Side side);
    void unlink(Node *node);

 private:
    template <typename T>
    void set(T &place, T value) {
        store(log_, place, value);
    }
    void set_balance(Node *node, Balance balance) {
        const auto parent = reinterpret_cast<std::uintptr_t>(node->parent());
        set(node->parent_and_balance, parent | static_cast<std::uintptr_t>(balance));
    }
    void set_parent(Node *node, Node *parent) {
        if (node == nullptr) return;
        set(node->parent_and_balance, reinterpret_cast<std::uintptr_t>(parent) |
                                          static_cast<std::uintptr_t>(node->balance()));
    }
    void set_child(Node *node, Side side, Node *child) {
        set(node->child[side], child);
        set_parent(child, node);
    }
    // Links `to` in the place of `from`.
    void replace_under(Node *parent, Node *from, Node *to);
    void replace_by_successor(Node *node, Node *successor);

    bool grown(Node *node);
    void shrunk(Node *parent, Side side);
    bool rotate(Node *node, Side side);
    void rotate_once(Node *node, Node *child, Side side);
    void rotate_twice(Node *node, Node *child, Side side);

    WriteLog log_;
    void **anchor_;
};

void Editor::replace_under(Node *parent, Node *from, Node *to) {
    if (parent != nullptr) {
        set_child(parent, from->side_under(parent), to);
    } else {
        set(*anchor_, static_cast<void *>(to));
        set_parent(to, nullptr);
    }
}

bool Editor::link(Node *node, Node *parent, Side side) {
    set(*node, Node{{nullptr, nullptr}, reinterpret_cast<std::uintptr_t>(parent), anchor_});
    if (parent == nullptr) {
        set(*anchor_, static_cast<void *>(node));
        return true;
    }
    set(parent->child[side], node);
    return grown(node);
}

// The subtree of `node` has become higher by one. Returns whether the tree has.
bool Editor::grown(Node *node) {
    for (Node *parent = node->parent(); parent != nullptr; parent = node->parent()) {
        const Side side = node->side_under(parent);
        if (parent->balance() == higher(side)) {
            rotate(parent, side);
            return false;
        }
        if (parent->balance() != Balance::even) {
            set_balance(parent, Balance::even);
            return false;
        }
        set_balance(parent, higher(side));
        node = parent;
    }
    return true;
}

// The subtree of `parent` on that side has become lower by one.
void Editor::shrunk(Node *parent, Side side) {
    while (parent != nullptr) {
        Node *const above = parent->parent();
        const Side side_above = above != nullptr ? parent->side_under(above) : before;
        if (parent->balance() == Balance::even) {
            set_balance(parent, higher(opposite(side)));
            return;
        }
        if (parent->balance() == higher(side)) {
            set_balance(parent, Balance::even);
        } else if (!rotate(parent, opposite(side))) {
            return;
        }
        parent = above;
        side = side_above;
    }
}

// Rebalances a node that is too high by two on that side. Returns whether its subtree
// becomes lower by one.
bool Editor::rotate(Node *node, Side side) {
    Node *child = node->child[side];
    if (child->balance() == higher(opposite(side))) {
        rotate_twice(node, child, side);
        return true;
    }
    const bool lower = child->balance() != Balance::even;
    rotate_once(node, child, side);
    set_balance(node, lower ? Balance::even : higher(side));
    set_balance(child, lower ? Balance::even : higher(opposite(side)));
    return lower;
}

void Editor::rotate_once(Node *node, Node *child, Side side) {
    replace_under(node->parent(), node, child);
    set_child(node, side, child->child[opposite(side)]);
    set_child(child, opposite(side), node);
}

void Editor::rotate_twice(Node *node, Node *child, Side side) {
    Node *grandchild = child->child[opposite(side)];
    const Balance balance = grandchild->balance();
    rotate_once(child, grandchild, opposite(side));
    rotate_once(node, grandchild, side);
    set_balance(node, balance == higher(side) ? higher(opposite(side)) : Balance::even);
    set_balance(child, balance == higher(opposite(side)) ? higher(side) : Balance::even);
    set_balance(grandchild, Balance::even);
}

void Editor::unlink(Node *node) {
    Node *parent = node->parent();
    Side side = parent != nullptr ? node->side_under(parent) : before;
    if (node->child[before] != nullptr && node->child[after] != nullptr) {
        Node *successor = node->child[after];
        while (successor->child[before] != nullptr) successor = successor->child[before];
        // The level is lost at the successor's place, not at the node's.
        side = successor->side_under(successor->parent());
        parent = successor->parent() == node ? successor : successor->parent();
        replace_by_successor(node, successor);
    } else {
        Node *child = node->child[before] != nullptr ? node->child[before] : node->child[after];
        replace_under(parent, node, child);
    }
    shrunk(parent, side);
    set(*node, Node{});
}

// Moves the successor of a node with two children to the node's place.
void Editor::replace_by_successor(Node *node, Node *successor) {
    replace_under(successor->parent(), successor, successor->child[after]);
    set_child(successor, after, node->child[after]);
    set_child(successor, before, node->child[before]);
    const Balance balance = node->balance();
    replace_under(node->parent(), node, successor);
    set_balance(successor, balance);
}

// Makes a tree of nodes that come in order: in each subtree, the half before the root first.
class Builder {
 public:
    Builder(WriteLog log, void **anchor, NextNode next, void *context)
        : log_(log), anchor_(anchor), next_(next), context_(context) {}

    void build(std::uint64_t count) {
        Node *root = make(count).root;
        store(log_, *anchor_, static_cast<void *>(root));
    }

 private:
    struct Subtree {
        Node *root;
        int height;
    };

    Subtree make(std::uint64_t count) {
        if (count == 0) return {nullptr, 0};
        const Subtree low = make(count / 2);
        Node *root = to_node(next_(context_));
        const Subtree high = make(count - count / 2 - 1);
        // The half before the root has at most one node more, and at most one level.
        const Balance balance = low.height > high.height ? Balance::before_higher : Balance::even;
        store(log_, *root,
              Node{{low.root, high.root}, static_cast<std::uintptr_t>(balance), anchor_});
        for (Node *child : {low.root, high.root}) {
            if (child != nullptr)
                child->parent_and_balance |= reinterpret_cast<std::uintptr_t>(root);
        }
        return {root, low.height + 1};
    }

    WriteLog log_;
    void **anchor_;
    NextNode next_;
    void *context_;
};

// Whether a node is in the tree of `root`, without comparing.
bool is_in(const Node *root, const Node *node) {
    if (root == nullptr || node->tree == nullptr || node->tree != root->tree) return false;
    // A byte-by-byte copy of a node names the tree, but no link leads to it.
    const Node *parent = node->parent();
    if (parent == nullptr) return root == node;
    return parent->child[before] == node || parent->child[after] == node;
}

Node *outermost(Node *node, Side side) {
    while (node != nullptr && node->child[side] != nullptr) node = node->child[side];
    return node;
}

Node *step(const Node *node, Side side) {
    if (node->child[side] != nullptr) return outermost(node->child[side], opposite(side));
    Node *parent = node->parent();
    while (parent != nullptr && parent->child[side] == node) {
        node = parent;
        parent = parent->parent();
    }
    return parent;
}

// Whether a linked node still orders between its neighbours: its key may have been
// changed in place.
bool orders_between(const Node *low, const Node *node, const Node *high, Compare compare) {
    return (low == nullptr || compare(to_public(low), to_public(node)) == orders_before) &&
           (high == nullptr || compare(to_public(node), to_public(high)) == orders_before);
}

// The node that orders next on that side of `node`, which is never the result itself.
Node *nearest(Node *root, const Node *node, Side side, Compare compare) {
    const std::uint32_t wanted = side == after ? orders_before : orders_after;
    const auto is_beyond = [&](const Node *place) {
        return compare(to_public(node), to_public(place)) == wanted;
    };
    Node *best = nullptr;
    for (Node *place = root; place != nullptr;) {
        // Comparing a node with itself doesn't show on which side of its place its key
        // orders now. The last node of the nearer subtree does.
        const bool is_itself = place == node;
        const Node *compared = is_itself ? outermost(place->child[opposite(side)], side) : place;
        if (compared != nullptr && is_beyond(compared)) {
            if (!is_itself) best = place;
            place = place->child[opposite(side)];
        } else {
            place = place->child[side];
        }
    }
    return best;
}

// For a node in the tree the links lead to its neighbours, if comparisons confirm them.
// Any other position is found by comparison.
Node *neighbour(Node *root, const Node *node, Side side, Compare compare) {
    if (is_in(root, node)) {
        Node *low = step(node, before);
        Node *high = step(node, after);
        if (orders_between(low, node, high, compare)) return side == after ? high : low;
    }
    return nearest(root, node, side, compare);
}

Node *root_node(void *root) { return static_cast<Node *>(root); }

}  // namespace

bool tree_insert(WriteLog log, void **anchor, kel_index_node *node, Compare compare,
                 bool *is_higher) {
    Node *parent = nullptr;
    Side side = before;
    for (Node *place = root_node(*anchor); place != nullptr; place = place->child[side]) {
        const std::uint32_t order = compare(node, to_public(place));
        if (order == orders_equal) return false;
        side = order == orders_before ? before : after;
        parent = place;
    }
    const bool has_grown = Editor(log, anchor).link(to_node(node), parent, side);
    if (is_higher != nullptr) *is_higher = has_grown;
    return true;
}

bool tree_remove(WriteLog log, void **anchor, kel_index_node *node) {
    if (!is_in(root_node(*anchor), to_node(node))) return false;
    Editor(log, anchor).unlink(to_node(node));
    return true;
}

kel_index_node *tree_find(void *root, const kel_index_node *probe, Compare compare) {
    for (Node *place = root_node(root); place != nullptr;) {
        const std::uint32_t order = compare(probe, to_public(place));
        if (order == orders_equal) return to_public(place);
        place = place->child[order == orders_before ? before : after];
    }
    return nullptr;
}

kel_index_node *tree_first(void *root) { return to_public(outermost(root_node(root), before)); }

kel_index_node *tree_last(void *root) { return to_public(outermost(root_node(root), after)); }

kel_index_node *tree_next(void *root, const kel_index_node *node, Compare compare) {
    return to_public(neighbour(root_node(root), to_node(node), after, compare));
}

kel_index_node *tree_previous(void *root, const kel_index_node *node, Compare compare) {
    return to_public(neighbour(root_node(root), to_node(node), before, compare));
}

kel_index_node *tree_after(kel_index_node *node) { return to_public(step(to_node(node), after)); }

std::uint32_t tree_walk(void *root, Visit visit, void *context) {
    for (Node *node = outermost(root_node(root), before); node != nullptr;) {
        Node *next = step(node, after);
        if (const std::uint32_t result = visit(to_public(node), context)) return result;
        node = next;
    }
    return 0;
}

std::uint64_t tree_size(void *root) {
    std::uint64_t size = 0;
    const Node *node = outermost(root_node(root), before);
    for (; node != nullptr; node = step(node, after)) ++size;
    return size;
}

std::uint32_t tree_height(void *root) {
    std::uint32_t height = 0;
    for (const Node *node = root_node(root); node != nullptr; ++height) {
        node = node->child[node->balance() == Balance::before_higher ? before : after];
    }
    return height;
}

void tree_build(WriteLog log, void **anchor, std::uint64_t count, NextNode next, void *context) {
    Builder(log, anchor, next, context).build(count);
}

}  // namespace tarnbase::runtime
