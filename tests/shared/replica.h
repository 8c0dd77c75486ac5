/* SPDX-License-Identifier: Apache-2.0 */
// A replica of a store of connections, and processes that change the store in turn with a test.
#ifndef TESTS_SHARED_REPLICA_H
#define TESTS_SHARED_REPLICA_H

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tarnbase/journal.h"
#include "tarnbase/module.h"
#include "tarnbase/replica.h"
#include "tarnbase/runtime.h"
#include "tests/shared/connections.h"

namespace shared_test {

using Replicas = SharedStore;

struct Close {
    void operator()(kel_replica *replica) const { kel_replica_close(replica); }
    void operator()(kel_handle *handle) const { kel_handle_destroy(handle); }
};

// A replica of a store of connections.
class Replica {
 public:
    explicit Replica(const std::string &path, std::uint64_t sequence = KEL_REPLICA_NEWEST) {
        kel_replica *opened = nullptr;
        need(kel_replica_open(path.c_str(), tarnbase_table_get_vft, sequence, &opened) == 0,
             kel_error_text());
        replica_.reset(opened);
        kel_handle *handle = nullptr;
        need(kel_handle_create(store(), 0, &handle) == 0, kel_error_text());
        handle_.reset(handle);
    }

    kel_store *store() const { return kel_replica_store(replica_.get()); }
    kel_handle *handle() const { return handle_.get(); }
    std::uint64_t sequence() const { return kel_replica_sequence(replica_.get()); }
    std::uint32_t advance() { return kel_replica_advance(replica_.get(), &last); }
    std::uint32_t advance_record(const kel_record *place) {
        return kel_replica_advance_record(replica_.get(), table(), place, &last);
    }
    kel_replica *c_replica() const { return replica_.get(); }
    // The table of connections, or null.
    kel_table *table() const {
        std::uint32_t error = 0;
        return tbl_ldap_conn_table_open(handle(), KEL_TX_NONE, table_name, 1, &error);
    }

    // "+name 1", "~name 1 2" or "-name 2" for each change of the last transaction.
    std::vector<std::string> changes() const {
        std::vector<std::string> texts;
        for (std::uint64_t i = 0; i < last.change_count; ++i)
            texts.push_back(text(last.changes[i]));
        return texts;
    }
    // The changes of all transactions up to now.
    std::vector<std::string> all_changes() {
        std::vector<std::string> texts;
        while (advance() == 0) {
            for (std::string &each : changes()) texts.push_back(std::move(each));
        }
        return texts;
    }
    std::uint32_t number(const kel_record *record) const {
        std::uint32_t error = 0;
        return st_ldap_conn_num_conns_get_value(handle(), KEL_TX_NONE, object(record), &error);
    }
    std::string name(const kel_record *record) const {
        std::uint32_t error = 0;
        auto *name = st_ldap_conn_sname_get(handle(), KEL_TX_NONE, object(record), &error);
        std::uint32_t length = 0;
        const char *bytes = kel_vstring_bytes(name, &length);
        return {bytes, length};
    }

    kel_replica_transaction last{};

 private:
    static st_ldap_conn *object(const kel_record *record) {
        return static_cast<st_ldap_conn *>(record->object);
    }
    std::string text(const kel_replica_change &change) const {
        const std::string numbers[] = {
            change.before != nullptr ? " " + std::to_string(number(change.before)) : "",
            change.after != nullptr ? " " + std::to_string(number(change.after)) : ""};
        const kel_record *any = change.after != nullptr ? change.after : change.before;
        return std::string(1, "?+~-"[change.what]) + name(any) + numbers[0] + numbers[1];
    }

    std::unique_ptr<kel_replica, Close> replica_;
    std::unique_ptr<kel_handle, Close> handle_;
};

using Texts = std::vector<std::string>;

// A process that changes the store when the test lets it.
inline Child::Body turns(const std::string &path,
                         std::vector<std::function<void(Connections &)>> all) {
    return [path, all = std::move(all)](Child &test) {
        Connections connections(path);
        for (const auto &each : all) {
            test.await();
            each(connections);
            test.tell();
        }
    };
}

inline void turn(Child &child) {
    child.tell();
    child.await();
}

inline void keep_journal(const Connections &connections) {
    kel_journal_settings settings{};
    settings.enabled = 1;
    need(kel_store_set_journal(connections.store.c_store(), &settings) == 0, kel_error_text());
}

inline const std::string long_name(40, 'n');

}  // namespace shared_test

#endif
