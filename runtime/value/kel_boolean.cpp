// SPDX-License-Identifier: Apache-2.0
// A truth value: a header and a word that is 0 or 1. A null value reads as false.
#include <cstdint>
#include <string>

#include "runtime/value/descriptor.h"
#include "runtime/value/hash.h"
#include "runtime/value/header.h"
#include "runtime/xml/element.h"

static_assert(sizeof(kel_boolean) == 16 && offsetof(kel_boolean, value) == 12);

namespace {

using namespace tarnbase::runtime;

constexpr std::uint32_t wire_length = 1;

bool is_true(const kel_boolean *field) { return field != nullptr && field->value != 0; }

const char *text_of(const kel_boolean *field) { return is_true(field) ? "true" : "false"; }

constinit kel_variant_usage variant_usage{0, sizeof(kel_boolean), 0, 0, 0, 0};
constinit kel_variant_info variants{1, &variant_usage};

}  // namespace

constinit const kel_type_info _kel_boolean_type_info_internal =
    describe("kel_boolean", "f586973e7aa62da19cf11b0abf111e89", &variants);
static const ValueType value_type(_kel_boolean_type_info_internal);

kel_boolean *kel_boolean_get(kel_handle *, std::uint32_t, kel_boolean *field, std::uint32_t *err) {
    return *err == 0 ? field : nullptr;
}

std::uint32_t kel_boolean_get_value(kel_handle *, std::uint32_t, const kel_boolean *access,
                                    std::uint32_t *err) {
    return *err == 0 && is_true(access) ? 1 : 0;
}

void kel_boolean_set_value(kel_handle *handle, std::uint32_t tx_id, kel_boolean *field,
                           std::uint32_t new_value, std::uint32_t *err) {
    if (*err != 0) return;
    if (field == nullptr) return report_error(handle, err, ENOENT);
    WriteLog{handle, tx_id}.set(field->value, std::uint32_t{new_value != 0});
}

void kel_boolean_set(kel_handle *handle, std::uint32_t tx_id, kel_boolean *field,
                     const kel_boolean *source, std::uint32_t *err) {
    if (*err != 0) return;
    if (source == nullptr) return report_error(handle, err, ENOENT);
    kel_boolean_set_value(handle, tx_id, field, source->value, err);
}

std::uint32_t kel_boolean_hash(const kel_boolean *field, std::uint32_t seed) {
    return field == nullptr ? seed : hash_bytes(&field->value, sizeof field->value, seed);
}

std::uint32_t kel_boolean_len(kel_handle *, std::uint32_t, const kel_boolean *) {
    return wire_length;
}

std::uint32_t kel_boolean_marshal(kel_handle *handle, std::uint32_t, void *buffer,
                                  const kel_boolean *field, std::uint32_t remaining,
                                  std::uint32_t *err) {
    if (*err != 0) return 0;
    if (remaining < wire_length) {
        report_error(handle, err, EMSGSIZE);
        return 0;
    }
    *static_cast<std::uint8_t *>(buffer) = is_true(field) ? 1 : 0;
    return wire_length;
}

std::uint32_t kel_boolean_unmarshal(kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                                    kel_boolean *field, std::uint32_t remaining, std::uint32_t,
                                    std::uint32_t *err) {
    if (*err != 0) return 0;
    if (remaining < wire_length) {
        report_error(handle, err, EMSGSIZE);
        return 0;
    }
    kel_boolean_set_value(handle, tx_id, field, *static_cast<const std::uint8_t *>(buffer), err);
    return *err == 0 ? wire_length : 0;
}

std::uint32_t kel_boolean_print(kel_handle *handle, std::uint32_t, char *buffer,
                                std::uint32_t indent, const char *name, const kel_boolean *field,
                                std::uint32_t remaining, std::uint32_t *err) {
    if (*err != 0) return 0;
    Line line(buffer, remaining);
    line.blanks(indent).text(name).text(": ").text(text_of(field)).character('\n');
    return line.finish(handle, err);
}

std::uint32_t kel_boolean_to_xml(kel_handle *handle, std::uint32_t, const char *name, char *buffer,
                                 const kel_boolean *field, std::uint32_t remaining,
                                 std::uint8_t state_flag, std::uint32_t *err) {
    return write_element({handle, name, buffer, remaining, state_flag, err},
                         [&](Line &line) { line.text(text_of(field)); });
}

void kel_boolean_from_xml(kel_handle *handle, std::uint32_t tx_id, const char *path, void *document,
                          kel_boolean *field, std::uint32_t *err, char *, std::uint32_t) {
    read_value({handle, path, document, err}, [&](const std::string &text) -> std::string {
        const bool yes = text == "true" || text == "1";
        if (!yes && text != "false" && text != "0") return "true, false, 1 or 0";
        kel_boolean_set_value(handle, tx_id, field, yes ? 1 : 0, err);
        return {};
    });
}

std::uint32_t kel_boolean_backpropagate(kel_handle *, std::uint32_t, kel_boolean *field,
                                        std::uint32_t *err) {
    return take_modified_mark(field, err);
}

std::int32_t kel_boolean_compare(const kel_boolean *a, const kel_boolean *b) {
    if (const NullOrder nulls = order_of_nulls(a, b); nulls.decided) return nulls.order;
    return order_of(is_true(a), is_true(b));
}

// A boolean has no state block of its own and isn't counted: it is never destroyed by
// itself, only with its parent.
void kel_boolean_initialize(kel_handle *handle, std::uint32_t tx_id, kel_boolean *field,
                            const kel_type_info *descriptor, std::uint32_t log_writes,
                            std::uint32_t, std::uint8_t flags, void *, std::uint32_t *err) {
    if (*err != 0) return;
    initialize_header(Writer{handle, tx_id, log_writes != 0}, field, descriptor, flags);
}

void kel_boolean_set_instance_embedded(kel_handle *handle, std::uint32_t tx_id,
                                       kel_boolean *field) {
    set_embedded(handle, tx_id, field);
}
