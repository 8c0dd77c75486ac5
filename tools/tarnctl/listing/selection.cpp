// SPDX-License-Identifier: Apache-2.0
#include "listing/selection.h"

#include <algorithm>

#include "terminal/progress.h"

namespace tarnctl {
namespace {

bool has_state(const Record &record, const SelectionOptions &options) {
    if (options.tenant && record.tenant() != *options.tenant) return false;
    if (options.source && record.src() != *options.source) return false;
    return record.is_pending() ? !options.no_pending : !options.only_pending;
}

bool is_hidden(const Record &record, const SelectionOptions &options) {
    return record.is_shadow() && !options.shadows && !options.source;
}

// How many of the walk's records are needed at all; the last ones are, to go backwards.
std::optional<uint64_t> needed(const SelectionOptions &options) {
    if (options.reverse || !options.limit) return std::nullopt;
    return options.offset + std::min(*options.limit, UINT64_MAX - options.offset);
}

void cut_out(std::vector<Record> &records, const SelectionOptions &options) {
    if (options.reverse) std::reverse(records.begin(), records.end());
    const auto skipped = std::min<uint64_t>(options.offset, records.size());
    records.erase(records.begin(), records.begin() + static_cast<std::ptrdiff_t>(skipped));
    if (options.limit && *options.limit < records.size())
        records.erase(records.begin() + static_cast<std::ptrdiff_t>(*options.limit), records.end());
}

}  // namespace

Selection select(const Store &store, const Instance &instance, const SelectionOptions &options) {
    const Filter filter(*instance.table, options.conditions);
    const std::optional<uint64_t> enough = needed(options);
    Selection selection;
    Progress progress("records", instance.block->record_count);
    for_each_record(store, instance, [&](const Record &record) {
        if (enough && selection.records.size() >= *enough) return false;
        progress.advance();
        if (!has_state(record, options) || !filter.passes(record)) return true;
        if (is_hidden(record, options)) ++selection.hidden_shadows;
        else selection.records.push_back(record);
        return true;
    });
    cut_out(selection.records, options);
    return selection;
}

}  // namespace tarnctl
