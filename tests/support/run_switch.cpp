// SPDX-License-Identifier: Apache-2.0
#include "tests/support/run_switch.h"

#include <dlfcn.h>

#include <array>
#include <vector>

#include "tarnbase/runs.h"
#include "tarnbase/value.h"

namespace tarn::test {

namespace {

using Function = void (*)();

// The runtime's operations of one type, which the library finds as ours.
template <auto Marshal, auto Unmarshal, typename T>
struct Switched {
    inline static kel_marshal_run marshal_run = nullptr;
    inline static kel_unmarshal_run unmarshal_run = nullptr;

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
            const T *value = values == nullptr ? nullptr : static_cast<const T *>(values) + i;
            used += Marshal(handle, tx_id, static_cast<char *>(buffer) + used, value,
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

    // Replaces the runtime's operations, if `service` is one of this type's.
    static void take_over(kel_run_service &service) {
        if (service.single == reinterpret_cast<Function>(Marshal)) {
            marshal_run = reinterpret_cast<kel_marshal_run>(service.run);
            service.run = reinterpret_cast<Function>(&marshal);
        } else if (service.single == reinterpret_cast<Function>(Unmarshal)) {
            unmarshal_run = reinterpret_cast<kel_unmarshal_run>(service.run);
            service.run = reinterpret_cast<Function>(&unmarshal);
        }
    }
};

#define TARN_SWITCHED(type, c_type) Switched<&type##_marshal, &type##_unmarshal, c_type>::take_over

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
