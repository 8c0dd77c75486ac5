// SPDX-License-Identifier: Apache-2.0
#include "model/census.h"

#include <fmt/format.h>

#include "base/failure.h"

namespace tarnctl {

Census count_records(const Instance &instance, const std::function<void()> &counted) {
    struct Context {
        Census census;
        const std::function<void()> &counted;
    } context{{}, counted};
    const auto count = [](kel_record *record, void *data) -> uint32_t {
        auto &walk = *static_cast<Context *>(data);
        ++walk.census.records;
        ++walk.census.sources[record->src];
        ++walk.census.tenants[record->tenant_id];
        if ((record->flags & KEL_RECORD_PENDING_DESTROY) != 0) ++walk.census.pending;
        walk.counted();
        return 0;
    };
    uint32_t err = 0;
    instance.table->walk(instance.block, count, &context, &err);
    need(err, fmt::format("walking {}", instance.full_name()));
    return std::move(context.census);
}

std::string source_name(uint8_t source) {
    return source == KEL_SOURCE_SHADOW ? "shadow" : std::to_string(source);
}

}  // namespace tarnctl
