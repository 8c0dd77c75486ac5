/* SPDX-License-Identifier: Apache-2.0 */
// Every structure, enumeration and table of the schema, for tests that take one.
#ifndef TARNBASE_TESTS_BEHAVIOUR_EVERY_ITEMS_H
#define TARNBASE_TESTS_BEHAVIOUR_EVERY_ITEMS_H

#include <gtest/gtest.h>

#include <ostream>
#include <span>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "tests/behaviour/every/model.h"
#include "tests/support/fixture.h"
#include "tests/support/module.h"

namespace tarn::test {

// The item of that name. Throws if there is none.
template <typename Item>
const Item &named(std::span<const Item *const> items, const std::string &name) {
    for (const Item *each : items) {
        if (each->name == name) return *each;
    }
    throw std::out_of_range("the schema has no " + name);
}
inline const Structure &structure(const std::string &name) { return named(all_structures(), name); }
inline const Enumeration &enumeration(const std::string &name) {
    return named(all_enumerations(), name);
}
inline const Table &table(const std::string &name) { return named(all_tables(), name); }

inline std::span<const Field> fields_of(const Structure &type) {
    return {type.fields, type.field_count};
}

// The end of a field's place in an object.
inline std::uint32_t end_of(const Structure &type, const Field &field) {
    const bool is_last = &field == &fields_of(type).back();
    return is_last ? type.plain_size : (&field)[1].offset;
}

// An item, and the mode of the handle for its test.
template <typename Item>
struct InMode {
    const Item *item;
    Mode mode;
};

template <typename Item>
void PrintTo(const InMode<Item> &each, std::ostream *out) {
    *out << each.item->name << ", " << mode_name(each.mode);
}

template <typename Items>
auto in_each_mode(const Items &items) {
    using Item = std::remove_cvref_t<decltype(*items[0])>;
    std::vector<InMode<Item>> cases;
    for (const Item *item : items) {
        for (const Mode mode : all_modes) cases.push_back({item, mode});
    }
    return cases;
}

template <typename Items>
auto in_mode(const Items &items, Mode mode) {
    using Item = std::remove_cvref_t<decltype(*items[0])>;
    std::vector<InMode<Item>> cases;
    for (const Item *item : items) cases.push_back({item, mode});
    return cases;
}

// Those of the cases whose handle tracks state, or the others.
template <typename Item>
std::vector<InMode<Item>> tracking_only(const std::vector<InMode<Item>> &cases, bool tracking) {
    std::vector<InMode<Item>> chosen;
    for (const InMode<Item> &each : cases) {
        if ((each.mode == Mode::tracking) == tracking) chosen.push_back(each);
    }
    return chosen;
}

template <typename Item>
std::string name_in_mode(const ::testing::TestParamInfo<InMode<Item>> &each) {
    return std::string(each.param.item->name) + "_" + mode_name(each.param.mode);
}

#define TARN_EACH_STRUCTURE(suite)                                                       \
    INSTANTIATE_TEST_SUITE_P(                                                            \
        Every, suite,                                                                    \
        ::testing::ValuesIn(::tarn::test::in_each_mode(::tarn::test::all_structures())), \
        ::tarn::test::name_in_mode<::tarnbase::Structure>)
#define TARN_EACH_ENUMERATION(suite)                                                       \
    INSTANTIATE_TEST_SUITE_P(                                                              \
        Every, suite,                                                                      \
        ::testing::ValuesIn(::tarn::test::in_each_mode(::tarn::test::all_enumerations())), \
        ::tarn::test::name_in_mode<::tarnbase::Enumeration>)
#define TARN_EVERY_TABLE(suite)                                                                    \
    INSTANTIATE_TEST_SUITE_P(                                                                      \
        Every, suite, ::testing::ValuesIn(::tarn::test::in_each_mode(::tarn::test::all_tables())), \
        ::tarn::test::name_in_mode<::tarnbase::Table>)

}  // namespace tarn::test

#endif
