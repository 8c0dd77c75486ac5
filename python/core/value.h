// SPDX-License-Identifier: Apache-2.0
//
// Fields as Python's own values, and back. What Python has no type of its own for is left to
// tarnbase/schema.py: enumerations are numbers here and addresses are bytes.
#ifndef TARNBASE_PYTHON_VALUE_H
#define TARNBASE_PYTHON_VALUE_H

#include <Python.h>

#include <cstdint>
#include <string>
#include <utility>

#include "catalogue/catalogue.h"
#include "failure.h"
#include "tarnbase/embedded.h"

namespace tarnbase::python {

using catalogue::Field;
using catalogue::Kind;
using catalogue::Structure;

// Owns a reference. Throws Raised if Python made none.
class Reference {
 public:
    explicit Reference(PyObject *made) : object_(made) {
        if (made == nullptr) throw Raised();
    }
    Reference(Reference &&other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Reference &operator=(Reference &&) = delete;
    ~Reference() { Py_XDECREF(object_); }

    PyObject *get() const { return object_; }
    PyObject *release() { return std::exchange(object_, nullptr); }

 private:
    PyObject *object_;
};

// An object of the store, and how it is reached.
struct Access {
    kel_handle *handle;
    std::uint32_t tx_id;
    void *object;
};

// Whether the object's variant has the field.
bool has(const void *object, const Field &field);
// The object of a structure in `at`. Failure `no_field`.
Access inside(const Access &at, const Field &field);

// A field that is no structure. Failure `no_field`.
Reference value_of(const Access &at, const Field &field);
// Failures `bad_type` and `bad_value`, which begin with the field's name.
void set_value(const Access &at, const Field &field, PyObject *value);
// Whether the field of a key has the value. Failures as of set_value.
bool is_value(const Access &at, const Field &field, PyObject *value);
void set_element(const Access &at, const Field &field, std::uint32_t index, PyObject *value);

// All fields of a key structure, in order; those of a structure in it are a tuple of their own.
Reference tuple_of(const Access &at, const Structure &structure);
// Sets them from a sequence. Failures as of set_value.
void set_from_tuple(const Access &at, const Structure &structure, PyObject *values);

// The bytes of a text; `owner` keeps them.
struct Text {
    Reference owner;
    const char *bytes;
    std::uint32_t length;
};
Text text_of(PyObject *value, const char *name);
// Fills in an address from an object of `ipaddress`, a text, 4 or 16 bytes, or None.
void refer(ip_address &address, PyObject *value, const char *name);
// A number of a u_int32, a u_int8 and so on.
std::uint64_t number_of(PyObject *value, const Field &field);

}  // namespace tarnbase::python

#endif
