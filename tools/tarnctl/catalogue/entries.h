// SPDX-License-Identifier: Apache-2.0
//
// What the entries of the catalogue are written with: a field's functions in the one form that
// single fields and the elements of an array share.
#ifndef TARNCTL_CATALOGUE_ENTRIES_H
#define TARNCTL_CATALOGUE_ENTRIES_H

#include "catalogue/catalogue.h"
#include "catalogue/erase.h"

namespace tarnctl {

// An object inside the object: a string, an address, a structure.
template <auto Get, auto Set, auto StateFlag, auto SetStateFlag>
inline constexpr FieldFunctions object_field = {
    .get = [](kel_handle *handle, uint32_t tx_id, void *object, uint32_t, uint32_t *err) -> void * {
        return erase<Get>(handle, tx_id, object, err);
    },
    .set = erase<Set>,
    .get_value = nullptr,
    .set_value = nullptr,
    .state_flag = erase<StateFlag>,
    .set_state_flag = erase<SetStateFlag>,
    .element_state_flag = nullptr,
    .set_element_state_flag = nullptr,
};

// A number, a boolean or an enumeration.
template <auto Get, auto Set, auto GetValue, auto SetValue, auto StateFlag, auto SetStateFlag>
inline constexpr FieldFunctions value_field = {
    .get = [](kel_handle *handle, uint32_t tx_id, void *object, uint32_t, uint32_t *err) -> void * {
        return erase<Get>(handle, tx_id, object, err);
    },
    .set = erase<Set>,
    .get_value =
        [](kel_handle *handle, uint32_t tx_id, void *object, uint32_t, uint32_t *err) {
            return static_cast<uint64_t>(erase<GetValue>(handle, tx_id, object, err));
        },
    .set_value =
        [](kel_handle *handle, uint32_t tx_id, void *object, uint32_t, uint64_t value,
           uint32_t *err) {
            using Value = decltype(erase<GetValue>(handle, tx_id, object, err));
            erase<SetValue>(handle, tx_id, object, static_cast<Value>(value), err);
        },
    .state_flag = erase<StateFlag>,
    .set_state_flag = erase<SetStateFlag>,
    .element_state_flag = nullptr,
    .set_element_state_flag = nullptr,
};

// An array of numbers.
template <auto Get, auto GetValue, auto SetValue, auto StateFlag, auto SetStateFlag,
          auto ElementStateFlag, auto SetElementStateFlag>
inline constexpr FieldFunctions array_field = {
    .get = [](kel_handle *handle, uint32_t tx_id, void *object, uint32_t index,
              uint32_t *err) -> void * { return erase<Get>(handle, tx_id, object, index, err); },
    .set = nullptr,
    .get_value =
        [](kel_handle *handle, uint32_t tx_id, void *object, uint32_t index, uint32_t *err) {
            return static_cast<uint64_t>(erase<GetValue>(handle, tx_id, object, index, err));
        },
    .set_value =
        [](kel_handle *handle, uint32_t tx_id, void *object, uint32_t index, uint64_t value,
           uint32_t *err) {
            using Value = decltype(erase<GetValue>(handle, tx_id, object, index, err));
            erase<SetValue>(handle, tx_id, object, index, static_cast<Value>(value), err);
        },
    .state_flag = erase<StateFlag>,
    .set_state_flag = erase<SetStateFlag>,
    .element_state_flag = erase<ElementStateFlag>,
    .set_element_state_flag = erase<SetElementStateFlag>,
};

}  // namespace tarnctl

#endif
