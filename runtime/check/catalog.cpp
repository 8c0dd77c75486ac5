// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/catalog.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <optional>

#include "runtime/catalog/named_entry.h"
#include "runtime/check/walks.h"
#include "runtime/replication/ring.h"

namespace tarnbase::runtime {

namespace {

// The library's key of the root of a table type's blocks by id.
constexpr std::string_view id_root_prefix = "__kel_TBI__";
constexpr std::size_t luid_text_length = 32;

// A tree of names. Calls `found` with each.
class NamedWalk {
 public:
    using Found = std::function<void(const std::string &name, void *value)>;
    NamedWalk(Blocks &blocks, Findings &findings, const char *tree, Found found)
        : blocks_(blocks), findings_(findings), tree_(tree), found_(std::move(found)) {}

    bool enter(Node *node) {
        auto *entry = reinterpret_cast<NamedEntry *>(node);
        const auto block =
            blocks_.claim(entry, sizeof *entry + 1, [&] { return std::string(tree_); });
        if (!block) return false;
        const char *text = reinterpret_cast<const char *>(entry + 1);
        if (entry->name != text || std::memchr(text, 0, block->size - sizeof *entry) == nullptr) {
            findings_.add(tree_, "the name of the entry at offset %llu isn't after it",
                          static_cast<unsigned long long>(block->offset));
            return false;
        }
        return true;
    }
    void visit(Node *node) {
        const auto *entry = reinterpret_cast<const NamedEntry *>(node);
        if (!last_.empty() && last_ >= entry->name) {
            findings_.add(name(node), "it isn't in order after `%s`", last_.c_str());
        }
        last_ = entry->name;
        found_(last_, entry->value);
    }
    std::string name(const Node *node) const {
        if (node == nullptr) return tree_;
        return std::string(tree_) + ", `" + reinterpret_cast<const NamedEntry *>(node)->name + "`";
    }

 private:
    Blocks &blocks_;
    Findings &findings_;
    const char *tree_;
    Found found_;
    std::string last_;
};

// The tree of a type's blocks by id: its nodes are in the table blocks.
class IdWalk {
 public:
    IdWalk(Catalog &catalog, Findings &findings, std::string root)
        : catalog_(catalog), findings_(findings), root_(std::move(root)) {}

    static kel_table *table_of(const Node *node) {
        const auto address = reinterpret_cast<std::uintptr_t>(node) - offsetof(kel_table, id_node);
        return reinterpret_cast<kel_table *>(address);
    }
    bool enter(Node *node) {
        ListedTable *listed = catalog_.listed(table_of(node));
        if (listed == nullptr || listed->is_found) {
            findings_.add(root_, "the tree has a block at %p that %s",
                          static_cast<const void *>(table_of(node)),
                          listed == nullptr ? "isn't on the table list" : "it has already");
            return false;
        }
        listed->is_found = true;
        return true;
    }
    void visit(Node *node) {
        const kel_table *table = table_of(node);
        if (last_ && *last_ >= table->table_id) {
            findings_.add(name(node), "it isn't in order after #%llu",
                          static_cast<unsigned long long>(*last_));
        }
        last_ = table->table_id;
        ++count_;
    }
    std::string name(const Node *node) const {
        return node == nullptr ? root_ : catalog_.listed(table_of(node))->name;
    }
    std::uint32_t count() const { return count_; }

