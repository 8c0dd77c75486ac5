// SPDX-License-Identifier: Apache-2.0
/// @file
/// Tenants and sources: the first and the last part of every table's key order.
#ifndef TARNBASE_TARN_TENANT_HPP
#define TARNBASE_TARN_TENANT_HPP

#include <cstdint>

#include "tarnbase/embedded.h"
#include "tarnbase/record.h"
#include "tarnbase/runtime.h"

namespace tarn {

/// The origin of a record. Every byte is valid.
enum class source : std::uint8_t {
    standard = KEL_SOURCE_DEFAULT,  ///< the default
    shadow = KEL_SOURCE_SHADOW,     ///< of a key's shadow
};

/// Sets this thread's tenant until the end of the scope: records are created for it, and
/// reads are limited to it.
class tenant_scope {
 public:
    explicit tenant_scope(std::uint16_t tenant) noexcept {
        mt_get_tenant_id(&before_);
        kel_thread_set_tenant(tenant);
    }
    tenant_scope(const tenant_scope &) = delete;
    tenant_scope &operator=(const tenant_scope &) = delete;
    ~tenant_scope() { kel_thread_set_tenant(before_); }

 private:
    std::uint16_t before_ = 0;
};

}  // namespace tarn

#endif
