// SPDX-License-Identifier: Apache-2.0
#include "model/instance.h"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "base/failure.h"
#include "model/usual_name.h"

namespace tarnctl {
namespace {

// With and without "tbl_", so that a suggestion has the form that was written.
std::vector<std::string_view> table_names() {
    std::vector<std::string_view> names;
    for (const Table *table : catalogue.tables) {
        names.push_back(table->name);
        names.push_back(table->name.substr(table_prefix.size()));
    }
    return names;
}

std::string_view key_of(const kel_table &block) {
    return {block.table_name, strnlen(block.table_name, sizeof block.table_name)};
}

// "/" and the LUID as text, which end the key of a table that was opened by name.
std::string luid_suffix(const kel_type_info &descriptor) {
    return fmt::format("/{}", descriptor.luid_text);
}

// The key names the table; the descriptor may be in another process's memory.
const Table *table_of(const Store &store, const kel_table &block) {
    const std::string_view key = key_of(block);
    for (const Table *table : catalogue.tables) {
        if (key.ends_with(luid_suffix(*table->descriptor))) return table;
    }
    for (const Table *table : catalogue.tables) {
        if (block.descriptor == table->descriptor) return table;
    }
    if (!store.holds(block.descriptor)) return nullptr;
    return catalogue.table_of(*block.descriptor);
}

std::vector<Instance> instances_named(const Store &store, const TableReference &reference) {
    std::vector<Instance> found = instances(store);
    std::erase_if(found, [&](const Instance &each) { return !reference.means(each); });
    return found;
}

std::string list_of(const std::vector<Instance> &instances) {
    std::string list;
    for (const Instance &each : instances)
        list += fmt::format("{}`{}`", list.empty() ? "" : ", ", each.full_name());
    return list;
}

Instance the_one(const std::vector<Instance> &found, const TableReference &reference) {
    if (found.size() > 1)
        throw Failure(Exit::usage, fmt::format("the store holds several tables `{}`: {}",
                                               reference.table->name, list_of(found)));
    return found.front();
}

}  // namespace

std::string Instance::name() const {
    if (block->open_mode != KEL_OPEN_BY_NAME) return fmt::format("#{}", block->table_id);
    const std::string_view key = key_of(*block);
    const std::string suffix = luid_suffix(*table->descriptor);
    return std::string(key.ends_with(suffix) ? key.substr(0, key.size() - suffix.size()) : key);
}

std::string Instance::full_name() const {
    const bool by_name = block->open_mode == KEL_OPEN_BY_NAME;
    return fmt::format("{}{}{}", table->name, by_name ? ":" : "", name());
}

std::string TableReference::text() const {
    std::string text(table->name);
    if (name) text += ":" + *name;
    if (id) text += fmt::format("#{}", *id);
    return text;
}

bool TableReference::means(const Instance &instance) const {
    if (instance.table != table) return false;
    if (id) return instance.block->open_mode != KEL_OPEN_BY_NAME && instance.block->table_id == *id;
    return !name || instance.name() == *name;
}

const Table &table_named(std::string_view name) {
    if (const Table *table = catalogue.table(name)) return *table;
    if (const Table *table = catalogue.table(fmt::format("{}{}", table_prefix, name)))
        return *table;
    throw no_such(Exit::usage, "table", name, table_names());
}

TableReference parse_table(std::string_view text) {
    const std::size_t end = text.find_first_of(":#");
    TableReference reference{&table_named(text.substr(0, end)), {}, {}};
    if (end == std::string_view::npos) return reference;
    const std::string_view rest = text.substr(end + 1);
    if (text[end] == ':') {
        reference.name = std::string(rest);
        return reference;
    }
    uint64_t id = 0;
    const auto [stop, error] = std::from_chars(rest.data(), rest.data() + rest.size(), id);
    if (error != std::errc() || stop != rest.data() + rest.size())
        throw Failure(Exit::usage, fmt::format("`{}`: expected a table id after `#`", text));
    reference.id = id;
    return reference;
}

std::vector<Instance> instances(const Store &store, std::size_t *unknown) {
    std::vector<Instance> found;
    std::size_t others = 0;
    for (kel_table *block : store.tables()) {
        const Table *table = table_of(store, *block);
        if (table == nullptr) ++others;
        else found.push_back({table, block});
    }
    const auto place = [](const Instance &each) {
        return std::find(catalogue.tables.begin(), catalogue.tables.end(), each.table);
    };
    std::sort(found.begin(), found.end(), [&](const Instance &a, const Instance &b) {
        return a.table != b.table ? place(a) < place(b) : a.name() < b.name();
    });
    if (unknown != nullptr) *unknown = others;
    return found;
}

std::optional<Instance> instance_of(const Store &store, kel_table *block) {
    const Table *table = table_of(store, *block);
    if (table == nullptr) return std::nullopt;
    return Instance{table, block};
}

std::vector<Instance> instances_of(const Store &store, const Table &table) {
    return instances_named(store, {&table, {}, {}});
}

Instance find_instance(const Store &store, const TableReference &reference) {
    const std::vector<Instance> found = instances_named(store, reference);
    if (!found.empty()) return the_one(found, reference);
    std::string text = fmt::format("{} holds no table `{}`", store.path(), reference.text());
    const std::vector<Instance> others = instances_of(store, *reference.table);
    if (!others.empty()) text += fmt::format("; it holds {}", list_of(others));
    throw Failure(Exit::difference, text);
}

void need_kind(const Store &store, const Table &table, const kel_table &block) {
    const Table *found = table_of(store, block);
    if (found == &table) return;
    throw Failure(Exit::data,
                  fmt::format("{} holds {} under the name `{}`; expected a {}", store.path(),
                              found == nullptr ? "another table" : fmt::format("a {}", found->name),
                              key_of(block), table.name));
}

Instance find_or_make_instance(const Store &store, const TableReference &reference) {
    const std::vector<Instance> found = instances_named(store, reference);
    if (!found.empty()) return the_one(found, reference);
    if (reference.id)
        throw Failure(
            Exit::difference,
            fmt::format("{} holds no table `{}`; a table is made under a name, as `{}:NAME`",
                        store.path(), reference.text(), reference.table->name));
    if (reference.name && reference.name->empty())
        throw Failure(Exit::usage,
                      fmt::format("`{}`: expected a name after `:`", reference.text()));
    const Table &table = *reference.table;
    const std::string name = reference.name ? *reference.name : usual_name(table);
    uint32_t err = 0;
    kel_table *block = table.open(store.handle(), KEL_TX_NONE, name.c_str(), 0, &err);
    need(block == nullptr && err == 0 ? ENOENT : err,
         fmt::format("making the table `{}:{}`", table.name, name));
    need_kind(store, table, *block);
    return {&table, block};
}

void free_instance(const Store &store, const Instance &instance) {
    const std::string name = instance.full_name();
    uint32_t err = 0;
    instance.table->free(store.handle(), KEL_TX_NONE, instance.block, &err);
    need(err, fmt::format("removing the table `{}`", name));
}

}  // namespace tarnctl
