// SPDX-License-Identifier: Apache-2.0
//
// JSON values that are made. One is its text, since a value of nlohmann/json takes several times as
// long as what it says.
#ifndef TARNCTL_JSON_DOCUMENT_H
#define TARNCTL_JSON_DOCUMENT_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tarnctl {

// A value to write. Members keep the order in which they are set.
//
//   Json table{{"name", "ldap"}, {"records", Json::array()}};
class Json {
 public:
    struct Member;

    Json(std::nullptr_t = nullptr);
    template <std::integral Number>
    Json(Number number) : text_(text_of(static_cast<Widest<Number>>(number))) {}
    Json(double number);
    Json(std::string_view text);
    Json(const std::string &text) : Json(std::string_view(text)) {}
    Json(const char *text) : Json(std::string_view(text)) {}
    // Arrays.
    Json(const std::vector<uint8_t> &numbers);
    Json(const std::vector<std::string> &texts);
    static Json array();
    // Objects.
    Json(std::initializer_list<Member> members);
    static Json object();

    // Adds a member. Requires: an object that has none of that name.
    void set(std::string_view name, const Json &value);
    // Adds all members of another object. Requires: as above.
    void update(const Json &object);
    // Requires: an array.
    void add(const Json &value);

    // On one line, or with a line for each member and `indent` blanks a level. Bytes that aren't
    // UTF-8 become U+FFFD.
    std::string dump(int indent = -1) const;

 private:
    template <class Number>
    using Widest =
        std::conditional_t<std::is_same_v<Number, bool>, bool,
                           std::conditional_t<std::is_unsigned_v<Number>, uint64_t, int64_t>>;

    static std::string text_of(bool truth);
    static std::string text_of(uint64_t number);
    static std::string text_of(int64_t number);

    std::string text_;  // on one line
};

struct Json::Member {
    Member(std::string_view of, Json is) : name(of), value(std::move(is)) {}

    std::string_view name;
    Json value;
};

}  // namespace tarnctl

#endif
