// SPDX-License-Identifier: Apache-2.0
// The instantiations of templates that most tests use. The precompiled header declares them, so
// that common_templates.cpp alone compiles them: without optimization, each test would emit its
// own copy. A test must compile without this header.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#define TARN_COMMON_CLASSES(instantiate)                                                \
    instantiate class std::basic_string<char>;                                          \
    instantiate class std::vector<char>;                                                \
    instantiate class std::vector<std::uint8_t>;                                        \
    instantiate class std::vector<std::uint32_t>;                                       \
    instantiate class std::vector<std::uint64_t>;                                       \
    instantiate class std::vector<std::string>;                                         \
    instantiate class std::vector<testing::internal::ParameterizedTestSuiteInfoBase *>; \
    instantiate class std::set<std::string>;                                            \
    instantiate class std::unique_ptr<std::string>;                                     \
    instantiate class std::unique_ptr<std::stringstream>;

#define TARN_COMPARISON(instantiate, name, left, right)                      \
    instantiate testing::AssertionResult testing::internal::CmpHelper##name( \
        const char *, const char *, const left &, const right &);
#define TARN_FAILED_COMPARISON(instantiate, left, right)                        \
    instantiate testing::AssertionResult testing::internal::CmpHelperOpFailure( \
        const char *, const char *, const left &, const right &, const char *);
#define TARN_PRINTED(instantiate, type) \
    instantiate std::string testing::PrintToString(const type &);
#define TARN_APPENDED(instantiate, ...) \
    instantiate testing::AssertionResult &testing::AssertionResult::operator<<(__VA_ARGS__);

#define TARN_COMMON_FUNCTIONS(instantiate)                                                 \
    TARN_COMPARISON(instantiate, EQ, bool, bool)                                           \
    TARN_COMPARISON(instantiate, EQ, int, int)                                             \
    TARN_COMPARISON(instantiate, EQ, std::uint8_t, int)                                    \
    TARN_COMPARISON(instantiate, EQ, std::uint16_t, int)                                   \
    TARN_COMPARISON(instantiate, EQ, std::uint32_t, int)                                   \
    TARN_COMPARISON(instantiate, EQ, std::uint32_t, std::uint32_t)                         \
    TARN_COMPARISON(instantiate, EQ, std::uint32_t, std::uint64_t)                         \
    TARN_COMPARISON(instantiate, EQ, std::uint64_t, int)                                   \
    TARN_COMPARISON(instantiate, EQ, std::uint64_t, std::uint32_t)                         \
    TARN_COMPARISON(instantiate, EQ, std::uint64_t, std::uint64_t)                         \
    TARN_COMPARISON(instantiate, EQ, std::string, std::string)                             \
    TARN_COMPARISON(instantiate, EQ, std::vector<std::string>, std::vector<std::string>)   \
    TARN_COMPARISON(instantiate, EQ, std::vector<std::uint8_t>, std::vector<std::uint8_t>) \
    TARN_COMPARISON(instantiate, NE, std::string::size_type, std::string::size_type)       \
    TARN_FAILED_COMPARISON(instantiate, int, int)                                          \
    TARN_FAILED_COMPARISON(instantiate, std::uint32_t, std::uint32_t)                      \
    TARN_FAILED_COMPARISON(instantiate, std::uint64_t, std::uint32_t)                      \
    TARN_FAILED_COMPARISON(instantiate, std::uint64_t, std::uint64_t)                      \
    TARN_PRINTED(instantiate, int)                                                         \
    TARN_PRINTED(instantiate, std::uint32_t)                                               \
    TARN_PRINTED(instantiate, std::uint64_t)                                               \
    TARN_PRINTED(instantiate, std::nullptr_t)                                              \
    TARN_PRINTED(instantiate, std::string)                                                 \
    TARN_APPENDED(instantiate, const char(&)[3])                                           \
    TARN_APPENDED(instantiate, const char(&)[5])                                           \
    TARN_APPENDED(instantiate, const char(&)[12])                                          \
    TARN_APPENDED(instantiate, const char *const &)                                        \
    TARN_APPENDED(instantiate, const std::string &)

TARN_COMMON_CLASSES(extern template)
TARN_COMMON_FUNCTIONS(extern template)
