// SPDX-License-Identifier: Apache-2.0
#include "model/census.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "tarnbase/tarn/callback.hpp"

namespace tarnctl {

Census count_records(const Instance &instance, const std::function<void()> &counted) {
    Census census;
    const auto count = [&](kel_record *record) {
        ++census.records;
        ++census.sources[record->src];
        ++census.tenants[record->tenant_id];
        if ((record->flags & KEL_RECORD_PENDING_DESTROY) != 0) ++census.pending;
        counted();
    };
    tarn::callback walk(count);
    uint32_t err = 0;
    instance.table->walk(instance.block, walk.run<kel_record *>, &walk, &err);
    walk.finish();
    need(err, fmt::format("walking {}", instance.full_name()));
    return census;
}

std::string source_name(uint8_t source) {
    return source == KEL_SOURCE_SHADOW ? "shadow" : std::to_string(source);
}

}  // namespace tarnctl
