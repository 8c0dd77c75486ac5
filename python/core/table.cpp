// SPDX-License-Identifier: Apache-2.0
#include "table.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

#include "tarnbase/tarn/forms.hpp"
#include "tarnbase/tarn/tenant.hpp"
#include "tarnbase/tarn/trace.hpp"
#include "tarnbase/tarn/tracking.hpp"
#include "tarnbase/tarn/xml.hpp"

namespace tarnbase::python {
namespace {

// The results of an index's order.
constexpr std::uint32_t before = 0;

kel_record *record_of(kel_index_node *node) {
    if (node == nullptr) return nullptr;
    return reinterpret_cast<kel_record *>(reinterpret_cast<char *>(node) -
                                          offsetof(kel_record, index_node));
}

std::string_view key_of(const kel_table &block) {
    return {block.table_name, strnlen(block.table_name, sizeof block.table_name)};
}

// What ends the key of a table that was opened by name: a slash and the LUID as text.
std::string suffix_of(const catalogue::Table &type) {
    return std::string("/") + type.descriptor->luid_text;
}

// The key says it; the descriptor may be in the memory of another process.
const catalogue::Table *type_of(Store &store, const kel_table &block) {
    const auto &types = catalogue::schema.tables;
    const auto find = [&](auto condition) -> const catalogue::Table * {
        const auto found = std::find_if(types.begin(), types.end(), condition);
        return found == types.end() ? nullptr : *found;
    };
    if (const auto *by_key = find([&](const catalogue::Table *each) {
            return key_of(block).ends_with(suffix_of(*each));
        }))
        return by_key;
    if (const auto *own = find(
            [&](const catalogue::Table *each) { return block.descriptor == each->descriptor; }))
        return own;
    if (!store.holds(block.descriptor)) return nullptr;
    return catalogue::schema.table_of(*block.descriptor);
}

std::string name_of(const catalogue::Table &type, const kel_table &block) {
    if (block.open_mode != KEL_OPEN_BY_NAME) return "#" + std::to_string(block.table_id);
    const std::string key(key_of(block));
    const std::string suffix = suffix_of(type);
    return key.ends_with(suffix) ? key.substr(0, key.size() - suffix.size()) : key;
}

// A private store for the objects of keys, until the process ends.
kel_handle *scratch() {
    constexpr std::uint64_t capacity = 64ULL << 20;
    static auto *const store = new tarn::store(tarn::store::create_private({capacity, nullptr}));
    static auto *const session = new tarn::session(*store);
    return session->c_handle();
}

// A key in the form that a search takes.
class Probe {
 public:
    Probe(const catalogue::Table &type, PyObject *key) {
        if (type.key_type != nullptr) {
            object_.emplace(type, key);
            return;
        }
        const Field &field = *type.key_field;
        const std::string name(field.name);
        if (field.kind == Kind::vstring) {
            text_.emplace(text_of(key, name.c_str()));
            kel_vstring_refer(&string_, text_->bytes, text_->length);
        } else if (field.kind == Kind::address) {
            refer(address_, key, name.c_str());
            is_address_ = true;
        } else {
            number_ = static_cast<std::uint32_t>(number_of(key, field));
        }
    }
    const void *get() const {
        if (object_) return object_->get();
        if (text_) return &string_;
        return is_address_ ? static_cast<const void *>(&address_) : &number_;
    }

