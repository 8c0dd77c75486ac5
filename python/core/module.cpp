// SPDX-License-Identifier: Apache-2.0
//
// The extension module tarnbase._core: what the files beside it do, as Python calls it. The
// package's own modules make the interface of it.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "columns.h"
#include "store.h"
#include "tarnbase/module.h"
#include "walk.h"

namespace py = pybind11;

namespace tarnbase::python {
namespace {

using Shared = std::shared_ptr<Store>;
using SharedTable = std::shared_ptr<Table>;

py::object taken(Reference made) { return py::reinterpret_steal<py::object>(made.release()); }

// The elements of an array field as they were when it was read.
struct Array {
    Object object;
    std::size_t field;
    std::string bytes;
};

// ---- Failures.

void raise(Problem problem, std::uint32_t number, const char *message) {
    const py::object made = py::module_::import("tarnbase.errors")
                                .attr("failure")(static_cast<int>(problem), number, message);
    PyErr_SetObject(reinterpret_cast<PyObject *>(Py_TYPE(made.ptr())), made.ptr());
}

void translate(std::exception_ptr thrown) {
    try {
        if (thrown) std::rethrow_exception(thrown);
    } catch (const Failure &failure) {
        raise(failure.problem(), failure.number(), failure.what());
    } catch (const tarn::error &error) {
        raise(Problem::store, error.number(), error.what());
    } catch (const Raised &) {
        // Python's error is set.
    }
}

// ---- The schema.

py::list enumerations() {
    py::list all;
    for (const auto *each : catalogue::schema.enumerations) {
        py::list enumerators;
        for (const auto &enumerator : each->enumerators)
            enumerators.append(py::make_tuple(enumerator.name, enumerator.value));
        all.append(py::make_tuple(each->name, each->meaning, enumerators));
    }
    return all;
}

py::list structures() {
    py::list all;
    for (const auto *each : catalogue::schema.structures) {
        py::list fields;
        for (const Field &field : each->fields)
            fields.append(py::make_tuple(field.name, field.meaning, field.unit, field.facts().name,
                                         field.type, field.elements, field.first_variant));
        all.append(py::make_tuple(each->name, each->meaning, fields));
    }
    return all;
}

py::list tables() {
    const auto name_or_none = [](const auto *item) -> py::object {
        if (item == nullptr) return py::none();
        return py::str(std::string(item->name));
    };
    py::list all;
    for (const auto *each : catalogue::schema.tables)
        all.append(py::make_tuple(each->name, each->meaning, each->type->name,
                                  name_or_none(each->key_type), name_or_none(each->key_field),
                                  py::bytes(reinterpret_cast<const char *>(each->luid), 16)));
    return all;
}

const catalogue::Table &table_named(const std::string &name) {
    const catalogue::Table *found = catalogue::schema.table(name);
    if (found == nullptr) throw Failure(Problem::no_key, ENOENT, "the schema has no table " + name);
    return *found;
}

Making making_of(bool tracked, const std::vector<std::pair<std::string, int>> &variants) {
    Making making;
    making.tracked = tracked;
    for (const auto &[name, variant] : variants) {
        const Structure *found = catalogue::schema.structure(name);
        if (found == nullptr)
            throw Failure(Problem::no_key, ENOENT, "the schema has no structure " + name);
        making.variants.emplace_back(found->descriptor, static_cast<std::int8_t>(variant));
    }
    return making;
}

// ---- Stores.

py::dict description_of(Store &store) {
    const Reading reading(store);
    const kel_store_description now = store.get().describe();
    py::dict members;
    members["capacity"] = now.capacity;
    members["size"] = now.size;
    members["blocks"] = now.blocks;
    members["block_bytes"] = now.block_bytes;
    members["free_bytes"] = now.free_bytes;
    members["committed"] = now.committed;
    members["rolled_back"] = now.rolled_back;
    members["tables"] = now.tables;
    members["writable"] = now.writable != 0;
    return members;
}

void set_journal(Store &store, bool enabled, std::uint64_t keep_bytes, std::uint64_t keep_seconds) {
    kel_journal_settings settings{};
    settings.enabled = enabled ? 1 : 0;
    settings.keep_bytes = keep_bytes;
    settings.keep_seconds = keep_seconds;
    store.set_journal(settings);
}

std::uint64_t sequence_at(const std::string &path, std::uint64_t time) {
    return tarn::replica::sequence_at(path, time);
}

// ---- Changes of a replica.

py::object object_or_none(const SharedTable &table, const kel_record *record) {
    if (record == nullptr) return py::none();
    return py::cast(table->wrap(const_cast<kel_record *>(record)));
}

py::dict transaction_of(const Store &store) {
    const kel_replica_transaction &last = store.replica().transaction();
    py::dict members;
    members["sequence"] = last.sequence;
    members["time"] = last.time;
    members["pid"] = last.pid;
    members["uid"] = last.uid;
    members["command"] = last.command == nullptr ? "" : last.command;
    members["label"] = last.label == nullptr ? "" : last.label;
    return members;
}

// At most `count` of them, from the number `first` on.
py::list changes_of(const Shared &store, std::uint64_t first, std::uint64_t count) {
    const Reading reading(*store);
    const kel_replica_transaction &last = store->replica().transaction();
    py::list changes;
    for (std::uint64_t i = first; i < last.change_count && i - first < count; ++i) {
        const kel_replica_change &each = last.changes[i];
        const SharedTable table = Table::of(store, each.table);
        if (table == nullptr) continue;
        changes.append(py::make_tuple(table, each.what, object_or_none(table, each.before),
                                      object_or_none(table, each.after)));
    }
    return changes;
}

int advance(Store &store) { return static_cast<int>(store.advance(nullptr, nullptr)); }

int advance_record(Store &store, Table &table, const py::object &key, std::uint8_t source) {
    const KeyObject object(table.type(), key.ptr());
    const kel_record place = object.place(current_tenant(), source);
    kel_table *block = nullptr;
    {
        const Reading reading(store);
        block = table.block();
    }
    return static_cast<int>(store.advance(block, &place));
}

// ---- Buffers.

py::buffer_info info_of(const Buffer &buffer) {
    static const unsigned char nothing = 0;
    std::vector<py::ssize_t> shape(buffer.shape.begin(), buffer.shape.end());
    std::vector<py::ssize_t> strides(shape.size());
    auto stride = static_cast<py::ssize_t>(buffer.item_size);
    for (std::size_t i = shape.size(); i-- > 0; stride *= shape[i]) strides[i] = stride;
    const unsigned char *first = buffer.bytes.empty() ? &nothing : buffer.bytes.data();
    return py::buffer_info(const_cast<unsigned char *>(first),
                           static_cast<py::ssize_t>(buffer.item_size), buffer.format,
                           static_cast<py::ssize_t>(shape.size()), shape, strides, true);
}

py::list texts_of(const Column &column) {
    py::list all;
    const auto *bytes = reinterpret_cast<const char *>(column.values->bytes.data());
    const unsigned char *at = column.offsets->bytes.data();
    std::int64_t begin = 0;
    for (std::size_t i = 0; i < column.rows; ++i) {
        std::int64_t end = 0;
        std::memcpy(&end, at + (i + 1) * sizeof end, sizeof end);
        all.append(taken(Reference(PyUnicode_DecodeUTF8(
            bytes + begin, static_cast<Py_ssize_t>(end - begin), "surrogateescape"))));
        begin = end;
    }
    return all;
}

py::list list_of(const Column &column) {
    py::list values = column.offsets != nullptr
                          ? texts_of(column)
                          : py::list(py::memoryview(py::cast(column.values)).attr("tolist")());
    for (std::size_t i = 0; i < column.rows; ++i) {
        if (column.valid->bytes[i] == 0) values[i] = py::none();
    }
    return values;
}

Array array_of(const Object &object, std::size_t field) {
    const Reference bytes = object.get(field);
    return {object, field,
            std::string(PyBytes_AS_STRING(bytes.get()),
                        static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.get())))};
}

