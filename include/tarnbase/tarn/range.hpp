// SPDX-License-Identifier: Apache-2.0
/// @file
/// Walks over a table in key order.
#ifndef TARNBASE_TARN_RANGE_HPP
#define TARNBASE_TARN_RANGE_HPP

#include <cstddef>
#include <iterator>

#include "tarnbase/tarn/record.hpp"

namespace tarn {

/// Selects records of the current tenant.
struct selection {
    tarn::source source = tarn::source::standard;  ///< those of this source
    bool every_source = false;                     ///< or of all
    bool pending_too = true;                       ///< also those pending destruction
};

/// A position in a table. It moves by comparing keys: inserting and erasing other records
/// leaves it valid, erasing its own record doesn't.
/// If exceptions are off, a failed step ends the walk and stores its error number in
/// session::last_error().
template <typename Table>
class basic_iterator {
 public:
    using value_type = basic_record<Table>;
    using reference = value_type;
    using pointer = void;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;
    using iterator_concept = std::bidirectional_iterator_tag;  // since C++20

    basic_iterator() = default;
    /// At `record`, or at the end if it is null.
    basic_iterator(kel_handle *handle, kel_table *table, kel_record *record,
                   selection selected) noexcept
        : handle_(handle), table_(table), record_(record), selected_(selected) {}

    reference operator*() const noexcept { return {handle_, record_}; }
    /// Returns: access to the record through a copy of the view.
    auto operator->() const noexcept {
        struct arrow {
            value_type record;
            value_type *operator->() noexcept { return &record; }
        };
        return arrow{**this};
    }

    basic_iterator &operator++() {
        std::uint32_t err = 0;
        record_ =
            Table::next(handle_, handle_->cr_tx_id, table_, record_, src(), match(), skip(), &err);
        check(err);
        return *this;
    }
    basic_iterator operator++(int) {
        basic_iterator before = *this;
        ++*this;
        return before;
    }
    /// From the end it moves to the last record.
    basic_iterator &operator--() {
        std::uint32_t err = 0;
        const std::uint32_t tx_id = handle_->cr_tx_id;
        if (record_ != nullptr) {
            record_ = Table::prev(handle_, tx_id, table_, record_, src(), match(), skip(), &err);
        } else if (selected_.every_source) {
            kel_clear_last_error(handle_);
            record_ = Table::get(handle_, table_, selector_last, nullptr, 0, 1);
            err = handle_->last_error;
        } else if (selected_.pending_too) {
            record_ = Table::last(handle_, tx_id, table_, src(), &err);
        } else {
            record_ = Table::last_not_pending(handle_, tx_id, table_, src(), &err);
        }
        check(err);
        return *this;
    }
    basic_iterator operator--(int) {
        basic_iterator before = *this;
        --*this;
        return before;
    }

    /// Returns: the first selected record, or the end.
    static basic_iterator first(kel_handle *handle, kel_table *table, selection selected) {
        basic_iterator at(handle, table, nullptr, selected);
        std::uint32_t err = 0;
        const std::uint32_t tx_id = handle->cr_tx_id;
        if (selected.every_source) {
            at.record_ = Table::first_of_all(handle, tx_id, table, &err);
        } else if (selected.pending_too) {
            at.record_ = Table::first(handle, tx_id, table, at.src(), &err);
        } else {
            at.record_ = Table::first_not_pending(handle, tx_id, table, at.src(), &err);
        }
        at.check(err);
        return at;
    }

    friend bool operator==(const basic_iterator &a, const basic_iterator &b) noexcept {
        return a.record_ == b.record_;
    }
    friend bool operator!=(const basic_iterator &a, const basic_iterator &b) noexcept {
        return a.record_ != b.record_;
    }

 private:
    std::uint32_t src() const noexcept { return static_cast<std::uint32_t>(selected_.source); }
    std::uint32_t match() const noexcept { return selected_.every_source ? 0 : 1; }
    std::uint32_t skip() const noexcept { return selected_.pending_too ? 0 : 1; }
    void check(std::uint32_t err) {
        if (__builtin_expect(err == 0, 1)) return;
#if TARN_EXCEPTIONS
        detail::fail(err, "walking", Table::name);
#else
        record_ = nullptr;
        kel_store_err(handle_, err);
#endif
    }

    static constexpr std::uint32_t selector_last = 1;

    kel_handle *handle_ = nullptr;
    kel_table *table_ = nullptr;
    kel_record *record_ = nullptr;  // null: the end
    selection selected_;
};

/// A range of records in key order.
template <typename Table>
class basic_range {
 public:
    using iterator = basic_iterator<Table>;

    basic_range(iterator first, iterator last) : first_(first), last_(last) {}
    iterator begin() const noexcept { return first_; }
    iterator end() const noexcept { return last_; }
    bool empty() const noexcept { return first_ == last_; }

 private:
    iterator first_;
    iterator last_;
};

}  // namespace tarn

#endif
