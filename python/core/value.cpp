// SPDX-License-Identifier: Apache-2.0
#include "value.h"

#include <cerrno>
#include <limits>
#include <string_view>

#include "tarnbase/tarn/address.hpp"
#include "tarnbase/tarn/error.hpp"
#include "tarnbase/tarn/trace.hpp"

namespace tarnbase::python {
namespace {

std::string name_of(const Field &field) { return std::string(field.name); }

// "tbl_x" of its type's name.
std::string text_of_object(PyObject *value) {
    PyObject *text = PyObject_Repr(value);
    const char *bytes = text == nullptr ? nullptr : PyUnicode_AsUTF8(text);
    std::string copy = bytes == nullptr ? "an object" : bytes;
    Py_XDECREF(text);
    PyErr_Clear();
    constexpr std::size_t longest = 60;
    return copy.size() > longest ? copy.substr(0, longest) + "..." : copy;
}

[[noreturn]] void bad_type(const std::string &name, const std::string &expected, PyObject *value) {
    PyErr_Clear();
    throw Failure(Problem::bad_type, EINVAL,
                  name + ": expected " + expected + ", not " + text_of_object(value));
}

[[noreturn]] void bad_value(const std::string &name, const std::string &expected, PyObject *value) {
    PyErr_Clear();
    throw Failure(Problem::bad_value, EINVAL,
                  name + ": expected " + expected + ", not " + text_of_object(value));
}

void need(std::uint32_t err, const char *doing, const Field &field) {
    if (err != 0) throw tarn::detail::make_error(err, doing, name_of(field).c_str());
}

void need_field(const Access &at, const Field &field) {
    if (has(at.object, field)) return;
    throw Failure(Problem::no_field, EIDRM,
                  name_of(field) + (at.object == nullptr
                                        ? ": the record has no data object"
                                        : ": the object was made as an older variant, which has "
                                          "no such field"));
}

// Of a plain value: a boolean's and an enumeration's is a u_int32.
unsigned bits_of(const Field &field) {
    const bool is_plain = field.is_integer();
    return 8 * (is_plain ? field.facts().size : static_cast<unsigned>(sizeof(std::uint32_t)));
}

std::uint64_t largest(const Field &field) {
    const unsigned unused = 64 - bits_of(field) + (field.is_signed() ? 1 : 0);
    return std::numeric_limits<std::uint64_t>::max() >> unused;
}

std::string range_of(const Field &field) {
    const std::string least = field.is_signed() ? "-" + std::to_string(largest(field) + 1) : "0";
    return "a number from " + least + " to " + std::to_string(largest(field));
}

const void *object_of(const Access &at, const Field &field) {
    std::uint32_t err = 0;
    const void *found = field.call.get(at.handle, at.tx_id, at.object, 0, &err);
    need(err, "reading", field);
    return found;
}

std::uint64_t plain_value(const Access &at, const Field &field) {
    std::uint32_t err = 0;
    const std::uint64_t value = field.call.get_value(at.handle, at.tx_id, at.object, 0, &err);
    need(err, "reading", field);
    return value;
}

PyObject *number_from(const Field &field, std::uint64_t value) {
    if (field.kind == Kind::boolean) return PyBool_FromLong(value != 0 ? 1 : 0);
    if (field.is_signed()) return PyLong_FromLongLong(static_cast<std::int64_t>(value));
    return PyLong_FromUnsignedLongLong(value);
}

PyObject *text_from(const kel_vstring *text) {
    std::uint32_t length = 0;
    const char *bytes = kel_vstring_bytes(text, &length);
    return PyUnicode_DecodeUTF8(bytes, static_cast<Py_ssize_t>(length), "surrogateescape");
}

PyObject *address_from(const ip_address *address) {
    const tarn::address value(*address);
    if (!value) Py_RETURN_NONE;
    return PyBytes_FromStringAndSize(reinterpret_cast<const char *>(value.data()),
                                     static_cast<Py_ssize_t>(value.size()));
}

PyObject *made_from(const Access &at, const Field &field) {
    switch (field.kind) {
        case Kind::vstring:
            return text_from(static_cast<const kel_vstring *>(object_of(at, field)));
        case Kind::address:
            return address_from(static_cast<const ip_address *>(object_of(at, field)));
        case Kind::array:
            return PyBytes_FromStringAndSize(static_cast<const char *>(object_of(at, field)),
                                             static_cast<Py_ssize_t>(field.elements));
        default:
            return number_from(field, plain_value(at, field));
    }
}

void set_number(const Access &at, const Field &field, std::uint32_t index, PyObject *value) {
    const std::uint64_t number = number_of(value, field);
    const tarn::quiet_scope quiet;
    std::uint32_t err = 0;
    field.call.set_value(at.handle, at.tx_id, at.object, index, number, &err);
    if (err == EIDRM && field.kind == Kind::enumeration)
        bad_value(name_of(field), "a value of " + std::string(field.enumeration->name), value);
    need(err, "setting", field);
}

void set_object(const Access &at, const Field &field, const void *source) {
    std::uint32_t err = 0;
    field.call.set(at.handle, at.tx_id, at.object, source, &err);
    need(err, "setting", field);
}

// Sets the first elements.
void set_elements(const Access &at, const Field &field, PyObject *value) {
    Py_buffer view;
    if (PyObject_GetBuffer(value, &view, PyBUF_SIMPLE) != 0)
        bad_type(name_of(field), "bytes, or another buffer of them", value);
    const auto *bytes = static_cast<const std::uint8_t *>(view.buf);
    const bool fits = view.len <= static_cast<Py_ssize_t>(field.elements);
    std::uint32_t err = 0;
    for (std::uint32_t i = 0; fits && err == 0 && i < static_cast<std::uint32_t>(view.len); ++i)
        field.call.set_value(at.handle, at.tx_id, at.object, i, bytes[i], &err);
    PyBuffer_Release(&view);
    if (!fits)
        throw Failure(
            Problem::bad_value, EINVAL,
            name_of(field) + ": expected at most " + std::to_string(field.elements) + " elements");
    need(err, "setting", field);
}

}  // namespace

bool has(const void *object, const Field &field) {
    return object != nullptr &&
           static_cast<const kel_object *>(object)->variant >= field.first_variant;
}

Access inside(const Access &at, const Field &field) {
    need_field(at, field);
    return {at.handle, at.tx_id, const_cast<void *>(object_of(at, field))};
}

Reference value_of(const Access &at, const Field &field) {
    need_field(at, field);
    return Reference(made_from(at, field));
}

std::uint64_t number_of(PyObject *value, const Field &field) {
    if (field.kind == Kind::boolean) {
        if (!PyBool_Check(value)) bad_type(name_of(field), "True or False", value);
        return value == Py_True ? 1 : 0;
    }
    PyObject *number = PyNumber_Index(value);
    if (number == nullptr) bad_type(name_of(field), range_of(field), value);
    int overflow = 0;
    const long long small = PyLong_AsLongLongAndOverflow(number, &overflow);
    const std::uint64_t large = overflow > 0 ? PyLong_AsUnsignedLongLong(number) : 0;
    Py_DECREF(number);
    bool fits = PyErr_Occurred() == nullptr && overflow >= 0;
    if (overflow > 0) fits = fits && large <= largest(field);
    else if (small < 0)
        fits =
            fits && field.is_signed() && static_cast<std::uint64_t>(-(small + 1)) <= largest(field);
    else fits = fits && static_cast<std::uint64_t>(small) <= largest(field);
    if (!fits) bad_value(name_of(field), range_of(field), value);
    return overflow > 0 ? large : static_cast<std::uint64_t>(small);
}

Text text_of(PyObject *value, const char *name) {
    PyObject *bytes = nullptr;
    if (PyUnicode_Check(value))
        bytes = PyUnicode_AsEncodedString(value, "utf-8", "surrogateescape");
    else if (PyBytes_Check(value)) bytes = Py_NewRef(value);
    else bad_type(name, "a str or bytes", value);
    Reference owner(bytes);
    const Py_ssize_t length = PyBytes_GET_SIZE(owner.get());
    if (static_cast<std::uint64_t>(length) > std::numeric_limits<std::uint32_t>::max())
        throw Failure(Problem::bad_value, E2BIG,
                      std::string(name) + ": expected a text of less than 4 GiB");
    const char *first = PyBytes_AS_STRING(owner.get());
    return {std::move(owner), first, static_cast<std::uint32_t>(length)};
}

void refer(ip_address &address, PyObject *value, const char *name) {
    constexpr const char *expected = "an address of `ipaddress`, its text or bytes, or None";
    tarn::address found;
    if (PyUnicode_Check(value)) {
        const Text text = text_of(value, name);
        const auto parsed = tarn::address::try_parse(std::string(text.bytes, text.length));
        if (!parsed) bad_value(name, expected, value);
        found = *parsed;
    } else if (value != Py_None) {
        PyObject *packed =
            PyBytes_Check(value) ? Py_NewRef(value) : PyObject_GetAttrString(value, "packed");
        if (packed == nullptr || !PyBytes_Check(packed)) {
            Py_XDECREF(packed);
            bad_type(name, expected, value);
        }
        const Reference owner(packed);
        const Py_ssize_t size = PyBytes_GET_SIZE(packed);
        if (size != 4 && size != 16) bad_value(name, expected, value);
        found = tarn::address(size == 4 ? KEL_ADDRESS_IPV4 : KEL_ADDRESS_IPV6,
                              PyBytes_AS_STRING(packed));
    }
    address = found.to_c();
}

void set_value(const Access &at, const Field &field, PyObject *value) {
    need_field(at, field);
    const std::string name = name_of(field);
    if (field.kind == Kind::vstring) {
        const Text text = text_of(value, name.c_str());
        kel_vstring source;
        kel_vstring_refer(&source, text.bytes, text.length);
        return set_object(at, field, &source);
    }
    if (field.kind == Kind::address) {
        ip_address source;
        refer(source, value, name.c_str());
        return set_object(at, field, &source);
    }
    if (field.kind == Kind::array) return set_elements(at, field, value);
    set_number(at, field, 0, value);
}

bool is_value(const Access &at, const Field &field, PyObject *value) {
    const std::string name = name_of(field);
    if (field.kind == Kind::vstring) {
        const Text text = text_of(value, name.c_str());
        std::uint32_t length = 0;
        const char *bytes =
            kel_vstring_bytes(static_cast<const kel_vstring *>(object_of(at, field)), &length);
        return std::string_view(bytes, length) == std::string_view(text.bytes, text.length);
    }
    if (field.kind == Kind::address) {
        ip_address wanted;
        refer(wanted, value, name.c_str());
        const auto *found = static_cast<const ip_address *>(object_of(at, field));
        return tarn::address(*found) == tarn::address(wanted);
    }
    return number_of(value, field) == plain_value(at, field);
}

void set_element(const Access &at, const Field &field, std::uint32_t index, PyObject *value) {
    need_field(at, field);
    set_number(at, field, index, value);
}

Reference tuple_of(const Access &at, const Structure &structure) {
    Reference tuple(PyTuple_New(static_cast<Py_ssize_t>(structure.fields.size())));
    Py_ssize_t place = 0;
    for (const Field &field : structure.fields) {
        Reference value = field.structure != nullptr ? tuple_of(inside(at, field), *field.structure)
                                                     : value_of(at, field);
        PyTuple_SET_ITEM(tuple.get(), place++, value.release());
    }
    return tuple;
}

void set_from_tuple(const Access &at, const Structure &structure, PyObject *values) {
    std::string names;
    for (const Field &field : structure.fields)
        names += (names.empty() ? "" : ", ") + name_of(field);
    const std::string name(structure.name);
    const std::string expected = "a tuple (" + names + ")";
    const bool is_list = PyTuple_Check(values) || PyList_Check(values);
    if (!is_list) bad_type(name, expected, values);
    const Reference list(PySequence_Fast(values, "a key"));
    if (PySequence_Fast_GET_SIZE(list.get()) != static_cast<Py_ssize_t>(structure.fields.size()))
        bad_type(name, expected, values);
    Py_ssize_t place = 0;
    for (const Field &field : structure.fields) {
        PyObject *value = PySequence_Fast_GET_ITEM(list.get(), place++);
        if (field.structure != nullptr) set_from_tuple(inside(at, field), *field.structure, value);
        else set_value(at, field, value);
    }
}

}  // namespace tarnbase::python
