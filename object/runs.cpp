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
            if (services_[i].single == function(single)) {
                return reinterpret_cast<Run>(services_[i].run);
            }
        }
        return nullptr;
    }
    // The same for an operation that repeats several services; the first one is of it alone.
    template <typename Run, typename Single, typename... Singles>
    Run find_for_all(Single *single, Singles *...others) const {
        const Run found = find<Run>(single);
        return (... && repeats(function(found), function(others))) ? found : nullptr;
    }

 private:
    using Function = void (*)();
    template <typename Any>
    static Function function(Any *any) {
        return reinterpret_cast<Function>(any);
    }
    bool repeats(Function run, Function single) const {
        for (std::uint32_t i = 0; i < count_; ++i) {
            if (services_[i].single == single && services_[i].run == run) return true;
        }
        return false;
    }

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

// Whether all kinds of numbers have an operation.
template <typename Run>
bool have_all(const std::array<RunOperations, std::size(all_kinds)> &operations,
              Run RunOperations::*run) {
    for (const KindFacts &kind : all_kinds) {
        if (is_number(kind.kind) && operations[static_cast<unsigned>(kind.kind)].*run == nullptr)
            return false;
    }
    return true;
}

PieceOperations find_piece_operations(
    const std::array<RunOperations, std::size(all_kinds)> &operations) {
    const RunServices services;
    PieceOperations found = {};
    if (have_all(operations, &RunOperations::marshal)) {
        found.marshal = services.find_for_all<kel_marshal_pieces>(
            &_kel_variant_jump_marshal, &_kel_instance_variant_marshal,
            &_kel_instance_obj_flag_marshal, &kel_get_instance_obj_flag, &kel_get_instance_variant,
            &kel_domain_lookup_variant, &kel_clear_last_error);
    }
    if (have_all(operations, &RunOperations::unmarshal)) {
        found.unmarshal = services.find_for_all<kel_unmarshal_pieces>(
            &_kel_variant_jump_unmarshal, &_kel_instance_variant_unmarshal,
            &_kel_instance_obj_flag_unmarshal, &kel_clear_last_error);
    }
    return found;
}

}  // namespace

const std::array<RunOperations, std::size(all_kinds)> run_operations = find_operations();
const PieceOperations piece_operations = find_piece_operations(run_operations);

}  // namespace tarnbase::object
