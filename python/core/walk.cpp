// SPDX-License-Identifier: Apache-2.0
#include "walk.h"

#include <cerrno>
#include <utility>

namespace tarnbase::python {
namespace {

// The results of an index's order.
constexpr std::uint32_t before = 0;

}  // namespace

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
