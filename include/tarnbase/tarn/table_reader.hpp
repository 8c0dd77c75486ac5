// SPDX-License-Identifier: Apache-2.0
/// @file
/// Reading a table: count, find and walk its records.
#ifndef TARNBASE_TARN_TABLE_READER_HPP
#define TARNBASE_TARN_TABLE_READER_HPP

#include <optional>
#include <string_view>

#include "tarnbase/tarn/callback.hpp"
#include "tarnbase/tarn/key.hpp"
#include "tarnbase/tarn/range.hpp"

namespace tarn {

/// The part of a basic_table that reads.
///
/// Reads are limited to the thread's tenant (tenant_scope), and to the source
/// `source::standard` unless another one is passed.
template <typename Table>
class basic_table_reader {
 public:
    /// The table's types: its keys, records, iterators and ranges.
    using key_type = typename Table::key_type;
    using record_type = basic_record<Table>;
    using iterator = basic_iterator<Table>;
    using range = basic_range<Table>;

    /// Refers to a table that was opened with the C interface.
    basic_table_reader(kel_handle *handle, kel_table *table) noexcept
        : handle_(handle), table_(table) {}

    /// Returns: the name it was opened with; "" if by id.
    std::string_view name() const noexcept {
        const std::string_view key = table_->table_name;
        return key.substr(0, key.size() - (has_own_key(*table_) ? luid_suffix_size : 0));
    }
    /// Returns: the id it was opened with; 0 if by name.
    std::uint64_t id() const noexcept { return table_->table_id; }

    // ---- Counting.

    /// Returns: the number of the tenant's records, of all sources; for tenant 0, of all
    /// tenants.
    std::size_t size() const noexcept { return Table::count(handle_, tx_id(), table_); }
    /// Returns: the same for one source.
    std::size_t size(source of) const noexcept {
        return Table::count_by_src(handle_, tx_id(), table_, src(of));
    }
    bool empty() const noexcept { return size() == 0; }

    // ---- Finding.

    /// Returns: the record with this key, if there is one.
    result<std::optional<record_type>> try_find(const key_type &key,
                                                source of = source::standard) const {
        std::uint32_t err = 0;
        kel_record *found = search(key, of, exact, err);
        if (err != 0) return detail::make_error(err, "searching in", Table::name);
        return optional(found);
    }
#if TARN_EXCEPTIONS
    /// As try_find; throws.
    std::optional<record_type> find(const key_type &key, source of = source::standard) const {
        std::uint32_t err = 0;
        kel_record *found = search(key, of, exact, err);
        detail::need(err, "searching in", Table::name);
        return optional(found);
    }
#endif
    /// Returns: whether there is a record with this key.
    bool contains(const key_type &key, source of = source::standard) const {
        std::uint32_t err = 0;
        return search(key, of, exact, err) != nullptr;
    }

    // ---- Walking, in key order.

    iterator begin() const { return iterator::first(handle_, table_, {}); }
    iterator end() const noexcept { return {handle_, table_, nullptr, {}}; }
    auto rbegin() const { return std::make_reverse_iterator(end()); }
    auto rend() const { return std::make_reverse_iterator(begin()); }

    /// Returns: the selected records.
    range select(selection selected) const {
        return {iterator::first(handle_, table_, selected), {handle_, table_, nullptr, selected}};
    }
    /// Returns: the records of one source.
    range of_source(source of) const { return select({of}); }
    /// Returns: the records of all sources.
    range all_sources() const {
        selection all;
        all.every_source = true;
        return select(all);
    }
    /// Returns: the records that aren't pending destruction.
    range not_pending(source of = source::standard) const {
        selection staying{of};
        staying.pending_too = false;
        return select(staying);
    }
    /// Returns: the records whose key isn't before `key`.
    range from(const key_type &key, source of = source::standard) const {
        return {lower_bound(key, of), {handle_, table_, nullptr, {of}}};
    }

    /// Returns: the first record whose key isn't before `key`.
    iterator lower_bound(const key_type &key, source of = source::standard) const {
        std::uint32_t err = 0;
        return checked(search(key, of, nearest, err), of, err);
    }
    /// Returns: the first record whose key is after `key`.
    iterator upper_bound(const key_type &key, source of = source::standard) const {
        const probe wanted(handle_, key);
        std::uint32_t err = wanted.error();
        kel_record *found =
            err != 0 ? nullptr
                     : Table::next_by_key(handle_, tx_id(), table_, wanted.get(), src(of), &err);
        return checked(found, of, err);
    }

    /// Calls `function` with each record of all tenants and sources. If it returns a
    /// value, false ends the walk. It may erase the record passed to it. An exception
    /// that it throws ends the walk and is rethrown.
    template <typename Function>
    result<void> try_walk(Function &&function) const {
        auto each = [&](kel_record *record) { return function(record_type(handle_, record)); };
        callback visit(each);
        std::uint32_t err = 0;
        Table::walk(table_, visit.template run<kel_record *>, &visit, &err);
        visit.finish();
        return detail::outcome(err, "walking", Table::name);
    }

#if TARN_EXCEPTIONS
    /// As try_walk; throws.
    template <typename Function>
    void walk(Function &&function) const {
        try_walk(std::forward<Function>(function)).value();
    }
#endif

    /// Returns: the table's block, for calls of the C interface.
    kel_table *c_table() const noexcept { return table_; }

    /// @cond
 protected:
    static constexpr std::size_t luid_size = 16;

    // Whether the table's key in the store is its name, a slash and the LUID as text; a path is
    // the key itself.
    static bool has_own_key(const kel_table &table) noexcept {
        const std::string_view key = table.table_name;
        return key.size() >= luid_suffix_size &&
               key.substr(key.size() - luid_suffix_size + 1) == Table::descriptor()->luid_text;
    }

    static std::uint32_t src(source of) noexcept { return static_cast<std::uint32_t>(of); }
    std::uint32_t tx_id() const noexcept { return handle_->cr_tx_id; }

    // The `nearest` argument of a search.
    enum match : std::uint32_t { exact = 0, nearest = 1 };
    kel_record *search(const key_type &key, source of, match how, std::uint32_t &err) const {
        const probe wanted(handle_, key);
        err = wanted.error();
        if (err != 0) return nullptr;
        constexpr std::uint32_t forward = 1;
        constexpr std::uint32_t skip_pending = 0;
        return Table::search(handle_, tx_id(), table_, wanted.get(), how, forward, src(of),
                             skip_pending, &err);
    }

 private:
    using probe = typename Table::probe;
    static constexpr std::size_t luid_suffix_size = 1 + 2 * luid_size;

    std::optional<record_type> optional(kel_record *found) const noexcept {
        if (found == nullptr) return std::nullopt;
        return record_type(handle_, found);
    }
    iterator checked(kel_record *found, source of, std::uint32_t err) const {
        if (err != 0) {
#if TARN_EXCEPTIONS
            detail::fail(err, "searching in", Table::name);
#else
            kel_store_err(handle_, err);
            found = nullptr;
#endif
        }
        return {handle_, table_, found, {of}};
    }

 protected:
    kel_handle *handle_;
    kel_table *table_;
    /// @endcond
};

}  // namespace tarn

#endif