 private:
    Catalog &catalog_;
    Findings &findings_;
    std::string root_;
    std::optional<std::uint64_t> last_;
    std::uint32_t count_ = 0;
};

}  // namespace

ListedTable *Catalog::listed(const kel_table *table) {
    const auto found = by_address_.find(table);
    return found != by_address_.end() ? &tables_[found->second] : nullptr;
}

void Catalog::check() {
    check_types();
    check_list();
    check_keys();
}

void Catalog::check_tables_are_found() {
    for (const ListedTable &each : tables_) {
        if (each.is_found) continue;
        findings_.add(each.name, "it is on the table list, but no open would find it");
    }
}

void Catalog::check_types() {
    NamedWalk walk(blocks_, findings_, "the type map", [&](const std::string &name, void *value) {
        descriptors_.add_copy(name, static_cast<kel_type_info_copy *>(value));
    });
    TreeWalk(findings_, &image_.header->types, walk).run();
}

void Catalog::check_list() {
    kel_table_list &list = image_.header->tables;
    kel_table **link = &list.first;
    while (kel_table *table = *link) {
        const std::string where = "the table list, block " + std::to_string(tables_.size() + 1);
        if (!blocks_.claim(table, sizeof *table, [&] { return where; })) return;
        if (table->toc_prev != link) {
            findings_.add(where, "its link back is %p, expected %p",
                          static_cast<const void *>(table->toc_prev),
                          static_cast<const void *>(link));
        }
        by_address_.emplace(table, tables_.size());
        tables_.push_back({table, {}, {}});
        describe(tables_.back());
        check_table(tables_.back());
        link = &table->toc_next;
    }
    if (list.last != link) {
        findings_.add("the table list", "its end is %p, expected %p",
                      static_cast<const void *>(list.last), static_cast<const void *>(link));
    }
}

// Finds out the type and the name.
void Catalog::describe(ListedTable &listed) const {
    const kel_table &table = *listed.table;
    std::string key(table.table_name, strnlen(table.table_name, sizeof table.table_name));
    const std::size_t slash = key.rfind('/');
    const kel_type_info *type = descriptors_.readable(table.descriptor);
    if (type == nullptr && slash != std::string::npos &&
        key.size() - slash - 1 == luid_text_length) {
        type = descriptors_.with_luid_text(key.substr(slash + 1));
    }
    if (type != nullptr) listed.luid_text = type->luid_text;
    if (type != nullptr && slash != std::string::npos && key.substr(slash + 1) == type->luid_text) {
        key.resize(slash);
    }
    listed.name = std::string("table ") + (type != nullptr ? type->name : "of an unknown type");
    if (table.open_mode == KEL_OPEN_BY_NAME) {
        listed.name += ":" + key;
    } else {
        listed.name += "#" + std::to_string(table.table_id);
    }
}

void Catalog::check_table(ListedTable &listed) {
    const kel_table &table = *listed.table;
    const kel_type_info *type = descriptors_.readable(table.descriptor);
    if (type == nullptr && (table.descriptor == nullptr || blocks_.is_inside(table.descriptor))) {
        findings_.add(listed.name, "its descriptor is %p, which is none of the store",
                      static_cast<const void *>(table.descriptor));
    } else if (type != nullptr && std::string_view(type->kind) != "table") {
        findings_.add(listed.name, "its descriptor is that of the %s %s", type->kind, type->name);
    }
    if (std::memchr(table.table_name, 0, sizeof table.table_name) == nullptr) {
        findings_.add(listed.name, "its key has no end");
    }
    if (table.open_mode > KEL_OPEN_AUTO_ID) {
        findings_.add(listed.name, "its open mode is %u, expected 0 to 2", table.open_mode);
    }
    if (table.replication_marked > 1 || table.write_cursor_armed > 1) {
        findings_.add(listed.name, "its marks of replication are %u and %u, expected 0 or 1",
                      table.replication_marked, table.write_cursor_armed);
    }
    const auto is_zero = [](std::uint64_t word) { return word == 0; };
    if (table.range_word != 0 || table.index_aux != 0 ||
        !std::all_of(std::begin(table.runtime_words), std::end(table.runtime_words), is_zero)) {
        findings_.add(listed.name, "a reserved word isn't zero");
    }
}

void Catalog::check_keys() {
    std::vector<std::pair<std::string, void *>> found;
    NamedWalk walk(blocks_, findings_, "the keyed store",
                   [&](const std::string &name, void *value) { found.emplace_back(name, value); });
    TreeWalk(findings_, &image_.header->keys, walk).run();
    for (const auto &[key, value] : found) check_key(key, value);
}

// Whether a key ends with the LUID of a table's type.
bool Catalog::is_table_key(const std::string &key) const {
    const std::size_t slash = key.rfind('/');
    if (slash == std::string::npos) return false;
    const kel_type_info *type = descriptors_.with_luid_text(key.substr(slash + 1));
    return type != nullptr && std::string_view(type->kind) == "table";
}

void Catalog::check_key(const std::string &key, void *value) {
    const std::string where = "the keyed store, `" + key + "`";
    if (key == ring_key) {
        ring_ = value;
    } else if (key.starts_with(id_root_prefix)) {
        check_ids(where, static_cast<kel_table_id_root *>(value));
    } else if (ListedTable *table = listed(static_cast<kel_table *>(value))) {
        // A program may enter a table under a key of its own, too.
        const bool is_own = table->table->open_mode == KEL_OPEN_BY_NAME;
        if (is_own && key == table->table->table_name) table->is_found = true;
    } else if (is_table_key(key)) {
        findings_.add(where, "it leads to %p, where no table of the list is", value);
    } else if (blocks_.at(value, 0)) {
        programs_.push_back(value);
    }
}

void Catalog::claim_programs_blocks() {
    for (const void *block : programs_) {
        if (!blocks_.is_claimed(blocks_.offset_of(block))) {
            blocks_.claim(block, 0, [] { return std::string(); });
        }
    }
}

void Catalog::check_ids(const std::string &where, kel_table_id_root *root) {
    if (!blocks_.claim(root, sizeof *root, [&] { return where; })) return;
    IdWalk walk(*this, findings_, where);
    TreeWalk(findings_, &root->tree_head.root, walk).run();
    // A table whose automatic id another one had already is counted, but isn't in the tree.
    if (walk.count() > root->id_table_count) {
        findings_.add(where, "it counts %u tables, its tree has %u", root->id_table_count,
                      walk.count());
    }
    if (root->reserved != 0 || root->tree_head.aux != 0) {
        findings_.add(where, "a reserved word isn't zero");
    }
}

}  // namespace tarnbase::runtime