std::size_t index_in(const Array &array, py::ssize_t index) {
    const auto size = static_cast<py::ssize_t>(array.bytes.size());
    if (index < 0) index += size;
    if (index < 0 || index >= size) throw py::index_error("the array has no such element");
    return static_cast<std::size_t>(index);
}

// ---- The classes.

void define_store(py::module_ &module) {
    py::class_<Store, Shared>(module, "Store")
        .def_static("open",
                    [](const std::string &path, int how, std::uint64_t capacity) {
                        return Store::open(path, static_cast<Opening>(how), capacity);
                    })
        .def_static("private", &Store::make_private)
        .def_static("at", &Store::at)
        .def("close", &Store::close)
        .def_property_readonly("closed", &Store::is_closed)
        .def_property_readonly("path", &Store::path)
        .def_property_readonly("writable", &Store::is_writable)
        .def_property_readonly("advances", &Store::is_replica)
        .def("begin",
             [](Store &store, const std::string &label, bool tracked,
                const std::vector<std::pair<std::string, int>> &variants) {
                 store.begin(label, making_of(tracked, variants));
             })
        .def("commit", &Store::commit)
        .def("roll_back", &Store::roll_back)
        .def_property_readonly("in_transaction", &Store::in_transaction)
        .def("begin_snapshot", &Store::begin_snapshot)
        .def("end_snapshot", &Store::end_snapshot)
        .def("refresh", &Store::refresh)
        .def("wait", &Store::wait)
        .def("sync", &Store::sync)
        .def("back_up", &Store::back_up)
        .def("compact", &Store::compact)
        .def("set_patience", &Store::set_patience)
        .def("set_journal", &set_journal)
        .def("describe", &description_of)
        .def("tables", [](const Shared &store) { return Table::all(store); })
        .def("make_table",
             [](const Shared &store, const std::string &type, const std::string &name) {
                 return Table::make(store, table_named(type), name);
             })
        .def("advance", &advance)
        .def("advance_record", &advance_record)
        .def_property_readonly("sequence",
                               [](const Store &store) { return store.replica().sequence(); })
        .def_property_readonly(
            "missed", [](const Store &store) { return store.replica().transaction().missed; })
        .def("transaction", &transaction_of)
        .def_property_readonly(
            "change_count",
            [](const Store &store) { return store.replica().transaction().change_count; })
        .def("changes", &changes_of);
}

