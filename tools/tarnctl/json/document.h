// SPDX-License-Identifier: Apache-2.0
//
// JSON values, made and read. They are nlohmann/json's, whose header takes seconds to compile: only
// document.cpp and the parser of documents (exchange/json_parser.cpp) include it.
#ifndef TARNCTL_JSON_DOCUMENT_H
#define TARNCTL_JSON_DOCUMENT_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tarnctl {

// A value to write. Move-only. Members keep the order in which they are set.
//
//   Json table{{"name", "ldap"}, {"records", Json::array()}};
class Json {
 public:
    struct Member;

    Json(std::nullptr_t = nullptr);
    template <std::integral Number>
    Json(Number number) : value_(make(static_cast<Widest<Number>>(number))) {}
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

    // Sets a member. Requires: an object.
    void set(std::string_view name, Json value);
    // Sets all members of another object. Requires: an object.
    void update(Json object);
    // Requires: an array.
    void add(Json value);

    // On one line, or with `indent` blanks a level. Bytes that aren't UTF-8 become U+FFFD.
    std::string dump(int indent = -1) const;

 private:
    friend class JsonView;

    struct Free {
        void operator()(nlohmann::ordered_json *value) const;
    };
    using Owned = std::unique_ptr<nlohmann::ordered_json, Free>;
    template <class Number>
    using Widest =
        std::conditional_t<std::is_same_v<Number, bool>, bool,
                           std::conditional_t<std::is_unsigned_v<Number>, uint64_t, int64_t>>;

    static Owned make(bool truth);
    static Owned make(uint64_t number);
    static Owned make(int64_t number);

    Owned value_;  // null only after a move
};

struct Json::Member {
    Member(std::string_view of, Json is) : name(of), value(std::move(is)) {}

    std::string_view name;
    mutable Json value;  // moved out of an initializer list, whose elements are const
};

// A value to read.
// Lifetime: that of the value.
class JsonView {
 public:
    explicit JsonView(const nlohmann::ordered_json &value) : value_(&value) {}
    JsonView(const Json &json) : value_(json.value_.get()) {}

    bool is_null() const;
    bool is_object() const;
    bool is_array() const;
    bool is_integer() const;
    bool equals(int64_t number) const;

    // The value, if it is of this kind; of a number, if it is an integer of the range.
    std::optional<bool> boolean() const;
    std::optional<std::string_view> string() const;
    std::optional<uint64_t> unsigned_number() const;
    std::optional<int64_t> signed_number() const;

    // Of an array or an object.
    std::size_t size() const;
    // Requires: an array with more elements than `index`.
    JsonView at(std::size_t index) const;
    // A member, if the value is an object that has it.
    std::optional<JsonView> find(std::string_view name) const;
    // Requires: an object.
    std::vector<std::pair<std::string_view, JsonView>> members() const;

    // As Json::dump.
    std::string dump() const;

 private:
    const nlohmann::ordered_json *value_;
};

}  // namespace tarnctl

#endif
