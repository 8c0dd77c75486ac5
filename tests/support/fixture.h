/* SPDX-License-Identifier: Apache-2.0 */
// The fixture of every behaviour test: a private store and a handle in one of the three
// modes.
#ifndef TARNBASE_TESTS_SUPPORT_FIXTURE_H
#define TARNBASE_TESTS_SUPPORT_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

#include "tarnbase/embedded.h"

namespace tarn::test {

enum class Mode { plain, tracking, store_types };

inline constexpr Mode all_modes[] = {Mode::plain, Mode::tracking, Mode::store_types};

// "plain", "tracking", "store_types": the suffix of a parameterised test's name.
std::string mode_name(Mode mode);
void PrintTo(Mode mode, std::ostream *out);

// A private store and a handle on it. `err` starts at 0 and is passed to every call.
class Session {
 public:
    // At that address, if nothing else is there.
    explicit Session(Mode mode = Mode::plain, void *base = nullptr);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    kel_store *store() const { return store_; }
    kel_handle *handle() const { return handle_; }

    // Another handle on the same store; the session frees it.
    kel_handle *second_handle(Mode mode);

    kel_store_description describe() const;
    std::uint64_t blocks() const { return describe().blocks; }

 private:
    kel_store *store_ = nullptr;
    kel_handle *handle_ = nullptr;
    kel_handle *second_ = nullptr;
};

// A handle in a mode, on any store.
kel_handle *make_handle(kel_store *store, Mode mode);

// A test that runs in one mode.
class PlainTest : public ::testing::Test {
 protected:
    Session session;
    kel_handle *const handle = session.handle();
    std::uint32_t tx = KEL_TX_NONE;
    std::uint32_t err = 0;
};

// A test that runs in each of the three modes:
//   class Records : public ModeTest {};
//   TARN_EACH_MODE(Records);
//   TEST_P(Records, ...) { ... }
class ModeTest : public ::testing::TestWithParam<Mode> {
 protected:
    Session session{GetParam()};
    kel_handle *const handle = session.handle();
    std::uint32_t tx = KEL_TX_NONE;
    std::uint32_t err = 0;
};

#define TARN_EACH_MODE(suite)                                                               \
    INSTANTIATE_TEST_SUITE_P(Mode, suite, ::testing::ValuesIn(::tarn::test::all_modes),     \
                             [](const ::testing::TestParamInfo<::tarn::test::Mode> &mode) { \
                                 return ::tarn::test::mode_name(mode.param);                \
                             })

}  // namespace tarn::test

#endif
