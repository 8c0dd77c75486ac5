// SPDX-License-Identifier: Apache-2.0
/// @file
/// Tables: open them, insert and erase records.
#ifndef TARNBASE_TARN_TABLE_HPP
#define TARNBASE_TARN_TABLE_HPP

#include <cstring>

#include "tarnbase/tarn/session.hpp"
#include "tarnbase/tarn/table_reader.hpp"
#include "tarnbase/tarn/transaction.hpp"
#include "tarnbase/tarn/xml.hpp"

namespace tarn {

/// An open table of the class `Table`, which is generated from the schema. It refers to
/// the table's block in the store; copying it doesn't copy the table.
/// Lifetime: its session's.
template <typename Table>
class basic_table : public basic_table_reader<Table> {
    using reader = basic_table_reader<Table>;

 public:
    /// The table's types: its keys, records and iterators.
    using typename reader::iterator;
    using typename reader::key_type;
    using typename reader::record_type;
    using new_record_type = basic_new_record<Table>;

    using reader::begin;
    using reader::end;

    // ---- Opening. A table outlives the transaction in which it was created, rolled back or not.

    /// Opens the table with this name. A name with a '/' is a path, and tables of all kinds
    /// share the paths.
    /// Errors: ENOENT there is none; E2BIG the name is too long; EINVAL the table at this
    /// path is of another kind.
    static result<basic_table> try_open(const session &in, const std::string &name) {
        return wrap(in, [&](kel_handle *handle, std::uint32_t *err) {
            return Table::open(handle, KEL_TX_NONE, name.c_str(), open_only, err);
        });
    }
    /// Opens the table with this name, or creates it, as the writer of a store with files.
    /// Errors: E2BIG, EINVAL, ENOMEM, and those of kel_store_lock.
    static result<basic_table> try_open_or_create(const session &in, const std::string &name) {
        return wrap_writing(in, [&](kel_handle *handle, std::uint32_t mode, std::uint32_t *err) {
            return Table::open(handle, KEL_TX_NONE, name.c_str(), mode, err);
        });
    }
    /// Opens the table with this id. A process finds tables of one kind by id in its first
    /// store only: in other stores, open tables by name.
    /// Error: ENOENT there is none.
    static result<basic_table> try_open_id(const session &in, std::uint64_t id) {
        return wrap(in, [&](kel_handle *handle, std::uint32_t *err) {
            return Table::open_by_id(handle, KEL_TX_NONE, id, open_only, err);
        });
    }
    /// Opens the table with this id, or creates it. Errors: ENOMEM, and those of kel_store_lock.
    static result<basic_table> try_open_or_create_id(const session &in, std::uint64_t id) {
        return wrap_writing(in, [&](kel_handle *handle, std::uint32_t mode, std::uint32_t *err) {
            return Table::open_by_id(handle, KEL_TX_NONE, id, mode, err);
        });
    }
    /// Refers to a table that was opened with the C interface.
    using reader::reader;

    // ---- Changing.

    /// Creates a record with an empty object, and an empty key object on a table with a key
    /// structure. Error: ENOMEM.
    result<new_record_type> try_make(source of = source::standard) const {
        std::uint32_t err = 0;
        kel_record *made = Table::create_record(handle_, tx_id(), src(of), &err);
        if (made == nullptr) return detail::make_error(ENOMEM, making, Table::name);
        new_record_type owner(handle_, made);
        err = Table::attach_objects(handle_, tx_id(), made);
        if (err != 0) return detail::make_error(err, making, Table::name);
        return new_record_type(handle_, owner.release());
    }
    /// The same, and sets its key.
    result<new_record_type> try_make(const key_type &key, source of = source::standard) const {
        result<new_record_type> made = try_make(of);
        if (!made) return made;
        const std::uint32_t err = Table::set_key(*made, made->c_record(), key);
        if (err != 0) return detail::make_error(err, making, Table::name);
        return made;
    }