Choice choice_of(std::optional<std::uint8_t> source, bool every_tenant) {
    return {source, every_tenant};
}

void define_table(py::module_ &module) {
    py::class_<Walk>(module, "Walk")
        .def("__iter__", [](py::object self) { return self; })
        .def("__next__", [](Walk &walk) {
            auto found = walk.next();
            if (!found) throw py::stop_iteration();
            return std::move(*found);
        });
    py::class_<Table, SharedTable>(module, "Table")
        .def_property_readonly("type", [](const Table &table) { return table.type().name; })
        .def_property_readonly("name", &Table::name)
        .def_property_readonly("full_name", &Table::full_name)
        .def("drop", &Table::drop)
        .def("count",
             [](Table &table, std::optional<std::uint8_t> source, bool every_tenant) {
                 return table.count(choice_of(source, every_tenant));
             })
        .def("find", [](Table &table, const py::object &key,
                        std::uint8_t source) { return table.find(key.ptr(), source); })
        .def("walk",
             [](const SharedTable &table, std::optional<std::uint8_t> source, bool every_tenant,
                const py::object &first, const py::object &last, bool backward) {
                 return std::make_unique<Walk>(table, choice_of(source, every_tenant), first.ptr(),
                                               last.ptr(), backward);
             })
        .def("columns",
             [](Table &table, const std::vector<std::string> &names,
                std::optional<std::uint8_t> source, bool every_tenant) {
                 return columns_of(table, names, choice_of(source, every_tenant));
             })
        .def("make", [](Table &table, const py::object &key,
                        std::uint8_t source) { return table.make_record(key.ptr(), source); })
        .def("read_wire", [](Table &table, const py::bytes &frame,
                             std::uint8_t source) { return table.read_wire(frame, source); })
        .def("read_xml", [](Table &table, const std::string &text) { return table.read_xml(text); })
        .def("insert", &Table::insert)
        .def("discard", &Table::discard)
        .def("erase", &Table::erase);
}

