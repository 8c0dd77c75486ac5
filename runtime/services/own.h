/* SPDX-License-Identifier: Apache-2.0 */
// Names of this runtime's own functions, also if a program defines the services itself. `runs.cpp`
// lists them as what its operations repeat.
#ifndef TARNBASE_RUNTIME_SERVICES_OWN_H
#define TARNBASE_RUNTIME_SERVICES_OWN_H

#include "tarnbase/runtime.h"

#define TARNBASE_HIDDEN_NAME(service, name) \
    extern "C" __attribute__((visibility("hidden"))) decltype(service) name;
TARNBASE_HIDDEN_NAME(_kel_instance_variant_marshal, own_variant_marshal)
TARNBASE_HIDDEN_NAME(_kel_instance_variant_unmarshal, own_variant_unmarshal)
TARNBASE_HIDDEN_NAME(_kel_instance_obj_flag_marshal, own_obj_flag_marshal)
TARNBASE_HIDDEN_NAME(_kel_instance_obj_flag_unmarshal, own_obj_flag_unmarshal)
TARNBASE_HIDDEN_NAME(_kel_variant_jump_marshal, own_jump_marshal)
TARNBASE_HIDDEN_NAME(_kel_variant_jump_unmarshal, own_jump_unmarshal)
TARNBASE_HIDDEN_NAME(kel_get_instance_obj_flag, own_get_obj_flag)
TARNBASE_HIDDEN_NAME(kel_get_instance_variant, own_get_variant)
TARNBASE_HIDDEN_NAME(kel_domain_lookup_variant, own_domain_lookup)
TARNBASE_HIDDEN_NAME(kel_clear_last_error, own_clear_last_error)
#undef TARNBASE_HIDDEN_NAME

// In the file that defines the service.
#define TARNBASE_OWN_NAME(service, name) \
    extern "C" __attribute__((visibility("hidden"), alias(#service))) decltype(service) name;

#endif
