// SPDX-License-Identifier: Apache-2.0
#include "tests/support/run_switch.h"

#include <dlfcn.h>

#include <array>
#include <vector>

#include "tarnbase/runs.h"
#include "tarnbase/runtime.h"
#include "tarnbase/value.h"

namespace tarn::test {

namespace {

using Function = void (*)();

// The runtime's operations of one type, which the library finds as ours.
template <auto Marshal, auto Unmarshal, auto Print, auto ToXml, typename T>
struct Switched {
    inline static kel_marshal_run marshal_run = nullptr;
    inline static kel_unmarshal_run unmarshal_run = nullptr;
    inline static kel_print_run print_run = nullptr;
    inline static kel_to_xml_run to_xml_run = nullptr;

    static const T *value_at(const void *values, std::uint32_t index) {
        return values == nullptr ? nullptr : static_cast<const T *>(values) + index;
    }

    static std::uint32_t marshal(kel_handle *handle, std::uint32_t tx_id, void *buffer,
                                 const void *values, std::uint32_t count, std::uint32_t remaining,
                                 std::uint32_t *err) {
        RunSwitch::runs += 1;
        RunSwitch::values += count;
        if (!RunSwitch::one_by_one) {
            return marshal_run(handle, tx_id, buffer, values, count, remaining, err);
        }
        std::uint32_t used = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            used += Marshal(handle, tx_id, static_cast<char *>(buffer) + used, value_at(values, i),
                            remaining - used, err);
        }
        return used;
    }

    static std::uint32_t unmarshal(kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                                   void *values, std::uint32_t count, std::uint32_t remaining,
                                   std::uint32_t in_place, std::uint32_t *err) {
        RunSwitch::runs += 1;
        RunSwitch::values += count;
        if (!RunSwitch::one_by_one) {
            return unmarshal_run(handle, tx_id, buffer, values, count, remaining, in_place, err);
        }
        std::uint32_t used = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            used += Unmarshal(handle, tx_id, static_cast<const char *>(buffer) + used,
                              static_cast<T *>(values) + i, remaining - used, in_place, err);
        }
        return used;
    }

    static std::uint32_t print(kel_handle *handle, std::uint32_t tx_id, char *buffer,
                               std::uint32_t indent, const kel_labelled_run *run,
                               std::uint32_t remaining, std::uint32_t *err) {
        RunSwitch::runs += 1;
        RunSwitch::values += run->count;
        if (!RunSwitch::one_by_one) {
            return print_run(handle, tx_id, buffer, indent, run, remaining, err);
        }
        std::uint32_t used = 0;
        for (std::uint32_t i = 0; i < run->count; ++i) {
            used += Print(handle, tx_id, buffer + used, indent, run->labels[i].name,
                          value_at(run->values, i), remaining - used, err);
        }
        return used;
    }

    static std::uint32_t to_xml(kel_handle *handle, std::uint32_t tx_id, char *buffer,
                                const kel_labelled_run *run, std::uint32_t remaining,
                                std::uint32_t *err) {
        RunSwitch::runs += 1;
        RunSwitch::values += run->count;
        if (!RunSwitch::one_by_one) {
            return to_xml_run(handle, tx_id, buffer, run, remaining, err);
        }
        std::uint32_t used = 0;
        for (std::uint32_t i = 0; i < run->count; ++i) {
            used += ToXml(handle, tx_id, run->labels[i].name, buffer + used,
                          value_at(run->values, i), remaining - used, 0, err);
        }
        return used;
    }

    // Keeps the runtime's operation if `service` is that of `single`, and puts ours in its place.
    template <typename Single, typename Run>
    static void replace(kel_run_service &service, Single *single, Run &kept, Run ours) {
        if (service.single != reinterpret_cast<Function>(single)) return;
        kept = reinterpret_cast<Run>(service.run);
        service.run = reinterpret_cast<Function>(ours);
    }

    // Replaces the runtime's operations, if `service` is one of this type's.
    static void take_over(kel_run_service &service) {
        replace(service, Marshal, marshal_run, &marshal);
        replace(service, Unmarshal, unmarshal_run, &unmarshal);
        replace(service, Print, print_run, &print);
        replace(service, ToXml, to_xml_run, &to_xml);
    }
};

// The runtime's operations on pieces, which decline to do anything if they are to be done without.
kel_marshal_pieces marshal_pieces = nullptr;
kel_unmarshal_pieces unmarshal_pieces = nullptr;

std::uint32_t switched_marshal_pieces(kel_handle *handle, std::uint32_t tx_id, void *buffer,
                                      const kel_run_piece *pieces, std::uint32_t count) {
    if (RunSwitch::one_by_one) return 0;
    RunSwitch::pieces += count;
    return marshal_pieces(handle, tx_id, buffer, pieces, count);
}

std::uint32_t switched_unmarshal_pieces(kel_handle *handle, std::uint32_t tx_id, const void *buffer,
                                        const kel_run_piece *pieces, std::uint32_t count,
                                        void *first, std::uint64_t length) {
    if (RunSwitch::one_by_one) return 0;
    const std::uint32_t done =
        unmarshal_pieces(handle, tx_id, buffer, pieces, count, first, length);
    if (done != 0) RunSwitch::pieces += count;
    return done;
}

// Replaces an operation on pieces wherever it is; `single` is a service that it alone repeats.
template <typename Single, typename Pieces>
void replace_pieces(std::vector<kel_run_service> &services, Single *single, Pieces &kept,
                    Pieces ours) {
    for (const kel_run_service &service : services) {
        if (service.single == reinterpret_cast<Function>(single))
            kept = reinterpret_cast<Pieces>(service.run);
    }
    for (kel_run_service &service : services) {
        if (service.run == reinterpret_cast<Function>(kept))
            service.run = reinterpret_cast<Function>(ours);
    }
}

#define TARN_SWITCHED(type, c_type) \
    Switched<&type##_marshal, &type##_unmarshal, &type##_print, &type##_to_xml, c_type>::take_over

std::vector<kel_run_service> switched_services() {
    std::uint32_t count = 0;
    auto *const real =
        reinterpret_cast<decltype(&kel_run_services)>(dlsym(RTLD_NEXT, "kel_run_services"));
    const kel_run_service *const services = real(&count);
    std::vector<kel_run_service> ours(services, services + count);
    for (kel_run_service &service : ours) {
        for (const auto take_over :
             {TARN_SWITCHED(u_int8, std::uint8_t), TARN_SWITCHED(u_int16, std::uint16_t),
              TARN_SWITCHED(u_int32, std::uint32_t), TARN_SWITCHED(u_int64, std::uint64_t),
              TARN_SWITCHED(int32, std::int32_t), TARN_SWITCHED(int64, std::int64_t)}) {
            const kel_run_service before = service;
            take_over(service);
            if (service.run != before.run) break;
        }
    }
    replace_pieces(ours, &_kel_variant_jump_marshal, marshal_pieces, &switched_marshal_pieces);
    replace_pieces(ours, &_kel_variant_jump_unmarshal, unmarshal_pieces,
                   &switched_unmarshal_pieces);
    return ours;
}

}  // namespace

}  // namespace tarn::test

// The library finds this one in place of the runtime's.
const kel_run_service *kel_run_services(std::uint32_t *count) {
    static const std::vector<kel_run_service> services = tarn::test::switched_services();
    *count = static_cast<std::uint32_t>(services.size());
    return services.data();
}
