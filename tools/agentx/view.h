// SPDX-License-Identifier: Apache-2.0
//
// A store that is read while requests are answered.
#ifndef TOOLS_AGENTX_VIEW_H
#define TOOLS_AGENTX_VIEW_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "model/record.h"

namespace agentx {

// Where a record is besides its key.
struct Place {
    std::string table;  // the name in the store: "ldap", or "#7"
    uint16_t tenant;
    uint8_t src;

    auto operator<=>(const Place &) const = default;
};

// The store as such.
struct StoreFigures {
    bool is_open = false;
    uint64_t transaction = 0;
    uint64_t left_out = 0;    // records
    uint64_t sent = 0;        // notifications
    uint64_t suppressed = 0;  // likewise
};

class View {
 public:
    // Of a store that isn't open. `scratch` is for keys.
    explicit View(const tarnctl::Store &scratch) : scratch_(scratch) {}
    // Of an open one, which doesn't change while the view lives.
    View(const tarnctl::Store &scratch, const tarnctl::Store &store)
        : scratch_(scratch), store_(&store) {}

    bool is_open() const { return store_ != nullptr; }
    // None if the store isn't open or has no such record.
    std::optional<tarnctl::Record> find(const tarnctl::Table &table, const Place &place,
                                        const std::vector<std::string> &key);

    StoreFigures figures;

 private:
    const tarnctl::Instance *instance(const tarnctl::Table &table, const std::string &name);

    const tarnctl::Store &scratch_;
    const tarnctl::Store *store_ = nullptr;
    std::optional<std::map<std::string, tarnctl::Instance>> instances_;  // by full name
};

}  // namespace agentx

#endif
