/* SPDX-License-Identifier: Apache-2.0 */
// Calls exported functions by name, as a program does that reads the schema at run time,
// and records which names were called.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_CALL_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_CALL_H

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace tarn::test {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

// An argument of the C interface: an integer or a pointer, which is passed as one
// machine word on every ABI that the library is built for.
class Word {
 public:
    template <typename T>
    requires std::is_integral_v<T> Word(T value) : word_(static_cast<u64>(value)) {}
    template <typename T>
    Word(T *pointer) : word_(reinterpret_cast<std::uintptr_t>(pointer)) {}
    Word(std::nullptr_t) : word_(0) {}

    u64 word() const { return word_; }

 private:
    u64 word_;
};

// The address of an exported name. Throws if there is none.
void *symbol(const std::string &name);

// Calls the function at that address.
u64 call_address(void *function, const std::vector<Word> &arguments);

// Calls the function of that name. Throws if there is none.
u64 call_words(const std::string &name, const std::vector<Word> &arguments);

// The same with the result in its own type: R is void, an integer or a pointer.
template <typename R = void>
R call(const std::string &name, const std::vector<Word> &arguments) {
    [[maybe_unused]] const u64 result = call_words(name, arguments);
    if constexpr (std::is_pointer_v<R>) {
        return reinterpret_cast<R>(static_cast<std::uintptr_t>(result));
    } else if constexpr (!std::is_void_v<R>) {
        return static_cast<R>(result);
    }
}

// The names called so far.
const std::set<std::string> &called_names();

}  // namespace tarn::test

#endif
