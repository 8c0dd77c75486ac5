// SPDX-License-Identifier: Apache-2.0
//
// Orders: changes of a table's records, read from words and checked against the schema before a
// store is changed.
//
//   insert TABLE FIELD=VALUE...        fields of the key among them
//   set    TABLE KEY... FIELD=VALUE... the key's values in the order of the key, or FIELD=VALUE
//   delete TABLE KEY...
//
// FIELD+=NUMBER and FIELD-=NUMBER add to an integer and subtract from it.
//
// A word is an assignment if it begins with the path of a field and `=`, and a value of the key
// otherwise. FIELD:hex=00ff sets the bytes of a string.
#ifndef TARNCTL_EDIT_ORDER_H
#define TARNCTL_EDIT_ORDER_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/instance.h"
#include "model/record.h"
#include "model/store.h"

namespace tarnctl {

enum class Verb { insert, set, erase };

enum class Operation { replace, add, subtract };

// A value for a column: its text in the value's own form, or the number to add or subtract.
struct Assignment {
    Column column;
    std::string text;
    Operation operation = Operation::replace;
};

// The words of an order on a command line or a line of a batch.
struct OrderWords {
    std::string table;
    std::vector<std::string> words;
    std::vector<std::string> where;
    bool all = false;
    std::optional<uint16_t> tenant;
    std::optional<uint8_t> source;
    bool create = false;     // insert: make the table if it doesn't exist
    bool or_update = false;  // insert: set the fields if the record exists
    bool if_exists = false;  // set: do nothing if the record doesn't exist
};

struct Order {
    Verb verb = Verb::insert;
    TableReference table{};
    std::vector<Assignment> key;  // all columns of the key, in its order; none if `many`
    std::vector<Assignment> fields;
    bool many = false;               // all records that meet `where`
    std::vector<std::string> where;  // conditions, see query/parser.h
    std::optional<uint16_t> tenant;
    std::optional<uint8_t> source;
    bool create = false;  // see OrderWords
    bool or_update = false;
    bool if_exists = false;
    std::string place;  // "FILE:LINE", or empty

    // Of the one record.
    uint16_t tenant_or_default() const { return tenant.value_or(0); }
    uint8_t source_or_default() const { return source.value_or(KEL_SOURCE_DEFAULT); }
};

// Reads orders. Values are tried on objects in a private store.
class OrderReader {
 public:
    OrderReader() = default;
    OrderReader(const OrderReader &) = delete;
    OrderReader &operator=(const OrderReader &) = delete;

    // Failure `usage` or `data` that names the table, the field or the word.
    Order read(Verb verb, const OrderWords &words);

 private:
    Assignment assignment(const Table &table, std::string_view word);
    std::string checked_text(const Column &column, const Structure &structure,
                             const std::string &text);
    Assignment field_of_word(const Order &order, const std::string &word, std::size_t key_values);
    void take_words(Order &order, const std::vector<std::string> &words);
    void put_key_together(Order &order, const std::vector<Assignment> &named,
                          const std::vector<std::string> &values);

    Store scratch_ = Store::scratch();
    std::map<const Structure *, void *> objects_;
};

// Whether the word is FIELD=VALUE or FIELD:hex=VALUE.
bool is_assignment(std::string_view word);

}  // namespace tarnctl

#endif
