/* SPDX-License-Identifier: Apache-2.0 */
// What a table should hold and answer, kept in a std::map.
#ifndef TARNBASE_TESTS_BEHAVIOUR_TABLE_MODEL_H
#define TARNBASE_TESTS_BEHAVIOUR_TABLE_MODEL_H

#include <compare>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "tarnbase/record.h"

namespace tarn::test {

// A record's place in the order.
struct Place {
    std::uint16_t tenant;
    std::uint32_t key;
    std::uint8_t src;
    auto operator<=>(const Place &) const = default;
};

struct ModelFilter {
    std::uint8_t src = 1;
    bool match_src = true;
    bool skip_pending = false;
};

struct Model {
    std::map<Place, kel_record *> inside;
    std::map<kel_record *, Place> outside;  // alive, in no index
    std::set<kel_record *> pending;

    bool passes(const Place &place, kel_record *record, const ModelFilter &filter) const {
        if (filter.match_src && place.src != filter.src) return false;
        return !filter.skip_pending || pending.count(record) == 0;
    }
    kel_record *at(const Place &place) const {
        const auto found = inside.find(place);
        return found != inside.end() ? found->second : nullptr;
    }
    // The first record behind `place` in its tenant's run that passes.
    kel_record *next(const Place &place, std::uint16_t tenant, const ModelFilter &filter) const {
        for (auto it = inside.upper_bound(place); it != inside.end(); ++it) {
            if (it->first.tenant != tenant) return nullptr;
            if (passes(it->first, it->second, filter)) return it->second;
        }
        return nullptr;
    }
    kel_record *prev(const Place &place, std::uint16_t tenant, const ModelFilter &filter) const {
        for (auto it = inside.lower_bound(place); it != inside.begin();) {
            --it;
            if (it->first.tenant != tenant) return nullptr;
            if (passes(it->first, it->second, filter)) return it->second;
        }
        return nullptr;
    }
    kel_record *first(std::uint16_t tenant, const ModelFilter &filter) const {
        for (const auto &[place, record] : inside) {
            if (place.tenant == tenant && passes(place, record, filter)) return record;
        }
        return nullptr;
    }
    kel_record *last(std::uint16_t tenant, const ModelFilter &filter) const {
        for (auto it = inside.rbegin(); it != inside.rend(); ++it) {
            if (it->first.tenant == tenant && passes(it->first, it->second, filter)) {
                return it->second;
            }
        }
        return nullptr;
    }
    // The direct neighbour, if it has the same key in whatever tenant.
    kel_record *sub_next(const Place &place) const {
        const auto it = inside.upper_bound(place);
        return it != inside.end() && it->first.key == place.key ? it->second : nullptr;
    }
    kel_record *sub_prev(const Place &place) const {
        auto it = inside.lower_bound(place);
        if (it == inside.begin()) return nullptr;
        --it;
        return it->first.key == place.key ? it->second : nullptr;
    }
    std::uint32_t count(std::uint8_t src) const {
        std::uint32_t records = 0;
        for (const auto &entry : inside) records += entry.first.src == src ? 1U : 0U;
        return records;
    }
    std::uint32_t count_of_tenant(std::uint16_t tenant) const {
        std::uint32_t records = 0;
        for (const auto &entry : inside) records += entry.first.tenant == tenant ? 1U : 0U;
        return records;
    }
};

}  // namespace tarn::test

#endif
