// SPDX-License-Identifier: Apache-2.0
//
// Keys to search with, for a table of any type.
#ifndef TARNBASE_PYTHON_KEY_H
#define TARNBASE_PYTHON_KEY_H

#include <cstdint>
#include <optional>

#include "value.h"

namespace tarnbase::python {

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

// A key in the form that a search takes.
class Probe {
 public:
    Probe(const catalogue::Table &type, PyObject *key);
    const void *get() const;

 private:
    std::optional<KeyObject> object_;
    std::optional<Text> text_;
    kel_vstring string_{};
    ip_address address_{};
    bool is_address_ = false;
    std::uint32_t number_ = 0;
};

// This thread's tenant.
std::uint16_t current_tenant();

}  // namespace tarnbase::python

#endif
