// SPDX-License-Identifier: Apache-2.0
#include "table.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

#include "key.h"
#include "tarnbase/tarn/tenant.hpp"
#include "tarnbase/tarn/trace.hpp"
#include "tarnbase/tarn/xml.hpp"

namespace tarnbase::python {
namespace {

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

}  // namespace

kel_record *record_of(kel_index_node *node) {
    if (node == nullptr) return nullptr;
    return reinterpret_cast<kel_record *>(reinterpret_cast<char *>(node) -
                                          offsetof(kel_record, index_node));
}

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

}  // namespace tarnbase::python
