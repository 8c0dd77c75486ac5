// SPDX-License-Identifier: Apache-2.0
//
// Carries out orders in a store, all of them in one transaction or none.
#ifndef TARNCTL_EDIT_EDITOR_H
#define TARNCTL_EDIT_EDITOR_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "edit/change.h"
#include "edit/order.h"
#include "model/instance.h"
#include "model/record.h"
#include "model/store.h"

namespace tarnctl {

// Numbers of records. Setting a field to its present value changes none.
struct Counts {
    uint64_t inserted = 0;
    uint64_t changed = 0;
    uint64_t deleted = 0;
};

class Editor {
 public:
    using Listener = std::function<void(const Change &)>;

    // The listener, which may be empty, is called with each change as it is made; the changes are
    // permanent when `run` returns.
    Editor(const Store &store, Listener listener) : store_(store), listener_(std::move(listener)) {}
    Editor(const Editor &) = delete;
    Editor &operator=(const Editor &) = delete;

    // The Failure of an order begins with its place. Everything is rolled back then.
    void run(const std::vector<Order> &orders);

    const Counts &counts() const { return counts_; }
    // The full names of the tables that were made.
    const std::vector<std::string> &made_tables() const { return made_tables_; }

 private:
    // The work of one transaction.
    struct Work {
        uint32_t tx_id;
        const Order &order;
        Instance instance;
    };

    void perform(uint32_t tx_id, const Order &order);
    void insert(const Work &work);
    void set(const Work &work, const Record &record);
    void erase(const Work &work, const Record &record);
    Record new_record(const Work &work);
    std::vector<Record> chosen(const Work &work);
    Record by_key(const Work &work);
    void report(const Work &work, std::optional<RecordCopy> before,
                std::optional<RecordCopy> after);

    template <class Function>
    void for_each_order(const std::vector<Order> &orders, Function function);
    bool is_held(const Order &order) const;
    bool is_known(const Order &order) const;
    void check_table(const Order &order) const;
    const Instance &instance_of(const Order &order);
    void make_table(const Order &order, std::vector<Instance> &made);
    void attach_replication(const Instance &instance);

    const Store &store_;
    Listener listener_;
    Store scratch_ = Store::scratch();  // of keys
    std::map<std::string, Instance> instances_;
    Counts counts_;
    std::vector<std::string> made_tables_;
    bool replication_attached_ = false;
};

}  // namespace tarnctl

#endif
