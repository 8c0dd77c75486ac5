// SPDX-License-Identifier: Apache-2.0
//
// The exported functions of one item, seen through the types that all items share: each is a
// function of its own that does the conversions the compiler can check, so that no function is
// ever called through a pointer of another type.
#ifndef TARNCTL_CATALOGUE_ERASE_H
#define TARNCTL_CATALOGUE_ERASE_H

#include <type_traits>

#include "tarnbase/handle.h"
#include "tarnbase/record.h"

namespace tarnctl {
namespace erasure {

// Pointers that mean the same in every function.
template <class T>
inline constexpr bool is_shared =
    std::is_same_v<T, kel_handle> || std::is_same_v<T, kel_table> ||
    std::is_same_v<T, kel_record> || std::is_same_v<T, const kel_record> ||
    std::is_same_v<T, const kel_index_node> || std::is_same_v<T, kel_record *> ||
    std::is_same_v<T, char> || std::is_same_v<T, const char> || std::is_same_v<T, uint32_t> ||
    std::is_function_v<T>;

template <class T>
struct Seen {
    using Type = T;
};
template <class T>
requires(!is_shared<T>) struct Seen<T *> {
    using Type = std::conditional_t<std::is_const_v<T>, const void *, void *>;
};

template <auto Function, class Signature>
struct Erased;
template <auto Function, class Result, class... Arguments>
struct Erased<Function, Result (*)(Arguments...)> {
    static typename Seen<Result>::Type call(typename Seen<Arguments>::Type... arguments) {
        return Function(static_cast<Arguments>(arguments)...);
    }
};

}  // namespace erasure

// A pointer to an exported function that takes objects of any type.
template <auto Function>
inline constexpr auto erase = &erasure::Erased<Function, decltype(Function)>::call;

}  // namespace tarnctl

#endif
