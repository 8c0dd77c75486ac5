// SPDX-License-Identifier: Apache-2.0
//
// The functions of a field in the form that single fields and arrays share, for the generated
// entries of the catalogue.
#ifndef TARNBASE_CATALOGUE_ENTRIES_H
#define TARNBASE_CATALOGUE_ENTRIES_H

#include "catalogue/catalogue.h"
#include "catalogue/erase.h"

namespace tarnbase::catalogue {

template <auto Get>
void *get_single(kel_handle *handle, uint32_t tx_id, void *object, uint32_t, uint32_t *err) {
    return Get(handle, tx_id, Any{object}, err);
}

template <auto GetValue>
uint64_t get_single_value(kel_handle *handle, uint32_t tx_id, void *object, uint32_t,
                          uint32_t *err) {
    return static_cast<uint64_t>(GetValue(handle, tx_id, Any{object}, err));
}

template <auto GetValue, auto SetValue>
void set_single_value(kel_handle *handle, uint32_t tx_id, void *object, uint32_t, uint64_t value,
                      uint32_t *err) {
    using Value = decltype(GetValue(handle, tx_id, Any{object}, err));
    SetValue(handle, tx_id, Any{object}, static_cast<Value>(value), err);
}

template <auto SetValue>
void set_element(kel_handle *handle, uint32_t tx_id, void *object, uint32_t index, uint64_t value,
                 uint32_t *err) {
    SetValue(handle, tx_id, Any{object}, index, static_cast<uint8_t>(value), err);
}

// An object inside the object: a string, an address, a structure.
template <auto Get, auto Set, auto StateFlag, auto SetStateFlag>
constexpr FieldFunctions object_field() {
    FieldFunctions call = {};
    call.get = get_single<Get>;
    call.set = erase<Set>;
    call.state_flag = erase<StateFlag>;
    call.set_state_flag = erase<SetStateFlag>;
    return call;
}

// A number, a boolean or an enumeration.
template <auto Get, auto Set, auto GetValue, auto SetValue, auto StateFlag, auto SetStateFlag>
constexpr FieldFunctions value_field() {
    FieldFunctions call = object_field<Get, Set, StateFlag, SetStateFlag>();
    call.get_value = get_single_value<GetValue>;
    call.set_value = set_single_value<GetValue, SetValue>;
    return call;
}

// An array of numbers.
template <auto Get, auto GetValue, auto SetValue, auto StateFlag, auto SetStateFlag,
          auto ElementStateFlag, auto SetElementStateFlag>
constexpr FieldFunctions array_field() {
    FieldFunctions call = {};
    call.get = erase<Get>;
    call.get_value = erase<GetValue>;
    call.set_value = set_element<SetValue>;
    call.state_flag = erase<StateFlag>;
    call.set_state_flag = erase<SetStateFlag>;
    call.element_state_flag = erase<ElementStateFlag>;
    call.set_element_state_flag = erase<SetElementStateFlag>;
    return call;
}

}  // namespace tarnbase::catalogue

#endif
