// SPDX-License-Identifier: Apache-2.0
#include "edit/editor.h"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <utility>

#include "base/failure.h"
#include "edit/membership.h"
#include "query/filter.h"
#include "terminal/progress.h"

namespace tarnctl {
namespace {

std::string key_text(const Order &order) {
    std::string text;
    for (const Assignment &each : order.key) text += (text.empty() ? "" : ", ") + each.text;
    return text;
}

// "tbl_ldap_conn:ldap: no record of the key `a.example`, tenant 0, source 1".
std::string about_record(const Order &order, const Instance &instance, std::string_view what) {
    return fmt::format("{}: {} record of the key `{}`, tenant {}, source {}", instance.full_name(),
                       what, key_text(order), order.tenant_or_default(), order.source_or_default());
}

std::vector<std::string> texts_of(const std::vector<Assignment> &assignments) {
    std::vector<std::string> texts;
    for (const Assignment &each : assignments) texts.push_back(each.text);
    return texts;
}

bool is_chosen(const Order &order, const Filter &filter, const Record &record) {
    if (order.tenant && *order.tenant != record.tenant()) return false;
    if (order.source && *order.source != record.src()) return false;
    return filter.passes(record);
}

void assign(const Record &record, uint32_t tx_id, const Assignment &assignment) {
    const Column &column = assignment.column;
    Value value = record.value(column, tx_id);
    if (!value.present()) {
        const Table &table = *record.table;
        const bool has_object = table.object(record.handle, tx_id, record.record) != nullptr;
        throw Failure(Exit::data,
                      fmt::format("{}: the record `{}` of {} {}", column.name(),
                                  RecordCopy(record, tx_id).key_text(), table.name,
                                  has_object ? "was made as an older variant, which has no such "
                                               "field"
                                             : "has no data object"));
    }
    switch (assignment.operation) {
        case Operation::replace:
            return value.set_text(assignment.text);
        case Operation::add:
            return value.add(std::stoull(assignment.text));
        case Operation::subtract:
            return value.subtract(std::stoull(assignment.text));
    }
}

}  // namespace

void Editor::report(const Work &work, std::optional<RecordCopy> before,
                    std::optional<RecordCopy> after) {
    if (listener_) listener_({work.instance.full_name(), std::move(before), std::move(after)});
}

Record Editor::by_key(const Work &work) {
    const tarn::tenant_scope tenant(work.order.tenant_or_default());
    const Key key(*work.instance.table, texts_of(work.order.key), scratch_);
    return find_record(store_, work.instance, key, work.order.source_or_default());
}

// Collected before any is changed, since a walk must not lose its records.
std::vector<Record> Editor::chosen(const Work &work) {
    std::vector<Record> records;
    if (!work.order.many) {
        const Record found = by_key(work);
        if (found.record != nullptr) records.push_back(found);
        else if (!work.order.if_exists)
            throw Failure(Exit::difference, about_record(work.order, work.instance, "no"));
        return records;
    }
    const Filter filter(*work.instance.table, work.order.where);
    for_each_candidate(store_, work.instance, filter, [&](const Record &record) {
        if (is_chosen(work.order, filter, record)) records.push_back(record);
        return true;
    });
    if (records.empty() && !work.order.where.empty() && !work.order.if_exists)
        throw Failure(Exit::difference,
                      fmt::format("{}: no record meets the conditions", work.instance.full_name()));
    return records;
}

Record Editor::new_record(const Work &work) {
    const Table &table = *work.instance.table;
    kel_handle *handle = store_.handle();
    uint32_t err = 0;
    kel_record *block =
        table.create_record(handle, work.tx_id, work.order.source_or_default(), &err);
    need(block == nullptr && err == 0 ? ENOMEM : err, "making a record");
    void *object = table.type->create(handle, work.tx_id);
    need(object == nullptr ? ENOMEM : 0, "making a record");
    table.set_object(handle, work.tx_id, block, object);
    if (table.key_type != nullptr) {
        void *key = table.key_type->create(handle, work.tx_id);
        need(key == nullptr ? ENOMEM : 0, "making a record");
        table.set_key_object(handle, work.tx_id, block, key);
    }
    return {&table, handle, block};
}

// An insert in an armed table goes to the replication stream too.
void Editor::attach_replication(const Instance &instance) {
    if (replication_attached_ || !is_armed(instance)) return;
    tarnctl::attach_replication(store_, instance);
    replication_attached_ = true;
}

void Editor::insert(const Work &work) {
    const Record found = by_key(work);
    if (found.record != nullptr && work.order.or_update) return set(work, found);
    if (found.record != nullptr)
        throw Failure(Exit::data, about_record(work.order, work.instance, "there is already a"));
    attach_replication(work.instance);
    const tarn::tenant_scope tenant(work.order.tenant_or_default());
    const Record record = new_record(work);
    for (const Assignment &each : work.order.key) assign(record, work.tx_id, each);
    for (const Assignment &each : work.order.fields) assign(record, work.tx_id, each);
    uint32_t err = 0;
    work.instance.table->insert(store_.handle(), work.tx_id, work.instance.block, record.record,
                                &err);
    need(err, fmt::format("{}: inserting the record `{}`", work.instance.full_name(),
                          key_text(work.order)));
    ++counts_.inserted;
    if (listener_) report(work, {}, RecordCopy(record, work.tx_id));
}

void Editor::set(const Work &work, const Record &record) {
    RecordCopy before(record, work.tx_id);
    for (const Assignment &each : work.order.fields) assign(record, work.tx_id, each);
    RecordCopy after(record, work.tx_id);
    if (changes_between(before, after).empty()) return;
    ++counts_.changed;
    report(work, std::move(before), std::move(after));
}

void Editor::erase(const Work &work, const Record &record) {
    std::optional<RecordCopy> before;
    if (listener_) before.emplace(record, work.tx_id);
    remove_record(store_, work.instance, record, work.tx_id);
    report(work, std::move(before), {});
    ++counts_.deleted;
}

void Editor::perform(uint32_t tx_id, const Order &order) {
    if (order.if_exists && !is_known(order)) return;
    const Work work{tx_id, order, instance_of(order)};
    if (order.verb == Verb::insert) {
        insert(work);
        return;
    }
    for (const Record &record : chosen(work)) {
        if (order.verb == Verb::set) set(work, record);
        else erase(work, record);
    }
}

const Instance &Editor::instance_of(const Order &order) {
    const std::string text = order.table.text();
    const auto known = instances_.find(text);
    if (known != instances_.end()) return known->second;
    return instances_.emplace(text, find_instance(store_, order.table)).first->second;
}

bool Editor::is_known(const Order &order) const {
    return instances_.count(order.table.text()) != 0;
}

bool Editor::is_held(const Order &order) const {
    const std::vector<Instance> held = instances(store_);
    return std::any_of(held.begin(), held.end(),
                       [&](const Instance &each) { return order.table.means(each); });
}

// Failure if the store doesn't have the table.
void Editor::check_table(const Order &order) const {
    try {
        find_instance(store_, order.table);
    } catch (const Failure &failure) {
        throw Failure(failure.code(), fmt::format("{}; --create makes it", failure.what()));
    }
}

void Editor::make_table(const Order &order, std::vector<Instance> &made) {
    const std::string text = order.table.text();
    if (instances_.count(text) != 0) return;
    if (!order.create) check_table(order);
    const Instance instance = find_or_make_instance(store_, order.table);
    instances_.emplace(text, instance);
    made.push_back(instance);
    made_tables_.push_back(instance.full_name());
}

// The Failure of an order begins with its place.
template <class Function>
void Editor::for_each_order(const std::vector<Order> &orders, Function function) {
    for (const Order &order : orders) {
        try {
            function(order);
        } catch (const Failure &failure) {
            if (order.place.empty()) throw;
            throw Failure(failure.code(), fmt::format("{}: {}", order.place, failure.what()));
        }
    }
}

void Editor::run(const std::vector<Order> &orders) {
    std::vector<Instance> made;
    try {
        std::set<std::string> seen;
        // All references are resolved before any table is made, which could make a name ambiguous.
        for_each_order(orders, [&](const Order &order) {
            if (seen.insert(order.table.text()).second && is_held(order)) instance_of(order);
        });
        for_each_order(orders, [&](const Order &order) {
            if (order.verb == Verb::insert) make_table(order, made);
        });
        tarn::transaction transaction = store_.begin();
        Progress progress("orders", orders.size());
        for_each_order(orders, [&](const Order &order) {
            perform(transaction.id(), order);
            progress.advance();
        });
        transaction.commit();
    } catch (...) {
        // The tables aren't part of the transaction, and are empty after its rollback.
        for (const Instance &instance : made) {
            uint32_t err = 0;
            instance.table->free(store_.handle(), KEL_TX_NONE, instance.block, &err);
        }
        throw;
    }
}

}  // namespace tarnctl
