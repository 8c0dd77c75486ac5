/* SPDX-License-Identifier: Apache-2.0 */
// The six integers: one implementation, and a macro that defines the functions of a type.
// An integer is a plain value inside its object, without a header.
#ifndef TARNBASE_RUNTIME_VALUE_SCALAR_H
#define TARNBASE_RUNTIME_VALUE_SCALAR_H

#include <charconv>
#include <cstdint>
#include <limits>
#include <string>

#include "runtime/base/announce.h"
#include "runtime/base/errors.h"
#include "runtime/value/hash.h"
#include "runtime/wire/little_endian.h"
#include "runtime/xml/element.h"

namespace tarnbase::runtime::scalar {

// A null value reads as 0.
template <typename T>
T value_of(const T *field) {
    return field == nullptr ? T{0} : *field;
}

template <typename T>
void set_value(kel_handle *handle, std::uint32_t tx_id, T *field, T value, std::uint32_t *err) {
    if (*err != 0) return;
    if (field == nullptr) return report_error(handle, err, ENOENT);
    WriteLog{handle, tx_id}.set(*field, value);
}

template <typename T>
void set(kel_handle *handle, std::uint32_t tx_id, T *field, const T *source, std::uint32_t *err) {
    if (*err != 0) return;
    if (source == nullptr) return report_error(handle, err, ENOENT);
    set_value(handle, tx_id, field, *source, err);
}

template <typename T>
std::uint32_t marshal(kel_handle *handle, void *buffer, T value, std::uint32_t remaining,
                      std::uint32_t *err) {
    if (*err != 0) return 0;
    if (remaining < sizeof(T)) {
        report_error(handle, err, EMSGSIZE);
        return 0;
    }
    store_little(buffer, value);
    return sizeof(T);
}

template <typename T>
std::uint32_t unmarshal(kel_handle *handle, std::uint32_t tx_id, const void *buffer, T *field,
                        std::uint32_t remaining, std::uint32_t *err) {
    if (*err != 0) return 0;
    if (remaining < sizeof(T)) {
        report_error(handle, err, EMSGSIZE);
        return 0;
    }
    set_value(handle, tx_id, field, load_little<T>(buffer), err);
    return *err == 0 ? static_cast<std::uint32_t>(sizeof(T)) : 0;
}

template <typename T>
std::uint32_t print(kel_handle *handle, char *buffer, std::uint32_t indent, const char *name,
                    T value, std::uint32_t remaining, std::uint32_t *err) {
    if (*err != 0) return 0;
    Line line(buffer, remaining);
    line.blanks(indent).text(name).text(": ").number(value).character('\n');
    return line.finish(handle, err);
}

// Reads all of a text as a decimal number, with a minus sign if T has one.
template <typename T>
bool parse(const std::string &text, T &value) {
    const char *const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    return error == std::errc{} && rest == end;
}

template <typename T>
std::uint32_t to_xml(const ElementPlace &place, T value) {
    return write_element(place, [&](Line &line) { line.number(value); });
}

template <typename T>
void from_xml(const ElementSource &source, std::uint32_t tx_id, T *field) {
    read_value(source, [&](const std::string &text) -> std::string {
        T value{};
        if (!parse(text, value)) {
            using Limits = std::numeric_limits<T>;
            return "a number from " + std::to_string(Limits::min()) + " to " +
                   std::to_string(Limits::max());
        }
        set_value(source.handle, tx_id, field, value, source.err);
        return {};
    });
}

}  // namespace tarnbase::runtime::scalar

