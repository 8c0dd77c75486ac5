// SPDX-License-Identifier: Apache-2.0
//
// Objects of records: their fields, keys, forms and state flags.
#ifndef TARNBASE_PYTHON_OBJECT_H
#define TARNBASE_PYTHON_OBJECT_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
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
    // Table and key, for errors.
    std::string place() const;
    // Failures of `call` say which record it was.
    template <typename Call>
    auto naming(Call call) const;

    std::shared_ptr<Table> table_;
    std::shared_ptr<Validity> validity_;
    kel_record *record_;
    std::uint64_t seen_;
    std::vector<const Field *> path_;
};

template <typename Call>
auto Object::naming(Call call) const {
    try {
        return call();
    } catch (const Failure &failure) {
        if (failure.problem() == Problem::stale) throw;
        throw Failure(failure.problem(), failure.number(), place() + failure.what());
    } catch (const tarn::error &error) {
        throw tarn::error(error.number(), place() + error.what());
    }
}

}  // namespace tarnbase::python

#endif
