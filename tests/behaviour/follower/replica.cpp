// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/follower/replica.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <vector>

#include "catalogue/catalogue.h"
#include "tarnbase/module.h"

namespace tarn::test {
namespace {

const tarnbase::catalogue::Table &type_of(const kel_table &table) {
    return *tarnbase::catalogue::schema.table_of(*table.descriptor);
}

// The table, and all that can be read of a record: its numbers, printed, and marshalled.
std::string text_of(kel_handle *handle, const kel_table &table, const kel_record *record) {
    std::vector<char> buffer(1 << 16);
    const auto size = static_cast<std::uint32_t>(buffer.size());
    auto *place = const_cast<kel_record *>(record);
    std::string text = std::string(table.descriptor->name) + ' ' + table.table_name + '#' +
                       std::to_string(table.table_id) + ", tenant " +
                       std::to_string(record->tenant_id) + ", source " +
                       std::to_string(record->src) + ", flags " + std::to_string(record->flags);
    std::uint32_t error = 0;
    std::uint32_t length =
        type_of(table).print(handle, KEL_TX_NONE, buffer.data(), place, size, &error);
    text += ", error " + std::to_string(error) + ": " + std::string(buffer.data(), length);
    error = 0;
    length = type_of(table).marshal(handle, KEL_TX_NONE, buffer.data(), place, size, &error);
    text += ", error " + std::to_string(error) + ": " + std::string(buffer.data(), length);
    return text;
}

struct Walk {
    kel_handle *handle;
    const kel_table *table;
    std::multiset<std::string> *records;
};

std::uint32_t visit(kel_record *record, void *context) {
    const Walk &walk = *static_cast<Walk *>(context);
    walk.records->insert(text_of(walk.handle, *walk.table, record));
    return 0;
}

std::string first_missing(const std::multiset<std::string> &from,
                          const std::multiset<std::string> &in) {
    std::vector<std::string> missing;
    std::set_difference(from.begin(), from.end(), in.begin(), in.end(),
                        std::back_inserter(missing));
    return missing.empty() ? "" : std::to_string(missing.size()) + ", first: " + missing.front();
}

}  // namespace

ReplicaModel::ReplicaModel(const char *path) {
    if (kel_replica_open(path, tarnbase_table_get_vft, KEL_REPLICA_NEWEST, &replica_) != 0 ||
        kel_handle_create(store(), 1, &handle_) != 0) {
        throw std::runtime_error(kel_error_text());
    }
    model_ = records();
    sequence_ = kel_replica_sequence(replica_);
}

ReplicaModel::~ReplicaModel() {
    kel_handle_destroy(handle_);
    kel_replica_close(replica_);
}

std::string ReplicaModel::advance() {
    kel_replica_transaction transaction;
    std::uint32_t error = 0;
    while ((error = kel_replica_advance(replica_, &transaction)) == 0) {
        if (transaction.sequence != ++sequence_) return "a transaction is missing";
        for (std::uint64_t i = 0; i < transaction.change_count; ++i) {
            const std::string wrong = apply(transaction.changes[i]);
            if (!wrong.empty()) return wrong;
        }
    }
    return error == EAGAIN ? "" : kel_error_text();
}

std::string ReplicaModel::apply(const kel_replica_change &change) {
    const std::uint32_t what = change.before == nullptr  ? KEL_REPLICA_INSERTED
                               : change.after == nullptr ? KEL_REPLICA_DELETED
                                                         : KEL_REPLICA_CHANGED;
    if (change.what != what) return "what happened is " + std::to_string(change.what);
    if (change.before != nullptr) {
        const std::string text = text_of(handle_, *change.table, change.before);
        const auto found = model_.find(text);
        if (found == model_.end()) return "this record was never reported: " + text;
        model_.erase(found);
    }
    if (change.after != nullptr) model_.insert(text_of(handle_, *change.table, change.after));
    return "";
}

std::multiset<std::string> ReplicaModel::records() const {
    std::multiset<std::string> found;
    for (kel_table *table = kel_store_first_table(store()); table != nullptr;
         table = table->toc_next) {
        Walk walk{handle_, table, &found};
        std::uint32_t error = 0;
        type_of(*table).walk(table, visit, &walk, &error);
    }
    return found;
}

std::string ReplicaModel::differences() const {
    const std::multiset<std::string> now = records();
    const std::string lost = first_missing(now, model_);
    if (!lost.empty()) return "changes that weren't reported: " + lost;
    const std::string wrong = first_missing(model_, now);
    return wrong.empty() ? "" : "changes that didn't happen: " + wrong;
}

}  // namespace tarn::test
