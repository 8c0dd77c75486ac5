// SPDX-License-Identifier: Apache-2.0
#include "model/record.h"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "base/failure.h"
#include "tarnbase/runtime.h"
#include "tarnbase/tarn/callback.hpp"
#include "tarnbase/tarn/forms.hpp"

namespace tarnctl {
namespace {

constexpr uint32_t same_place = 1;  // the index's order of two equal keys

kel_record *record_of(kel_index_node *node) {
    if (node == nullptr) return nullptr;
    return reinterpret_cast<kel_record *>(reinterpret_cast<char *>(node) -
                                          offsetof(kel_record, index_node));
}

bool is_key(const Table &table, const Path &path) {
    return table.key_field != nullptr && path.fields.front() == table.key_field;
}

std::vector<std::string_view> names_of(const Table &table) {
    std::vector<std::string_view> names;
    if (table.key_type != nullptr) {
        for (const Field &field : table.key_type->fields) names.push_back(field.name);
    }
    for (const Field &field : table.type->fields) names.push_back(field.name);
    return names;
}

std::string names_of(const std::vector<Column> &columns) {
    std::string names;
    for (const Column &column : columns)
        names += fmt::format("{}{}", names.empty() ? "" : " ", column.name());
    return names;
}

}  // namespace

std::vector<Column> columns_of(const Table &table) {
    std::vector<Column> columns = key_columns(table);
    for (Path &path : leaves_of(*table.type)) {
        if (!is_key(table, path)) columns.push_back({std::move(path), false, false});
    }
    return columns;
}

Column column_named(const Table &table, std::string_view path) {
    const std::string_view first = path.substr(0, path.find_first_of(".["));
    if (table.key_type != nullptr && table.key_type->find(first) != nullptr)
        return {parse_path(*table.key_type, path), true, true};
    if (table.type->find(first) == nullptr)
        throw no_such(Exit::usage, fmt::format("field of {}", table.name), first, names_of(table));
    Path found = parse_path(*table.type, path);
    const bool in_key = is_key(table, found);
    return {std::move(found), in_key, false};
}

std::vector<Column> key_columns(const Table &table) {
    std::vector<Column> columns;
    if (table.key_type == nullptr) {
        columns.push_back({{{table.key_field}, 0, false}, true, false});
        return columns;
    }
    for (Path &path : leaves_of(*table.key_type)) columns.push_back({std::move(path), true, true});
    return columns;
}

Value Record::value(const Column &column, uint32_t tx_id) const {
    void *object = column.in_key_object ? table->key_object(handle, tx_id, record)
                                        : table->object(handle, tx_id, record);
    return Value(handle, tx_id, object, column.path);
}

std::string Record::key_text() const {
    std::string text;
    for (const Column &column : key_columns(*table))
        text += fmt::format("{}{}", text.empty() ? "" : ", ", value(column).text());
    return text;
}

std::string Record::text() const {
    const std::string what = fmt::format("the text of a record of {}", table->name);
    const auto print = [&](char *buffer, uint32_t size, uint32_t *err) {
        return table->print(handle, KEL_TX_NONE, buffer, record, size, err);
    };
    auto form = tarn::text_form("writing", what.c_str(), print);
    if (!form) need(form.error().number(), what);
    return std::move(*form);
}

bool is_readable(const Store &store, const Record &record) {
    const auto *object = static_cast<const kel_object *>(
        record.table->object(record.handle, KEL_TX_NONE, record.record));
    return (object == nullptr || store.holds(object->descriptor)) &&
           store.holds(record.record->descriptor);
}

void check_readable(const Store &store, const Record &record) {
    if (is_readable(store, record)) return;
    throw Failure(Exit::store,
                  fmt::format("{}: only the process that made the records of {} can read them: "
                              "their descriptors aren't in the store (a handle with "
                              "store_types_enabled 0)",
                              store.path(), record.table->name));
}

bool is_taken(const Store &store, const Record &record, Unreadable unreadable) {
    if (unreadable == Unreadable::leave_out) return is_readable(store, record);
    check_readable(store, record);
    return true;
}

void for_each_own_record(const Store &store, const Instance &instance,
                         const std::function<bool(const Record &)> &function) {
    const auto visit = [&](kel_record *record) {
        return function({instance.table, store.handle(), record});
    };
    tarn::callback walk(visit);
    uint32_t err = 0;
    instance.table->walk(instance.block, walk.run<kel_record *>, &walk, &err);
    walk.finish();
    need(err, fmt::format("walking {}", instance.full_name()));
}

uint64_t for_each_record(const Store &store, const Instance &instance,
                         const std::function<bool(const Record &)> &function,
                         Unreadable unreadable) {
    uint64_t left_out = 0;
    for_each_own_record(store, instance, [&](const Record &record) {
        if (is_taken(store, record, unreadable)) return function(record);
        ++left_out;
        return true;
    });
    return left_out;
}

Key::Key(const Table &table, const std::vector<std::string> &texts)
    : table_(table), own_scratch_(Store::scratch()), handle_(own_scratch_->handle()) {
    make(texts);
}

Key::Key(const Table &table, const std::vector<std::string> &texts, const Store &scratch)
    : table_(table), handle_(scratch.handle()) {
    make(texts);
}

Key::~Key() { table_.key_carrier().destroy(handle_, KEL_TX_NONE, carrier_); }

void Key::make(const std::vector<std::string> &texts) {
    const std::vector<Column> columns = key_columns(table_);
    if (texts.size() != columns.size())
        throw Failure(
            Exit::usage,
            fmt::format("the key of {} has {} value{}, {}; {} given", table_.name, columns.size(),
                        columns.size() == 1 ? "" : "s", names_of(columns), texts.size()));
    carrier_ = table_.key_carrier().create(handle_, KEL_TX_NONE);
    need(carrier_ == nullptr ? ENOMEM : 0, "making a key");
    for (std::size_t i = 0; i < columns.size(); ++i) {
        Value value(handle_, KEL_TX_NONE, carrier_, columns[i].path);
        value.set_text(texts[i]);
        text_ += fmt::format("{}{}", i == 0 ? "" : ", ", value.text());
    }
    if (table_.key_type != nullptr) {
        key_ = carrier_;
        return;
    }
    const Value value(handle_, KEL_TX_NONE, carrier_, columns.front().path);
    if (table_.key_field->call.get_value == nullptr) {
        uint32_t err = 0;
        key_ = table_.key_field->call.get(handle_, KEL_TX_NONE, carrier_, 0, &err);
        need(err, "making a key");
        return;
    }
    number_ = static_cast<uint32_t>(value.number());
    key_ = &number_;
}

kel_record Key::place(uint16_t tenant, uint8_t src) const {
    kel_record place{};
    place.tenant_id = tenant;
    place.src = src;
    if (table_.key_type != nullptr) place.key_object = carrier_;
    else place.object = carrier_;
    return place;
}

uint64_t for_each_record_of_key(const Store &store, const Instance &instance, const Key &key,
                                const std::function<bool(const Record &)> &function,
                                Unreadable unreadable) {
    const Table &table = *instance.table;
    uint64_t left_out = 0;
    const auto next = [&](const kel_record &place) {
        return record_of(
            e_avl_get_next(instance.block->index_root, &place.index_node, table.order));
    };
    for (uint32_t tenant = 0; tenant <= UINT16_MAX;) {
        kel_record place = key.place(static_cast<uint16_t>(tenant), 0);
        kel_record *found =
            record_of(e_avl_search(instance.block->index_root, &place.index_node, table.order));
        if (found == nullptr) found = next(place);
        for (; found != nullptr; found = next(*found)) {
            place.src = found->src;
            if (table.order(&place.index_node, &found->index_node) != same_place) break;
            const Record record{&table, store.handle(), found};
            if (!is_taken(store, record, unreadable)) ++left_out;
            else if (!function(record)) return left_out;
        }
        if (found == nullptr) return left_out;
        // The next tenant with records, or else the next number, from which the search goes on.
        tenant = std::max<uint32_t>(found->tenant_id, tenant + 1);
    }
    return left_out;
}

std::optional<Record> record_at(const Store &store, const Instance &instance, const Key &key,
                                uint16_t tenant, uint8_t src) {
    const kel_record place = key.place(tenant, src);
    kel_record *found = record_of(
        e_avl_search(instance.block->index_root, &place.index_node, instance.table->order));
    if (found == nullptr) return std::nullopt;
    const Record record{instance.table, store.handle(), found};
    return is_readable(store, record) ? std::optional(record) : std::nullopt;
}

Record find_record(const Store &store, const Instance &instance, const Key &key, uint8_t src) {
    uint32_t err = 0;
    kel_record *found = instance.table->search_w_src(store.handle(), KEL_TX_NONE, instance.block,
                                                     key.get(), src, &err);
    need(err, fmt::format("searching {}", instance.full_name()));
    const Record record{instance.table, store.handle(), found};
    if (found != nullptr) check_readable(store, record);
    return record;
}

Record find_nearest(const Store &store, const Instance &instance, const Key &key, uint8_t src,
                    bool forward) {
    // Only a search that skips pending records stays within another source.
    const uint32_t skip_pending = src == KEL_SOURCE_DEFAULT ? 0 : 1;
    uint32_t err = 0;
    kel_record *found =
        instance.table->search_internal(store.handle(), KEL_TX_NONE, instance.block, key.get(), 1,
                                        forward ? 1 : 0, src, skip_pending, &err);
    need(err, fmt::format("searching {}", instance.full_name()));
    const Record record{instance.table, store.handle(), found};
    if (found != nullptr) check_readable(store, record);
    return record;
}

}  // namespace tarnctl