 private:
    std::optional<KeyObject> object_;
    std::optional<Text> text_;
    kel_vstring string_{};
    ip_address address_{};
    bool is_address_ = false;
    std::uint32_t number_ = 0;
};

// Makes an object and gives it to a record. Returns the object.
template <typename SetObject>
void *attach(kel_handle *handle, const Structure &structure, kel_record *record,
             SetObject set_object) {
    const std::uint32_t tx_id = handle->cr_tx_id;
    void *object = structure.create(handle, tx_id);
    if (object == nullptr)
        throw tarn::detail::make_error(ENOMEM, "making a", structure.descriptor->name);
    kel_clear_last_error(handle);
    set_object(handle, tx_id, record, object);
    if (handle->last_error == 0) return object;
    const std::uint32_t err = handle->last_error;
    structure.destroy(handle, tx_id, object);
    throw tarn::detail::make_error(err, "making a", structure.descriptor->name);
}

// The fields of a frame besides its header.
constexpr std::size_t luid_size = 16;
constexpr std::size_t luid_offset = KEL_MESSAGE_HEADER_SIZE;
constexpr std::size_t least_frame = luid_offset + luid_size;

void collect_flags(const Access &at, const Structure &structure, const std::string &prefix,
                   std::vector<Object::Flag> &flags) {
    for (const Field &field : structure.fields) {
        if (!has(at.object, field)) return;
        const std::string path = prefix + std::string(field.name);
        std::uint32_t err = 0;
        const auto note = [&](const std::string &name, std::uint8_t flag) {
            if (err == 0 && flag != 0) flags.push_back({name, flag});
        };
        note(path, field.call.state_flag(at.handle, at.tx_id, at.object, &err));
        for (std::uint32_t i = 0; i < field.elements; ++i)
            note(path + "[" + std::to_string(i) + "]",
                 field.call.element_state_flag(at.handle, at.tx_id, at.object, i, &err));
        if (err != 0) throw tarn::detail::make_error(err, "reading the state of", path.c_str());
        if (field.structure != nullptr)
            collect_flags(inside(at, field), *field.structure, path + ".", flags);
    }
}

bool is_tracked(const void *object) {
    return object != nullptr &&
           (static_cast<const kel_object *>(object)->flags & OBJ_STATE_TRACKED) != 0;
}

}  // namespace

std::uint16_t current_tenant() {
    std::uint16_t tenant = 0;
    mt_get_tenant_id(&tenant);
    return tenant;
}

KeyObject::KeyObject(const catalogue::Table &type, PyObject *key)
    : type_(type), object_(type.key_carrier().create(scratch(), KEL_TX_NONE)) {
    if (object_ == nullptr)
        throw tarn::detail::make_error(ENOMEM, "making a key of", type.descriptor->name);
    try {
        const Access at{scratch(), KEL_TX_NONE, object_};
        if (type.key_type != nullptr) set_from_tuple(at, *type.key_type, key);
        else set_value(at, *type.key_field, key);
    } catch (...) {
        type_.key_carrier().destroy(scratch(), KEL_TX_NONE, object_);
        throw;
    }
}

KeyObject::~KeyObject() { type_.key_carrier().destroy(scratch(), KEL_TX_NONE, object_); }

kel_record KeyObject::place(std::uint16_t tenant, std::uint8_t source) const {
    kel_record place{};
    place.tenant_id = tenant;
    place.src = source;
    (type_.key_type != nullptr ? place.key_object : place.object) = object_;
    return place;
}

// ---- Objects.

Object::Object(std::shared_ptr<Table> table, kel_record *record)
    : table_(std::move(table)),
      validity_(table_->store().validity()),
      record_(record),
      seen_(validity_->deletions()) {}

kel_record *Object::record() const {
    const char *why = validity_->why();
    if (why == nullptr && validity_->was_deleted(record_, seen_)) why = "it has been deleted";
    if (why == nullptr) return record_;
    throw Failure(Problem::stale, ESTALE,
                  "a record of " + table_->full_name() + ": " + why + "; look it up again");
}

Access Object::access() const {
    kel_handle *handle = table_->store().handle();
    const std::uint32_t tx_id = handle->cr_tx_id;
    Access at{handle, tx_id, table_->type().object(handle, tx_id, record())};
    for (const Field *field : path_) at = inside(at, *field);
    return at;
}

// Failures of `call` say which record it was.
template <typename Call>
auto Object::naming(Call call) const {
    const auto where = [&]() -> std::string {
        try {
            const Reference found = key();
            const Reference text(PyObject_Repr(found.get()));
            const char *bytes = PyUnicode_AsUTF8(text.get());
            return table_->full_name() + " " + (bytes == nullptr ? "" : bytes) + ": ";
        } catch (...) {
            PyErr_Clear();
            return table_->full_name() + ": ";
        }
    };
    try {
        return call();
    } catch (const Failure &failure) {
        if (failure.problem() == Problem::stale) throw;
        throw Failure(failure.problem(), failure.number(), where() + failure.what());
    } catch (const tarn::error &error) {
        throw tarn::error(error.number(), where() + error.what());
    }
}

const Structure &Object::structure() const {
    return path_.empty() ? *table_->type().type : *path_.back()->structure;
}

Reference Object::get(std::size_t field) const {
    const Reading reading(table_->store());
    return naming([&] { return value_of(access(), structure().fields[field]); });
}

void Object::set(std::size_t number, PyObject *value) const {
    table_->store().need_transaction("setting a field");
    const Field &field = structure().fields[number];
    naming([&] {
        const bool is_key = &field == table_->type().key_field && path_.empty();
        if (is_key && is_value(access(), field, value)) return;
        if (is_key)
            throw Failure(
                Problem::not_possible, EINVAL,
                std::string(field.name) + " is the key, which can't be set: insert another record");
        set_value(access(), field, value);
    });
}

void Object::set_element(std::size_t field, std::uint32_t index, PyObject *value) const {
    table_->store().need_transaction("setting a field");
    naming([&] { python::set_element(access(), structure().fields[field], index, value); });
}

Object Object::inner(std::size_t number) const {
    const Reading reading(table_->store());
    const Field &field = structure().fields[number];
    naming([&] { inside(access(), field); });
    Object found = *this;
    found.path_.push_back(&field);
    return found;
}

Reference Object::key() const {
    const Reading reading(table_->store());
    const catalogue::Table &type = table_->type();
    kel_handle *handle = table_->store().handle();
    const std::uint32_t tx_id = handle->cr_tx_id;
    if (type.key_type == nullptr)
        return value_of({handle, tx_id, type.object(handle, tx_id, record())}, *type.key_field);
    return tuple_of({handle, tx_id, type.key_object(handle, tx_id, record())}, *type.key_type);
}

std::uint16_t Object::tenant() const {
    const Reading reading(table_->store());
    return record()->tenant_id;
}

std::uint8_t Object::source() const {
    const Reading reading(table_->store());
    return record()->src;
}

bool Object::is_pending() const {
    const Reading reading(table_->store());
    return (record()->flags & KEL_RECORD_PENDING_DESTROY) != 0;
}

bool Object::has_data() const {
    const Reading reading(table_->store());
    return record()->object != nullptr;
}

int Object::variant() const {
    const Reading reading(table_->store());
    const auto *object = static_cast<const kel_object *>(access().object);
    if (object == nullptr) throw Failure(Problem::no_field, EIDRM, "the record has no data object");
    return object->variant;
}

std::string Object::text() const {
    const Reading reading(table_->store());
    kel_record *const self = record();
    kel_handle *handle = table_->store().handle();
    const auto print = [&](char *buffer, std::uint32_t size, std::uint32_t *err) {
        return table_->type().print(handle, handle->cr_tx_id, buffer, self, size, err);
    };
    return tarn::text_form("printing", table_->type().descriptor->name, print).value();
}

std::string Object::xml() const {
    const Reading reading(table_->store());
    kel_record *const self = record();
    kel_handle *handle = table_->store().handle();
    const auto write = [&](char *buffer, std::uint32_t size, std::uint32_t *err) {
        return table_->type().to_xml(handle, handle->cr_tx_id, buffer, self, size, err);
    };
    return tarn::text_form("writing the XML of", table_->type().descriptor->name, write).value();
}

std::string Object::wire() const {
    const Reading reading(table_->store());
    kel_record *const self = record();
    kel_handle *handle = table_->store().handle();
    const std::uint32_t tx_id = handle->cr_tx_id;
    const catalogue::Table &type = table_->type();
    const std::uint32_t length = type.len(handle, tx_id, self);
    // A handle that tracks state may write a byte more.
    std::string frame(length + std::size_t{1}, '\0');
    std::uint32_t err = 0;
    const std::uint32_t written = type.marshal(handle, tx_id, frame.data(), self, length, &err);
    if (err != 0)
        throw tarn::detail::make_error(err, "writing the wire form of", type.descriptor->name);
    frame.resize(written);
    return frame;
}

std::optional<std::vector<Object::Flag>> Object::flags(bool of_key) const {
    const Reading reading(table_->store());
    const catalogue::Table &type = table_->type();
    Access at = of_key ? Access{} : access();
    if (of_key) {
        if (type.key_type == nullptr) return std::nullopt;
        kel_handle *handle = table_->store().handle();
        at = {handle, handle->cr_tx_id, type.key_object(handle, handle->cr_tx_id, record())};
    }
    if (!is_tracked(at.object)) return std::nullopt;
    const tarn::tracking_scope scope(at.handle, tarn::tracking::existing);
    std::vector<Flag> flags;
    collect_flags(at, of_key ? *type.key_type : structure(), "", flags);
    return flags;
}

void Object::set_flag(std::size_t number, std::uint8_t flag) const {
    table_->store().need_transaction("setting a state flag");
    naming([&] {
        const Access at = access();
        const Field &field = structure().fields[number];
        if (!is_tracked(at.object))
            throw Failure(Problem::not_possible, EINVAL, "the object has no state flags");
        const tarn::tracking_scope scope(at.handle, tarn::tracking::existing);
        std::uint32_t err = 0;
        field.call.set_state_flag(at.handle, at.tx_id, at.object, flag, &err);
        if (err != 0) throw tarn::error(err, "setting the state of " + std::string(field.name));
    });
}

// ---- Tables.

Table::Table(std::shared_ptr<Store> store, const catalogue::Table &type, const kel_table &block)
    : store_(std::move(store)),
      type_(type),
      key_(key_of(block)),
      id_(block.open_mode == KEL_OPEN_BY_NAME ? 0 : block.table_id),
      name_(python::name_of(type, block)) {}

std::string Table::full_name() const {
    return std::string(type_.name) + (id_ == 0 ? ":" : "") + name_;
}

void Table::fail(Problem problem, std::uint32_t number, const std::string &what) const {
    throw Failure(problem, number, full_name() + ": " + what);
}

void Table::need(std::uint32_t err, const char *doing) const {
    if (err != 0) throw tarn::detail::make_error(err, doing, full_name().c_str());
}

std::shared_ptr<Table> Table::of(const std::shared_ptr<Store> &store, kel_table *block) {
    const catalogue::Table *type = type_of(*store, *block);
    if (type == nullptr) return nullptr;
    return std::make_shared<Table>(store, *type, *block);
}

std::vector<std::shared_ptr<Table>> Table::all(const std::shared_ptr<Store> &store) {
    const Reading reading(*store);
    std::vector<std::shared_ptr<Table>> found;
    for (kel_table *block : store->get().tables()) {
        if (auto table = of(store, block)) found.push_back(std::move(table));
    }
    const auto &types = catalogue::schema.tables;
    const auto place = [&](const auto &each) {
        return std::find(types.begin(), types.end(), &each->type_);
    };
    std::sort(found.begin(), found.end(), [&](const auto &a, const auto &b) {
        return &a->type_ != &b->type_ ? place(a) < place(b) : a->name_ < b->name_;
    });
    return found;
}

std::shared_ptr<Table> Table::make(const std::shared_ptr<Store> &store,
                                   const catalogue::Table &type, const std::string &name) {
    for (auto &each : all(store)) {
        if (&each->type_ == &type && each->name_ == name) return each;
    }
    std::shared_ptr<Table> made;
    const std::string text = std::string(type.name) + ":" + name;
    store->as_writer([&] {
        std::uint32_t err = 0;
        kel_table *block = type.open(store->handle(), KEL_TX_NONE, name.c_str(), 0, &err);
        if (block == nullptr)
            throw tarn::detail::make_error(err == 0 ? ENOENT : err, "making", text.c_str());
        made = of(store, block);
        if (made == nullptr || &made->type_ != &type)
            throw Failure(Problem::not_possible, EINVAL,
                          text + ": the store has another table of this path");
    });
    return made;
}

void Table::drop() {
    store_->as_writer([&] {
        kel_table *const table = block();
        std::uint32_t err = table->record_count == 0 ? 0 : ENOTEMPTY;
        if (err == 0) type_.free(store_->handle(), KEL_TX_NONE, table, &err);
        store_->forget();
        need(err, "dropping");
    });
}

kel_table *Table::block() {
    const std::shared_ptr<Validity> &now = store_->validity();
    if (seen_ == now && block_ != nullptr) return block_;
    for (kel_table *each : store_->get().tables()) {
        const bool by_name = each->open_mode == KEL_OPEN_BY_NAME;
        const bool is_it =
            id_ == 0 ? by_name && key_of(*each) == key_ : !by_name && each->table_id == id_;
        if (!is_it || type_of(*store_, *each) != &type_) continue;
        block_ = each;
        seen_ = now;
        return block_;
    }
    fail(Problem::not_possible, ENOENT, "the store has no such table any more");
}

void Table::need_readable(const kel_record *record) {
    const auto *object = static_cast<const kel_object *>(record->object);
    const bool readable =
        store_->path().empty() || (store_->holds(record->descriptor) &&
                                   (object == nullptr || store_->holds(object->descriptor)));
    if (!readable)
        fail(Problem::store, EACCES,
             "only the process that made its records can read them: their descriptors aren't in "
             "the store");
}

Object Table::wrap(kel_record *record) {
    need_readable(record);
    return made(record);
}

Object Table::made(kel_record *record) { return Object(shared_from_this(), record); }

std::uint64_t Table::count(const Choice &choice) {
    const Reading reading(*store_);
    kel_table &table = *block();
    kel_handle *handle = store_->handle();
    const std::uint32_t tx_id = handle->cr_tx_id;
    const kel_record *last = record_of(e_avl_get_last(table.index_root));
    const bool has_tenants = last != nullptr && last->tenant_id != 0;
    if (choice.every_tenant || (current_tenant() == 0 && !has_tenants))
        return choice.source ? table.src_counts[*choice.source] : table.record_count;
    if (current_tenant() != 0)
        return choice.source ? type_.count_by_src(handle, tx_id, &table, *choice.source)
                             : type_.count(handle, tx_id, &table);
    // The table counts the records of tenant 0 with those of all others.
    std::uint64_t count = 0;
    for (kel_record *at = record_of(e_avl_get_first(table.index_root));
         at != nullptr && at->tenant_id == 0;
         at = record_of(e_avl_get_next(table.index_root, &at->index_node, type_.order)))
        count += !choice.source || *choice.source == at->src ? 1 : 0;
    return count;
}

std::optional<Object> Table::find(PyObject *key, std::uint8_t source) {
    const Probe probe(type_, key);
    const Reading reading(*store_);
    kel_handle *handle = store_->handle();
    std::uint32_t err = 0;
    kel_record *found =
        type_.search_w_src(handle, handle->cr_tx_id, block(), probe.get(), source, &err);
    need(err, "searching in");
    if (found == nullptr) return std::nullopt;
    return wrap(found);
}

void Table::attach_key(kel_record *record, PyObject *key) {
    kel_handle *handle = store_->handle();
    const std::uint32_t tx_id = handle->cr_tx_id;
    void *object = attach(handle, *type_.type, record, type_.set_object);
    if (type_.key_type == nullptr) return set_value({handle, tx_id, object}, *type_.key_field, key);
    object = attach(handle, *type_.key_type, record, type_.set_key_object);
    set_from_tuple({handle, tx_id, object}, *type_.key_type, key);
}

Object Table::make_record(PyObject *key, std::uint8_t source) {
    store_->need_transaction("inserting");
    kel_handle *handle = store_->handle();
    std::uint32_t err = 0;
    kel_record *record = type_.create_record(handle, handle->cr_tx_id, source, &err);
    need(record == nullptr && err == 0 ? ENOMEM : err, "making a record of");
    Object result = made(record);
    try {
        attach_key(record, key);
    } catch (const Failure &failure) {
        discard(result);
        throw Failure(failure.problem(), failure.number(), full_name() + ": " + failure.what());
    } catch (...) {
        discard(result);
        throw;
    }
    return result;
}

Object Table::read_wire(std::string_view frame, std::uint8_t source) {
    store_->need_transaction("reading a frame");
    const tarn::quiet_scope quiet;
    if (frame.size() < least_frame)
        fail(Problem::bad_value, EMSGSIZE,
             "expected a frame of at least " + std::to_string(least_frame) + " bytes, not " +
                 std::to_string(frame.size()));
    if (std::memcmp(frame.data() + luid_offset, type_.luid, luid_size) != 0)
        fail(Problem::bad_value, EINVAL, "the frame is another table's");
    kel_handle *handle = store_->handle();
    kel_record *record = nullptr;
    std::uint32_t err = 0;
    const std::uint32_t length = type_.unmarshal(handle, handle->cr_tx_id, &record, frame.data(),
                                                 static_cast<std::uint32_t>(frame.size()), 0, &err);
    if (record == nullptr) need(err == 0 ? ENOMEM : err, "reading a frame of");
    Object result = made(record);
    if (err == 0 && length == frame.size()) {
        record->src = source;
        return result;
    }
    discard(result);
    fail(Problem::bad_value, EINVAL,
         "the frame can't be read from byte " + std::to_string(length) + " on");
}

Object Table::read_xml(std::string_view text) {
    store_->need_transaction("reading a document");
    const tarn::quiet_scope quiet;
    auto document = tarn::xml_document::try_parse(text);
    if (!document) fail(Problem::bad_value, EINVAL, document.error().what());
    kel_handle *handle = store_->handle();
    std::uint32_t err = 0;
    char message[256] = "";
    kel_record *record = type_.from_xml(handle, handle->cr_tx_id, document->c_document(), &err,
                                        message, sizeof message);
    if (record != nullptr && err == 0) return made(record);
    if (record != nullptr) discard(made(record));
    fail(Problem::bad_value, err,
         std::string("the document isn't a record of it: ") +
             (message[0] != '\0' ? message : tarn::detail::meaning_of(err).c_str()));
}

// An insertion in an armed table goes to the replication stream too.
void Table::attach_replication() {
    const kel_table &table = *block();
    if (table.replication_marked == 0 || table.write_cursor_armed == 0) return;
    store_->writing_session().attach_replication();
}

void Table::insert(const Object &made) {
    store_->need_transaction("inserting");
    attach_replication();
    const tarn::quiet_scope quiet;
    kel_handle *handle = store_->handle();
    std::uint32_t err = 0;
    type_.insert(handle, handle->cr_tx_id, block(), made.record(), &err);
    if (err == 0) return;
    made.naming([&] {
        if (err == EEXIST)
            throw Failure(Problem::duplicate, EEXIST, "there is already a record of this key");
        throw tarn::error(err, "inserting it: " + tarn::detail::meaning_of(err));
    });
}

void Table::discard(const Object &object) {
    if (object.validity_->has_ended() || object.record_->table != nullptr) return;
    kel_handle *handle = store_->handle();
    std::uint32_t err = 0;
    object.validity_->note_deletion(object.record_);
    type_.destroy_record(handle, handle->cr_tx_id, object.record_, &err);
}

void Table::erase(const Object &object) {
    store_->need_transaction("deleting");
    kel_table *const table = block();
    kel_record *const record = object.record();
    if (table->replication_marked != 0)
        fail(Problem::not_possible, EINVAL,
             "it is marked for replication: only its replication engine deletes its records");
    // A deletion is counted for the thread's tenant.
    const tarn::tenant_scope tenant(record->tenant_id);
    kel_handle *handle = store_->handle();
    std::uint32_t err = 0;
    type_.erase(handle, handle->cr_tx_id, table, record, &err);
    if (err == 0) {
        object.validity_->note_deletion(record);
        type_.destroy_record(handle, handle->cr_tx_id, record, &err);
    }
    need(err, "deleting from");
}

// ---- Walks.

Walk::Walk(std::shared_ptr<Table> table, Choice choice, PyObject *first, PyObject *last,
           bool backward)
    : table_(std::move(table)), choice_(choice), tenant_(current_tenant()), backward_(backward) {
    const bool has_ends = first != Py_None || last != Py_None;
    if (choice.every_tenant && has_ends)
        throw Failure(Problem::bad_value, EINVAL,
                      "a range of keys is of one tenant: leave out `every_tenant`");
    if (first != Py_None) first_.emplace(table_->type(), first);
    if (last != Py_None) last_.emplace(table_->type(), last);
}

kel_record *Walk::step(kel_table &block, const kel_record &from) const {
    const auto move = backward_ ? e_avl_get_prev : e_avl_get_next;
    return record_of(move(block.index_root, &from.index_node, table_->type().order));
}

kel_record *Walk::begin(kel_table &block) const {
    if (choice_.every_tenant)
        return record_of(backward_ ? e_avl_get_last(block.index_root)
                                   : e_avl_get_first(block.index_root));
    kel_record place{};
    place.tenant_id = tenant_;
    if (!backward_) {
        if (first_) place = first_->place(tenant_, 0);
        kel_index_node *found =
            e_avl_search(block.index_root, &place.index_node, table_->type().order);
        return found != nullptr ? record_of(found) : step(block, place);
    }
    if (last_) return step(block, last_->place(tenant_, 0));
    if (tenant_ == UINT16_MAX) return record_of(e_avl_get_last(block.index_root));
    place.tenant_id = static_cast<std::uint16_t>(tenant_ + 1);
    return step(block, place);
}

bool Walk::is_over(const kel_record &at) const {
    if (!choice_.every_tenant && at.tenant_id != tenant_) return true;
    const auto comes_first = [&](const kel_record &a, const kel_record &b) {
        return table_->type().order(&a.index_node, &b.index_node) == before;
    };
    if (!backward_) return last_ && !comes_first(at, last_->place(tenant_, 0));
    return first_ && comes_first(at, first_->place(tenant_, 0));
}

std::optional<Object> Walk::next() {
    if (has_ended_) return std::nullopt;
    const Reading reading(table_->store());
    kel_table &block = *table_->block();
    kel_record *found = at_ ? step(block, *at_->record()) : begin(block);
    while (found != nullptr && !is_over(*found) && choice_.source && found->src != *choice_.source)
        found = step(block, *found);
    if (found == nullptr || is_over(*found)) {
        has_ended_ = true;
        at_.reset();
        return std::nullopt;
    }
    at_.emplace(table_->wrap(found));
    return at_;
}

}  // namespace tarnbase::python
