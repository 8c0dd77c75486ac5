// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/random/model.h"

namespace tarn::test {

Found found_of(const Row *row) {
    return {row, row != nullptr && row->place.src != KEL_SOURCE_SHADOW ? 1U : 0U};
}

std::uint8_t Row::flags() const {
    return static_cast<std::uint8_t>((inserted ? KEL_RECORD_IN_INDEX : 0U) |
                                     (pending ? KEL_RECORD_PENDING_DESTROY : 0U) |
                                     (by_pkey ? KEL_RECORD_PKEY_INSERTED : 0U));
}

std::uint32_t Model::add(const Row &row) {
    ++alive;
    ++created[row.store_type ? 1 : 0];
    for (std::uint32_t i = 0; i < rows.size(); ++i) {
        if (rows[i].record != nullptr) continue;
        rows[i] = row;
        return i;
    }
    rows.push_back(row);
    return static_cast<std::uint32_t>(rows.size() - 1);
}

void Model::forget(std::uint32_t row) {
    ++destroyed[rows[row].store_type ? 1 : 0];
    rows[row] = {};
    --alive;
}

void Model::insert(std::uint32_t number, std::uint32_t table, bool by_pkey, std::uint16_t tenant) {
    Row &row = rows[number];
    row.table = table;
    row.linked = true;
    row.inserted = true;
    row.pending = false;
    row.by_pkey = by_pkey;
    tables[table].index[row.place] = number;
    if (tenant == 0) return;
    TenantCounts &counts = tables[table].tenants[tenant];
    ++counts.total;
    ++counts.by_source[row.place.src];
}

void Model::remove(std::uint32_t number, std::uint16_t tenant) {
    Row &row = rows[number];
    TableModel &table = tables[row.table];
    table.index.erase(row.place);
    row.table = outside;
    remove_absent(number);
    // The caller's tenant is counted; it may have no records.
    if (tenant == 0) return;
    TenantCounts &counts = table.tenants[tenant];
    if (counts.total != 0) --counts.total;
    std::uint32_t &of_source = counts.by_source[row.place.src];
    if (of_source != 0) --of_source;
}

void Model::remove_absent(std::uint32_t row) {
    rows[row].linked = false;
    rows[row].by_pkey = false;
}

const Row *Model::at(std::uint32_t table, const Place &place) const {
    const auto found = tables[table].index.find(place);
    return found != tables[table].index.end() ? &rows[found->second] : nullptr;
}

bool Model::passes(const Row &row, const Filter &filter) const {
    if (filter.match_src && row.place.src != filter.src) return false;
    return !filter.skip_pending || !row.pending;
}

const Row *Model::next(std::uint32_t table, const Place &place, std::uint16_t tenant,
                       const Filter &filter) const {
    const auto &index = tables[table].index;
    for (auto it = index.upper_bound(place); it != index.end(); ++it) {
        if (it->first.tenant != tenant) return nullptr;
        if (passes(rows[it->second], filter)) return &rows[it->second];
    }
    return nullptr;
}

const Row *Model::prev(std::uint32_t table, const Place &place, std::uint16_t tenant,
                       const Filter &filter) const {
    const auto &index = tables[table].index;
    for (auto it = index.lower_bound(place); it != index.begin();) {
        --it;
        if (it->first.tenant != tenant) return nullptr;
        if (passes(rows[it->second], filter)) return &rows[it->second];
    }
    return nullptr;
}

const Row *Model::first(std::uint32_t table, std::uint16_t tenant, const Filter &filter) const {
    const auto &index = tables[table].index;
    for (auto it = index.lower_bound({tenant, 0, 0}); it != index.end(); ++it) {
        if (it->first.tenant != tenant) return nullptr;
        if (passes(rows[it->second], filter)) return &rows[it->second];
    }
    return nullptr;
}

const Row *Model::last(std::uint32_t table, std::uint16_t tenant, const Filter &filter) const {
    // Higher than every key.
    return prev(table, {tenant, ~std::uint32_t{0}, KEL_SOURCE_SHADOW}, tenant, filter);
}

const Row *Model::sub_next(std::uint32_t table, const Place &place) const {
    const auto it = tables[table].index.upper_bound(place);
    const bool same = it != tables[table].index.end() && it->first.key == place.key;
    return same ? &rows[it->second] : nullptr;
}

const Row *Model::sub_prev(std::uint32_t table, const Place &place) const {
    auto it = tables[table].index.lower_bound(place);
    if (it == tables[table].index.begin()) return nullptr;
    --it;
    return it->first.key == place.key ? &rows[it->second] : nullptr;
}

Found Model::search(std::uint32_t table, const Place &place, bool nearest, bool forward,
                    bool skip_pending) const {
    const Row *hit = at(table, place);
    if (hit != nullptr && !(skip_pending && hit->pending)) return found_of(hit);
    if (!nearest) return {};
    // A walk that hides no pending record uses the default source for any source.
    const Filter filter{skip_pending ? place.src : std::uint8_t{KEL_SOURCE_DEFAULT}, true,
                        skip_pending};
    Found found = found_of(forward ? next(table, place, place.tenant, filter)
                                   : prev(table, place, place.tenant, filter));
    found.reports *= 2;  // by the walk and by the search
    return found;
}

Found Model::by_key(std::uint32_t table, const Place &place, bool forward,
                    bool skip_pending) const {
    const Found exact = search(table, place, false, true, skip_pending);
    if (exact.row == nullptr) return search(table, place, true, forward, skip_pending);
    const Filter filter{place.src, true, skip_pending};
    Found found = found_of(forward ? next(table, place, place.tenant, filter)
                                   : prev(table, place, place.tenant, filter));
    found.reports += exact.reports;
    return found;
}

Found Model::shadow(std::uint32_t table, const Row &row) const {
    Found found{&row, 0};
    while (found.row != nullptr && found.row->place.src != KEL_SOURCE_SHADOW) {
        const Found step = found_of(sub_next(table, found.row->place));
        found = {step.row, found.reports + step.reports};
    }
    return found;
}

std::uint32_t Model::count(std::uint32_t table, std::uint8_t src) const {
    std::uint32_t records = 0;
    for (const auto &entry : tables[table].index) records += entry.first.src == src ? 1U : 0U;
    return records;
}

std::uint32_t Model::tenant_count(std::uint32_t table, std::uint16_t tenant) const {
    const auto found = tables[table].tenants.find(tenant);
    return found != tables[table].tenants.end() ? found->second.total : 0;
}

std::uint32_t Model::tenant_count(std::uint32_t table, std::uint16_t tenant,
                                  std::uint8_t src) const {
    const auto found = tables[table].tenants.find(tenant);
    if (found == tables[table].tenants.end()) return 0;
    const auto count = found->second.by_source.find(src);
    return count != found->second.by_source.end() ? count->second : 0;
}

}  // namespace tarn::test
