// SPDX-License-Identifier: Apache-2.0
#include "object/runs.h"

#include "frame/optional_services.h"
#include "tarnbase/value.h"

namespace tarnbase::object {

namespace {

// The runtime's table, searched when the library is loaded.
class RunServices {
 public:
    RunServices() {
        void *const found = find_optional_service("kel_run_services");
        if (found != nullptr)
            services_ = reinterpret_cast<decltype(&kel_run_services)>(found)(&count_);
    }

    // Null unless the runtime's own `single` is the one that the library calls.
    template <typename Run, typename Single>
    Run find(Single *single) const {
        for (std::uint32_t i = 0; i < count_; ++i) {
            if (services_[i].single == reinterpret_cast<void (*)()>(single)) {
                return reinterpret_cast<Run>(services_[i].run);
            }
        }
        return nullptr;
    }

 private:
    const kel_run_service *services_ = nullptr;
    std::uint32_t count_ = 0;
};

#define TARN_RUN_number(type)                                    \
    RunOperations {                                              \
        services.find<kel_marshal_run>(&type##_marshal),         \
            services.find<kel_unmarshal_run>(&type##_unmarshal), \
            services.find<kel_print_run>(&type##_print),         \
            services.find<kel_to_xml_run>(&type##_to_xml)        \
    }
#define TARN_RUN_array(type) TARN_RUN_number(u_int8)
#define TARN_RUN_boxed(type) \
    RunOperations {}
#define TARN_RUN_enumeration(type) \
    RunOperations {}
#define TARN_RUN_object(type) \
    RunOperations {}
#define TARN_RUN_structure(type) \
    RunOperations {}

std::array<RunOperations, std::size(all_kinds)> find_operations() {
    const RunServices services;
    return {
#define TARN_RUN(group, kind, type, ...) TARN_RUN_##group(type),
        TARN_FIELD_KINDS(TARN_RUN)
#undef TARN_RUN
    };
}

}  // namespace

const std::array<RunOperations, std::size(all_kinds)> run_operations = find_operations();

}  // namespace tarnbase::object
