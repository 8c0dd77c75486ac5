// SPDX-License-Identifier: Apache-2.0
// The functions that a compiler calls with -fsanitize=thread, before each load and store and in
// place of each atomic operation. Here they count the stores.
#include <cstddef>
#include <cstdint>

#include "tests/crash/points.h"

using crash::load_point;
using crash::point;

// They are called before every load and store, so the linker may not put a stub before them.
#pragma GCC visibility push(hidden)
extern "C" {

void __tsan_init() {}
void __tsan_func_entry(void *) {}
void __tsan_func_exit() {}

#define CRASH_ACCESS(size)                                                        \
    void __tsan_read##size(void *) {}                                             \
    void __tsan_unaligned_read##size(void *) {}                                   \
    void __tsan_volatile_read##size(void *) {}                                    \
    void __tsan_unaligned_volatile_read##size(void *) {}                          \
    void __tsan_write##size(void *address) { point(address); }                    \
    void __tsan_unaligned_write##size(void *address) { point(address); }          \
    void __tsan_volatile_write##size(void *address) { point(address); }           \
    void __tsan_unaligned_volatile_write##size(void *address) { point(address); } \
    void __tsan_read_write##size(void *address) { point(address); }               \
    void __tsan_unaligned_read_write##size(void *address) { point(address); }

CRASH_ACCESS(1)
CRASH_ACCESS(2)
CRASH_ACCESS(4)
CRASH_ACCESS(8)
CRASH_ACCESS(16)

void __tsan_read_range(void *, std::size_t) {}
void __tsan_write_range(void *address, std::size_t) { point(address); }
void __tsan_vptr_read(void **) {}
void __tsan_vptr_update(void **address, void *) { point(address); }

void __tsan_atomic_thread_fence(int) { __atomic_thread_fence(__ATOMIC_SEQ_CST); }
void __tsan_atomic_signal_fence(int) { __atomic_signal_fence(__ATOMIC_SEQ_CST); }

#define CRASH_UPDATE(bits, type, name)                                           \
    type __tsan_atomic##bits##_##name(volatile type *address, type value, int) { \
        point(const_cast<type *>(address));                                      \
        return __atomic_##name(address, value, __ATOMIC_SEQ_CST);                \
    }

#define CRASH_COMPARE(bits, type, name, weak)                                                 \
    int __tsan_atomic##bits##_compare_exchange_##name(volatile type *address, type *expected, \
                                                      type value, int, int) {                 \
        point(const_cast<type *>(address));                                                   \
        return __atomic_compare_exchange_n(address, expected, value, weak, __ATOMIC_SEQ_CST,  \
                                           __ATOMIC_SEQ_CST);                                 \
    }

#define CRASH_ATOMIC(bits, type)                                                           \
    type __tsan_atomic##bits##_load(const volatile type *address, int) {                   \
        load_point(const_cast<const type *>(address));                                     \
        return __atomic_load_n(address, __ATOMIC_SEQ_CST);                                 \
    }                                                                                      \
    void __tsan_atomic##bits##_store(volatile type *address, type value, int) {            \
        point(const_cast<type *>(address));                                                \
        __atomic_store_n(address, value, __ATOMIC_SEQ_CST);                                \
    }                                                                                      \
    type __tsan_atomic##bits##_exchange(volatile type *address, type value, int) {         \
        point(const_cast<type *>(address));                                                \
        return __atomic_exchange_n(address, value, __ATOMIC_SEQ_CST);                      \
    }                                                                                      \
    CRASH_UPDATE(bits, type, fetch_add)                                                    \
    CRASH_UPDATE(bits, type, fetch_sub)                                                    \
    CRASH_UPDATE(bits, type, fetch_and)                                                    \
    CRASH_UPDATE(bits, type, fetch_or)                                                     \
    CRASH_UPDATE(bits, type, fetch_xor)                                                    \
    CRASH_COMPARE(bits, type, strong, false)                                               \
    CRASH_COMPARE(bits, type, weak, true)                                                  \
    type __tsan_atomic##bits##_compare_exchange_val(volatile type *address, type expected, \
                                                    type value, int, int) {                \
        point(const_cast<type *>(address));                                                \
        __atomic_compare_exchange_n(address, &expected, value, false, __ATOMIC_SEQ_CST,    \
                                    __ATOMIC_SEQ_CST);                                     \
        return expected;                                                                   \
    }

CRASH_ATOMIC(8, std::uint8_t)
CRASH_ATOMIC(16, std::uint16_t)
CRASH_ATOMIC(32, std::uint32_t)
CRASH_ATOMIC(64, std::uint64_t)

}  // extern "C"
#pragma GCC visibility pop