    /// Inserts a record, which the table then owns. After EEXIST and EINVAL the caller still
    /// owns it. After any other error the table contains it, and `record` is false: erase it,
    /// or roll back.
    /// Errors: EEXIST the key exists for this tenant and source; EINVAL the record was
    /// moved from; ENOMEM no memory for the tenant's counters; and those of the replication
    /// of an armed table.
    result<record_type> try_insert(new_record_type &&record) {
        const std::uint32_t err = enter(record);
        if (err != 0) return detail::make_error(err, inserting, Table::name);
        return static_cast<const record_type &>(record);
    }
    /// Removes a record from the table and destroys it.
    /// Errors: ENOENT it isn't in the table; EINVAL the table is marked for replication.
    result<void> try_erase(const record_type &record) {
        return detail::outcome(remove(record.c_record()), erasing, Table::name);
    }
    /// Removes the record with this key and destroys it. Returns: whether there was one.
    result<bool> try_erase(const key_type &key, source of = source::standard) {
        std::uint32_t err = 0;
        kel_record *found = search(key, of, reader::exact, err);
        if (err == 0 && found != nullptr) err = remove(found);
        if (err != 0) return detail::make_error(err, erasing, Table::name);
        return found != nullptr;
    }
    /// Removes the record at an iterator and destroys it. Returns: the next position.
    result<iterator> try_erase(iterator at) {
        const iterator victim = at++;
        const std::uint32_t err = remove((*victim).c_record());
        if (err != 0) return detail::make_error(err, erasing, Table::name);
        return at;
    }
    /// Erases the records between begin() and end() for which `condition` is true.
    /// Returns: their number.
    template <typename Condition>
    result<std::size_t> try_erase_if(Condition &&condition) {
        std::size_t erased = 0;
        for (iterator at = begin(); at != end();) {
            const iterator here = at++;
            const record_type record = *here;
            if (!condition(record)) continue;
            const std::uint32_t err = remove(record.c_record());
            if (err != 0) return detail::make_error(err, erasing, Table::name);
            ++erased;
        }
        return erased;
    }
    /// Removes a record from the table. Returns: the record, now the caller's.
    result<new_record_type> try_extract(const record_type &record) {
        std::uint32_t err = 0;
        Table::remove(handle_, tx_id(), table_, record.c_record(), &err);
        if (err != 0) return detail::make_error(err, "taking a record out of", Table::name);
        return new_record_type(handle_, record.c_record());
    }

    /// Removes the table from the store. It must not be used afterwards.
    /// Errors: ENOTEMPTY it has records, of any tenant; EAGAIN it is still referenced. After
    /// an error the table remains usable.
    result<void> try_drop() {
        std::uint32_t err = table_->record_count == 0 ? 0 : ENOTEMPTY;
        if (err == 0) Table::free(handle_, tx_id(), table_, &err);
        return detail::outcome(err, "dropping a", Table::name);
    }

    // ---- Reading other forms.

    /// Creates a record from a document or an element. Fields without an element keep their
    /// initial values.
    template <typename Document>
    result<new_record_type> try_from_xml(const Document &document,
                                         source of = source::standard) const {
        result<new_record_type> made = try_make(of);
        if (!made) return made;
        const result<void> done = Table::read_xml(*made, made->c_record(), document.c_document());
        if (!done) return done.error();
        return made;
    }
    /// Creates a record from its wire form. Errors: EMSGSIZE too few bytes; EINVAL the frame
    /// is another table's.
    result<new_record_type> try_from_wire(byte_range wire) const {
        if (wire.size() < frame_size)
            return detail::make_error(EMSGSIZE, reading_wire, Table::name);
        if (std::memcmp(wire.data() + KEL_MESSAGE_HEADER_SIZE, Table::luid(), luid_size) != 0)
            return error(EINVAL, std::string(reading_wire) + " " + Table::name +
                                     ": the frame is another table's");
        kel_record *made = nullptr;
        std::uint32_t err = 0;
        Table::unmarshal(handle_, tx_id(), &made, wire.data(),
                         static_cast<std::uint32_t>(wire.size()), 0, &err);
        if (made == nullptr) return detail::make_error(err, reading_wire, Table::name);
        new_record_type owner(handle_, made);
        if (err != 0) return detail::make_error(err, reading_wire, Table::name);
        return new_record_type(handle_, owner.release());
    }

#if TARN_EXCEPTIONS
    /// As try_open; throws.
    static basic_table open(const session &in, const std::string &name) {
        return try_open(in, name).value();
    }
    /// As try_open_or_create; throws.
    static basic_table open_or_create(const session &in, const std::string &name) {
        return try_open_or_create(in, name).value();
    }
    /// As try_open_id; throws.
    static basic_table open_id(const session &in, std::uint64_t id) {
        return try_open_id(in, id).value();
    }
    /// As try_open_or_create_id; throws.
    static basic_table open_or_create_id(const session &in, std::uint64_t id) {
        return try_open_or_create_id(in, id).value();
    }
    /// As try_make; throws.
    new_record_type make(source of = source::standard) const { return try_make(of).value(); }
    new_record_type make(const key_type &key, source of = source::standard) const {
        return try_make(key, of).value();
    }
    /// As try_insert; throws.
    record_type insert(new_record_type &&record) {
        detail::need(enter(record), inserting, Table::name);
        return record;
    }
    /// As try_erase; throws.
    void erase(const record_type &record) {
        detail::need(remove(record.c_record()), erasing, Table::name);
    }
    bool erase(const key_type &key, source of = source::standard) {
        return try_erase(key, of).value();
    }
    iterator erase(iterator at) { return try_erase(at).value(); }
    /// As try_erase_if; throws.
    template <typename Condition>
    std::size_t erase_if(Condition &&condition) {
        return try_erase_if(std::forward<Condition>(condition)).value();
    }
    /// As try_extract; throws.
    new_record_type extract(const record_type &record) { return try_extract(record).value(); }
    /// As try_drop; throws.
    void drop() { try_drop().value(); }
    /// As try_from_xml; throws.
    template <typename Document>
    new_record_type from_xml(const Document &document, source of = source::standard) const {
        return try_from_xml(document, of).value();
    }
    /// As try_from_wire; throws.
    new_record_type from_wire(byte_range wire) const { return try_from_wire(wire).value(); }
#endif

