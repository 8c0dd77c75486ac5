/* SPDX-License-Identifier: Apache-2.0 */
// Values in the arena and documents to read from, for the tests of this folder.
#ifndef TARNBASE_TESTS_UNIT_RUNTIME_VALUE_SUPPORT_H
#define TARNBASE_TESTS_UNIT_RUNTIME_VALUE_SUPPORT_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"
#include "tests/support/fixture.h"
#include "tests/support/hooks.h"
#include "tests/support/trace.h"
#include "tests/support/values.h"

namespace tarn::test {

// A private store and handle, with makers of live values in the arena.
class ValueTest : public PlainTest {
 protected:
    // The map of texts is allocated with its first entry and freed with its last. One text
    // that stays lets tests count only their own blocks.
    ValueTest() { make_string("a text that stays for the length of the test"); }

    template <typename T>
    T *make_zeroed() {
        void *block = handle->alloc_hook(handle->arena, tx, sizeof(T));
        EXPECT_NE(block, nullptr);
        std::memset(block, 0, sizeof(T));
        return static_cast<T *>(block);
    }

    kel_vstring *make_string(std::string_view text = {}) {
        auto *string = make_zeroed<kel_vstring>();
        kel_vstring_initialize(handle, tx, string, &_kel_vstring_type_info_internal, 0, 0,
                               OBJ_NESTED, nullptr, &err);
        if (!text.empty()) assign(string, text);
        return string;
    }

    ip_address *make_address(const char *text = nullptr) {
        auto *address = make_zeroed<ip_address>();
        ip_address_initialize(handle, tx, address, &_ip_address_type_info_internal, 0, 0,
                              OBJ_NESTED, nullptr, &err);
        if (text != nullptr) ip_address_assign_text(handle, tx, address, text, &err);
        EXPECT_EQ(err, 0U);
        return address;
    }

    kel_boolean *make_boolean(bool value = false) {
        auto *boolean = make_zeroed<kel_boolean>();
        kel_boolean_initialize(handle, tx, boolean, &_kel_boolean_type_info_internal, 0, 0,
                               OBJ_NESTED, nullptr, &err);
        kel_boolean_set_value(handle, tx, boolean, value ? 1 : 0, &err);
        EXPECT_EQ(err, 0U);
        return boolean;
    }

    void assign(kel_vstring *string, std::string_view text) {
        kel_vstring_assign(handle, tx, string, text.data(), static_cast<std::uint32_t>(text.size()),
                           &err);
        EXPECT_EQ(err, 0U);
    }

    // Expects that the last call reported `code` in both places, and clears it.
    void expect_error(std::uint32_t code) {
        EXPECT_EQ(err, code);
        EXPECT_EQ(handle->last_error, code);
        err = 0;
        kel_clear_last_error(handle);
    }
};

}  // namespace tarn::test

#endif
