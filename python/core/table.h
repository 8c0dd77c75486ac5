// SPDX-License-Identifier: Apache-2.0
//
// Tables, their records, and walks over them, for a table of any type.
#ifndef TARNBASE_PYTHON_TABLE_H
#define TARNBASE_PYTHON_TABLE_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "store.h"
#include "value.h"

namespace tarnbase::python {

class Table;

// An object of a record: its data, or a structure in it. Every call fails if the record isn't
// valid any more.
class Object {
 public:
    Object(std::shared_ptr<Table> table, kel_record *record);

    const Structure &structure() const;
    Reference get(std::size_t field) const;
    void set(std::size_t field, PyObject *value) const;
    void set_element(std::size_t field, std::uint32_t index, PyObject *value) const;
    Object inner(std::size_t field) const;

    // Of the record that the object belongs to.
    const std::shared_ptr<Table> &table() const { return table_; }
    Reference key() const;
    std::uint16_t tenant() const;
    std::uint8_t source() const;
    bool is_pending() const;
    bool has_data() const;
    std::string text() const;
    std::string xml() const;
    std::string wire() const;

    int variant() const;
    // The state flags that aren't 0, by the paths of their fields: "num_conns", "minute[5]".
    struct Flag {
        std::string path;
        std::uint8_t flag;
    };
    // None of an object that has no flags.
    std::optional<std::vector<Flag>> flags(bool of_key) const;
    void set_flag(std::size_t field, std::uint8_t flag) const;

    // Failure `stale`.
    kel_record *record() const;

 private:
    friend class Table;

    Access access() const;
    template <typename Call>
    auto naming(Call call) const;

    std::shared_ptr<Table> table_;
    std::shared_ptr<Validity> validity_;
    kel_record *record_;
    std::uint64_t seen_;
    std::vector<const Field *> path_;
};

// An object with a key, to search with. It isn't in the table's store.
class KeyObject {
 public:
    KeyObject(const catalogue::Table &type, PyObject *key);
    KeyObject(const KeyObject &) = delete;
    KeyObject &operator=(const KeyObject &) = delete;
    ~KeyObject();

    // A record with the key that is in no table.
    kel_record place(std::uint16_t tenant, std::uint8_t source) const;
    // The argument of a search in a table with a key structure.
    const void *get() const { return object_; }

 private:
    const catalogue::Table &type_;
    void *object_;
};

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

// A walk in the order of the keys, from `first` and up to `last`, which isn't part of it.
class Walk {
 public:
    Walk(std::shared_ptr<Table> table, Choice choice, PyObject *first, PyObject *last,
         bool backward);
    // None at the end.
    std::optional<Object> next();

 private:
    kel_record *begin(kel_table &block) const;
    kel_record *step(kel_table &block, const kel_record &from) const;
    bool is_over(const kel_record &at) const;

    std::shared_ptr<Table> table_;
    Choice choice_;
    std::uint16_t tenant_ = 0;
    std::optional<KeyObject> first_;
    std::optional<KeyObject> last_;
    bool backward_;
    bool has_ended_ = false;
    std::optional<Object> at_;
};

// This thread's tenant.
std::uint16_t current_tenant();

}  // namespace tarnbase::python

#endif
