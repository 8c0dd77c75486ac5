// SPDX-License-Identifier: Apache-2.0
// Operations on runs of integers.
#include <array>

#include "runtime/handle/handle.h"
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
    return scalar::unmarshal_run(handle, tx_id, buffer, static_cast<T *>(values), count, remaining,
                                 announces_ranges(handle), err);
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
    static const std::array services{TARNBASE_EACH_INTEGER(TARNBASE_RUNS)};
    *count = static_cast<std::uint32_t>(services.size());
    return services.data();
}
