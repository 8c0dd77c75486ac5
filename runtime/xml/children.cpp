// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/children.h"

namespace tarnbase::runtime {

namespace {

constexpr std::size_t first_slots = 64;

}  // namespace

const Siblings *Children::named(const ElementTree &tree, std::string_view name) {
    if (!is_read_) read(tree);
    // Most readers read the elements in their order.
    if (expected_ < groups_.size() && groups_[expected_].name() == name) {
        return &groups_[expected_++];
    }
    const char *const known = tree.known_name(name);
    const Slot slot = known == nullptr ? 0 : slot_of(known);
    if (slot == 0) return nullptr;
    expected_ = slot;
    return &groups_[slot - 1];
}

void Children::read(const ElementTree &tree) {
    groups_.clear();
    slots_.assign(first_slots, 0);
    const Position end = tree.end(element_);
    for (Position child = element_ + 1; child < end; child = tree.end(child)) add(tree, child);
    is_read_ = true;
}

void Children::add(const ElementTree &tree, Position child) {
    const char *const name = tree.name(child);
    if (name == nullptr) return;
    if (!groups_.empty() && groups_.back().name() == name) return groups_.back().append(child);
    Slot &slot = slot_of(name);
    if (slot != 0) return groups_[slot - 1].append(child);
    groups_.emplace_back(name, child);
    slot = static_cast<Slot>(groups_.size());
    if (groups_.size() * 2 > slots_.size()) double_slots();
}

Children::Slot &Children::slot_of(const char *name) {
    // Spreads addresses, whose low bits are alike.
    constexpr std::uint64_t odd = 0x9e3779b97f4a7c15;
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = reinterpret_cast<std::uintptr_t>(name) * odd >> 32;; ++at) {
        Slot &slot = slots_[at & mask];
        if (slot == 0 || groups_[slot - 1].name() == name) return slot;
    }
}

void Children::double_slots() {
    slots_.assign(slots_.size() * 2, 0);
    for (std::size_t i = 0; i < groups_.size(); ++i) {
        slot_of(groups_[i].name()) = static_cast<Slot>(i + 1);
    }
}

}  // namespace tarnbase::runtime