 private:
    using reader::handle_;
    using reader::has_own_key;
    using reader::luid_size;
    using reader::search;
    using reader::src;
    using reader::table_;
    using reader::tx_id;

    // The `open_only` argument of an open.
    static constexpr std::uint32_t open_only = 1;
    static constexpr std::uint32_t or_create = 0;
    static constexpr const char *making = "making a record of";
    static constexpr const char *inserting = "inserting in";
    static constexpr const char *erasing = "erasing from";
    static constexpr const char *reading_wire = "reading the wire form of";
    static constexpr std::size_t frame_size = KEL_MESSAGE_HEADER_SIZE + luid_size;

    template <typename Open>
    static result<basic_table> wrap(const session &in, Open open) {
        std::uint32_t err = 0;
        kel_table *table = open(in.c_handle(), &err);
        if (table == nullptr)
            return detail::make_error(err != 0 ? err : ENOENT, "opening a", Table::name);
        if (!is_of_this_kind(in.c_handle(), *table))
            return error(
                EINVAL, std::string("opening a ") + Table::name + ": the table is of another kind");
        return basic_table(in.c_handle(), table);
    }
    // Opens a table, or creates it as the store's writer if there is none.
    template <typename Open>
    static result<basic_table> wrap_writing(const session &in, Open open) {
        const auto with = [&](std::uint32_t mode) {
            return wrap(in, [&](kel_handle *handle, std::uint32_t *err) {
                return open(handle, mode, err);
            });
        };
        result<basic_table> found = with(open_only);
        // The first search by id in a store makes the root of the ids, which is refused.
        if (found || (found.error().number() != ENOENT && found.error().number() != EPERM))
            return found;
        kel_store *const store = kel_handle_store(in.c_handle());
        const std::uint32_t locked = kel_store_lock(store);
        if (locked != 0) return detail::last_failure(locked);
        result<basic_table> made = with(or_create);
        const std::uint32_t status = kel_store_unlock(store);
        if (made && status != 0) return detail::last_failure(status);
        return made;
    }
    // The descriptor identifies the kind: the library's, or the store's copy of it. The key is
    // used only if there was no memory for the copy: a path may end like a key of this kind.
    static bool is_of_this_kind(kel_handle *handle, const kel_table &table) {
        const kel_type_info *const kind = Table::descriptor();
        const kel_type_info_copy *const copy =
            handle->type_map_lookup_hook(handle->type_map, KEL_TX_NONE, kind->luid_text);
        if (table.descriptor == kind) return true;
        if (copy != nullptr) return table.descriptor == &copy->info;
        return handle->store_types_enabled != 0 && has_own_key(table);
    }

    // Releases the record if the table contains it, which is so after some errors too.
    std::uint32_t enter(new_record_type &record) {
        if (!record) return EINVAL;
        std::uint32_t err = 0;
        Table::insert(handle_, tx_id(), table_, record.c_record(), &err);
        if (record.c_record()->table != nullptr) record.release();
        return err;
    }
    std::uint32_t remove(kel_record *record) {
        std::uint32_t err = 0;
        Table::remove(handle_, tx_id(), table_, record, &err);
        if (err == 0) Table::destroy_record(handle_, tx_id(), record, &err);
        return err;
    }
};

/// Generated from the schema: the class of the table that contains a structure's objects.
template <typename View>
struct table_of;

namespace detail {

template <typename T, typename = void>
struct table_class {
    using type = typename table_of<T>::type;
};
template <typename T>
struct table_class<T, std::void_t<typename T::key_type>> {
    using type = T;
};

}  // namespace detail

/// The table of a structure, `table<ldap_conn>`. If several tables contain the structure,
/// a table by its own name, `table<tbl_ldap_conn>`.
template <typename T>
using table = basic_table<typename detail::table_class<T>::type>;
/// Its records.
template <typename T>
using record = basic_record<typename detail::table_class<T>::type>;
/// Its records before they are inserted.
template <typename T>
using new_record = basic_new_record<typename detail::table_class<T>::type>;

}  // namespace tarn

#endif
