// SPDX-License-Identifier: Apache-2.0
//
// Tables, for a table of any type.
#ifndef TARNBASE_PYTHON_TABLE_H
#define TARNBASE_PYTHON_TABLE_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "object.h"
#include "store.h"

namespace tarnbase::python {

// The record of an index node; null for null.
kel_record *record_of(kel_index_node *node);

// Which records a walk is about.
struct Choice {
    std::optional<std::uint8_t> source = KEL_SOURCE_DEFAULT;  // none: all of them
    bool every_tenant = false;                                // else this thread's
};

class Table : public std::enable_shared_from_this<Table> {
 public:
    Table(std::shared_ptr<Store> store, const catalogue::Table &type, const kel_table &block);

    // The tables of a store, in the order of the schema.
    static std::vector<std::shared_ptr<Table>> all(const std::shared_ptr<Store> &store);
    // The table of a block; null if the schema has no such table.
    static std::shared_ptr<Table> of(const std::shared_ptr<Store> &store, kel_table *block);
    // Opens a table, or makes it.
    static std::shared_ptr<Table> make(const std::shared_ptr<Store> &store,
                                       const catalogue::Table &type, const std::string &name);
    // Removes an empty table from the store.
    void drop();

    const catalogue::Table &type() const { return type_; }
    Store &store() const { return *store_; }
    // "ldap", or "#7".
    const std::string &name() const { return name_; }
    std::string full_name() const;

    std::uint64_t count(const Choice &choice);
    std::optional<Object> find(PyObject *key, std::uint8_t source);

    // A record that is in no table yet. It must be inserted or discarded.
    Object make_record(PyObject *key, std::uint8_t source);
    Object read_wire(std::string_view frame, std::uint8_t source);
    Object read_xml(std::string_view document);
    void insert(const Object &made);
    void discard(const Object &made);
    void erase(const Object &object);

    // Inside of a Reading. Failure if the table isn't there any more.
    kel_table *block();
    // Failure if only another process can read the record.
    void need_readable(const kel_record *record);
    Object wrap(kel_record *record);

 private:
    Object made(kel_record *record);
    void attach_key(kel_record *record, PyObject *key);
    [[noreturn]] void fail(Problem problem, std::uint32_t number, const std::string &what) const;
    void need(std::uint32_t err, const char *doing) const;
    void attach_replication();

    std::shared_ptr<Store> store_;
    const catalogue::Table &type_;
    std::string key_;  // under which the store has the table
    std::uint64_t id_;
    std::string name_;
    kel_table *block_ = nullptr;
    std::shared_ptr<Validity> seen_;  // as long as `block_` is valid
};

}  // namespace tarnbase::python

#endif