void define_object(py::module_ &module) {
    py::class_<Object>(module, "Object")
        .def("get",
             [](const Object &object, std::size_t field) { return taken(object.get(field)); })
        .def("set", [](const Object &object, std::size_t field,
                       const py::object &value) { object.set(field, value.ptr()); })
        .def("inner", &Object::inner)
        .def_property_readonly("table", &Object::table)
        .def_property_readonly("structure",
                               [](const Object &object) { return object.structure().name; })
        .def("key", [](const Object &object) { return taken(object.key()); })
        .def_property_readonly("tenant", &Object::tenant)
        .def_property_readonly("source", &Object::source)
        .def_property_readonly("pending", &Object::is_pending)
        .def_property_readonly("has_data", &Object::has_data)
        .def_property_readonly("variant", &Object::variant)
        .def("text", &Object::text)
        .def("xml", &Object::xml)
        .def("wire", [](const Object &object) { return py::bytes(object.wire()); })
        .def("flags",
             [](const Object &object, bool of_key) -> py::object {
                 const auto flags = object.flags(of_key);
                 if (!flags) return py::none();
                 py::dict found;
                 for (const auto &[path, flag] : *flags) found[py::str(path)] = flag;
                 return found;
             })
        .def("set_flag", &Object::set_flag);
    py::class_<Array>(module, "Array", py::buffer_protocol(),
                      "The elements of an array as they were when it was read. It is a buffer; "
                      "setting an element sets it in the record too.")
        .def(py::init(&array_of))
        .def("__len__", [](const Array &array) { return array.bytes.size(); })
        .def("__getitem__",
             [](const Array &array, py::ssize_t index) {
                 return static_cast<unsigned char>(array.bytes[index_in(array, index)]);
             })
        .def("__getitem__",
             [](const Array &array, const py::slice &slice) {
                 return py::object(py::bytes(array.bytes)[slice]);
             })
        .def("__setitem__",
             [](Array &array, py::ssize_t index, const py::object &value) {
                 const std::size_t at = index_in(array, index);
                 array.object.set_element(array.field, static_cast<std::uint32_t>(at), value.ptr());
                 array.bytes[at] = static_cast<char>(value.cast<unsigned char>());
             })
        .def("tobytes", [](const Array &array) { return py::bytes(array.bytes); })
        .def_buffer([](Array &array) {
            return py::buffer_info(array.bytes.data(), 1, "B", 1,
                                   {static_cast<py::ssize_t>(array.bytes.size())}, {1}, true);
        });
}

void define_columns(py::module_ &module) {
    py::class_<Buffer, std::shared_ptr<Buffer>>(module, "Buffer", py::buffer_protocol())
        .def_buffer([](Buffer &buffer) { return info_of(buffer); })
        .def("__len__", [](const Buffer &buffer) { return buffer.shape.front(); })
        .def_property_readonly("nbytes", [](const Buffer &buffer) { return buffer.bytes.size(); });
    py::class_<Column>(module, "Column", py::buffer_protocol(),
                       "A field of all records. Its buffer is that of `values`.")
        .def_readonly("name", &Column::name)
        .def_readonly("values", &Column::values)
        .def_readonly("offsets", &Column::offsets)
        .def_readonly("valid", &Column::valid)
        .def_property_readonly("fixed", &Column::fixed)
        .def("tolist", &list_of)
        .def("__len__", [](const Column &column) { return column.rows; })
        .def_buffer([](Column &column) { return info_of(*column.values); });
}

}  // namespace

PYBIND11_MODULE(_core, module) {
    tarnbase_table_vft_init();
    py::register_exception_translator(&translate);
    module.def("enumerations", &enumerations);
    module.def("structures", &structures);
    module.def("tables", &tables);
    module.def("sequence_at", &sequence_at);
    module.def("tenant", &current_tenant);
    module.def("set_tenant", &kel_thread_set_tenant);
    module.attr("OLDEST") = tarn::replica::oldest;
    module.attr("NEWEST") = tarn::replica::newest;
    define_store(module);
    define_table(module);
    define_object(module);
    define_columns(module);
}

}  // namespace tarnbase::python