// A name of a service by which this runtime means its own function, whatever a program defines
// under the service's name.
// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are names
#define TARNBASE_OWN_SERVICE(value, operation) \
    extern "C" __attribute__((                 \
        visibility("hidden"),                  \
        alias(#value "_" #operation))) decltype(value##_##operation) value##_own_##operation;
// NOLINTEND(bugprone-macro-parentheses)

// Defines the operations of one integer type.
// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are names
#define TARNBASE_SCALAR(value, type)                                                               \
    type *value##_get(kel_handle *, std::uint32_t, type *field, std::uint32_t *err) {              \
        return *err == 0 ? field : nullptr;                                                        \
    }                                                                                              \
    type value##_get_value(kel_handle *, std::uint32_t, const type *access, std::uint32_t *err) {  \
        return *err == 0 ? tarnbase::runtime::scalar::value_of(access) : type{0};                  \
    }                                                                                              \
    void value##_set(kel_handle *handle, std::uint32_t tx_id, type *field, const type *source,     \
                     std::uint32_t *err) {                                                         \
        tarnbase::runtime::scalar::set(handle, tx_id, field, source, err);                         \
    }                                                                                              \
    void value##_set_value(kel_handle *handle, std::uint32_t tx_id, type *field, type new_value,   \
                           std::uint32_t *err) {                                                   \
        tarnbase::runtime::scalar::set_value(handle, tx_id, field, new_value, err);                \
    }                                                                                              \
    std::uint32_t value##_hash(const type *field, std::uint32_t seed) {                            \
        return field == nullptr ? seed                                                             \
                                : tarnbase::runtime::hash_bytes(field, sizeof *field, seed);       \
    }                                                                                              \
    std::uint32_t value##_len(kel_handle *, std::uint32_t, const type *field) {                    \
        return sizeof *field;                                                                      \
    }                                                                                              \
    std::uint32_t value##_marshal(kel_handle *handle, std::uint32_t, void *buffer,                 \
                                  const type *field, std::uint32_t remaining,                      \
                                  std::uint32_t *err) {                                            \
        const type plain = tarnbase::runtime::scalar::value_of(field);                             \
        return tarnbase::runtime::scalar::marshal(handle, buffer, plain, remaining, err);          \
    }                                                                                              \
    std::uint32_t value##_unmarshal(kel_handle *handle, std::uint32_t tx_id, const void *buffer,   \
                                    type *field, std::uint32_t remaining, std::uint32_t,           \
                                    std::uint32_t *err) {                                          \
        return tarnbase::runtime::scalar::unmarshal(handle, tx_id, buffer, field, remaining, err); \
    }                                                                                              \
    std::uint32_t value##_print(kel_handle *handle, std::uint32_t, char *buffer,                   \
                                std::uint32_t indent, const char *name, const type *field,         \
                                std::uint32_t remaining, std::uint32_t *err) {                     \
        const type plain = tarnbase::runtime::scalar::value_of(field);                             \
        return tarnbase::runtime::scalar::print(handle, buffer, indent, name, plain, remaining,    \
                                                err);                                              \
    }                                                                                              \
    std::uint32_t value##_to_xml(kel_handle *handle, std::uint32_t, const char *name,              \
                                 char *buffer, const type *field, std::uint32_t remaining,         \
                                 std::uint8_t state_flag, std::uint32_t *err) {                    \
        const type plain = tarnbase::runtime::scalar::value_of(field);                             \
        return tarnbase::runtime::scalar::to_xml(                                                  \
            {handle, name, buffer, remaining, state_flag, err}, plain);                            \
    }                                                                                              \
    void value##_from_xml(kel_handle *handle, std::uint32_t tx_id, const char *path,               \
                          void *document, type *field, std::uint32_t *err, char *,                 \
                          std::uint32_t) {                                                         \
        tarnbase::runtime::scalar::from_xml({handle, path, document, err}, tx_id, field);          \
    }                                                                                              \
    /* A plain value has no modified mark: its object has it. */                                   \
    std::uint32_t value##_backpropagate(kel_handle *, std::uint32_t, type *, std::uint32_t *) {    \
        return 0;                                                                                  \
    }                                                                                              \
    TARNBASE_OWN_SERVICE(value, marshal)                                                           \
    TARNBASE_OWN_SERVICE(value, unmarshal)                                                         \
    TARNBASE_OWN_SERVICE(value, print)                                                             \
    TARNBASE_OWN_SERVICE(value, to_xml)
// NOLINTEND(bugprone-macro-parentheses)

#endif
