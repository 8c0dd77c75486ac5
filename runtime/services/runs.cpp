// SPDX-License-Identifier: Apache-2.0
// Operations on runs of integers, and on pieces of a form.
#include <array>
#include <span>

#include "runtime/handle/handle.h"
#include "runtime/services/own.h"
#include "runtime/value/run.h"
#include "runtime/value/text_run.h"
#include "tarnbase/runs.h"

// The six integers, for each of which VALUE(type, c_type) is called.
#define TARNBASE_EACH_INTEGER(VALUE) \
    VALUE(u_int8, std::uint8_t)      \
    VALUE(u_int16, std::uint16_t)    \
    VALUE(u_int32, std::uint32_t)    \
    VALUE(u_int64, std::uint64_t)    \
    VALUE(int32, std::int32_t)       \
    VALUE(int64, std::int64_t)

#define TARNBASE_DECLARE_OWN(value, operation) \
    extern "C" __attribute__((                 \
        visibility("hidden"))) decltype(value##_##operation) value##_own_##operation;
#define TARNBASE_DECLARE_EACH_OWN(value, type) \
    TARNBASE_DECLARE_OWN(value, marshal)       \
    TARNBASE_DECLARE_OWN(value, unmarshal)     \
    TARNBASE_DECLARE_OWN(value, print)         \
    TARNBASE_DECLARE_OWN(value, to_xml)
TARNBASE_EACH_INTEGER(TARNBASE_DECLARE_EACH_OWN)

namespace {

using namespace tarnbase::runtime;

template <typename T>
std::uint32_t marshal_run(kel_handle *handle, std::uint32_t, void *buffer, const void *values,
                          std::uint32_t count, std::uint32_t remaining, std::uint32_t *err) {
    return scalar::marshal_run(handle, buffer, static_cast<const T *>(values), count, remaining,
                               err);
}

template <typename T>
std::uint32_t unmarshal_run(kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                            void *values, std::uint32_t count, std::uint32_t remaining,
                            std::uint32_t, std::uint32_t *err) {
    if (*err != 0) return 0;
    const std::uint32_t length = count * static_cast<std::uint32_t>(sizeof(T));
    if (values != nullptr && scalar::fits<T>(count, remaining) &&
        announce_range(handle, tx_id, values, length)) {
        scalar::copy_little<T>(values, buffer, count);
        return length;
    }
    return scalar::unmarshal_each(handle, tx_id, buffer, static_cast<T *>(values), count, remaining,
                                  err);
}

template <typename T>
std::uint32_t print_run(kel_handle *handle, std::uint32_t, char *buffer, std::uint32_t indent,
                        const kel_labelled_run *run, std::uint32_t remaining, std::uint32_t *err) {
    return scalar::print_run<T>({handle, buffer, remaining, err}, indent, *run);
}

template <typename T>
std::uint32_t to_xml_run(kel_handle *handle, std::uint32_t, char *buffer,
                         const kel_labelled_run *run, std::uint32_t remaining, std::uint32_t *err) {
    return scalar::to_xml_run<T>({handle, buffer, remaining, err}, *run);
}

std::uint32_t marshal_pieces(kel_handle *, std::uint32_t, void *buffer, const kel_run_piece *pieces,
                             std::uint32_t count) {
    for (const kel_run_piece &piece : std::span(pieces, count))
        scalar::copy_values(static_cast<char *>(buffer) + piece.offset, piece.values, piece);
    return 1;
}

std::uint32_t unmarshal_pieces(kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                               const kel_run_piece *pieces, std::uint32_t count, void *first,
                               std::uint64_t length) {
    if (!announce_range(handle, tx_id, first, length)) return 0;
    for (const kel_run_piece &piece : std::span(pieces, count))
        scalar::copy_values(piece.values, static_cast<const char *>(buffer) + piece.offset, piece);
    return 1;
}

template <typename Single, typename Run>
kel_run_service entry(Single *single, Run run) {
    return {reinterpret_cast<void (*)()>(single), reinterpret_cast<void (*)()>(run)};
}

}  // namespace

const kel_run_service *kel_run_services(std::uint32_t *count) {
    // The conversions leave the compiler the prototypes to check.
#define TARNBASE_RUNS(value, type)                                                         \
    entry(value##_own_marshal, static_cast<kel_marshal_run>(marshal_run<type>)),           \
        entry(value##_own_unmarshal, static_cast<kel_unmarshal_run>(unmarshal_run<type>)), \
        entry(value##_own_print, static_cast<kel_print_run>(print_run<type>)),             \
        entry(value##_own_to_xml, static_cast<kel_to_xml_run>(to_xml_run<type>)),
    constexpr kel_marshal_pieces marshal = marshal_pieces;
    constexpr kel_unmarshal_pieces unmarshal = unmarshal_pieces;
    static const std::array services{TARNBASE_EACH_INTEGER(TARNBASE_RUNS)  //
                                     entry(own_jump_marshal, marshal),
                                     entry(own_variant_marshal, marshal),
                                     entry(own_obj_flag_marshal, marshal),
                                     entry(own_get_obj_flag, marshal),
                                     entry(own_get_variant, marshal),
                                     entry(own_domain_lookup, marshal),
                                     entry(own_clear_last_error, marshal),
                                     entry(own_jump_unmarshal, unmarshal),
                                     entry(own_variant_unmarshal, unmarshal),
                                     entry(own_obj_flag_unmarshal, unmarshal),
                                     entry(own_clear_last_error, unmarshal)};
    *count = static_cast<std::uint32_t>(services.size());
    return services.data();
}
