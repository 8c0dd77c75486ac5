// SPDX-License-Identifier: Apache-2.0
// The parts that the contexts of all kinds of item share.
#ifndef TARNC_CONTEXT_PARTS_H
#define TARNC_CONTEXT_PARTS_H

#include <cstdint>
#include <string>

#include "model.h"
#include "render.h"

namespace tarnc {

Context empty_list();
Context flag(bool value);
std::string text(std::uint64_t number);
// A text between the quotes of a literal.
std::string quoted(const std::string &text);

// A variant's number, used length and usage record.
Context variant(std::size_t number, std::uint32_t used, std::uint32_t slop);
// The list of an item that has one variant.
Context one_variant(std::size_t number, std::uint32_t used);

// The definition of an item's descriptor.
std::string descriptor(const Schema &schema, const std::string &symbol, const std::string &name,
                       const std::string &kind, const Identity &identity, const Context &variants,
                       std::size_t count);

// A field as templates see it.
Context context_of(const Schema &schema, const Structure &structure, const Field &field);

}  // namespace tarnc

#endif
