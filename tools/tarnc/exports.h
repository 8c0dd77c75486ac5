// SPDX-License-Identifier: Apache-2.0
#ifndef TARNC_EXPORTS_H
#define TARNC_EXPORTS_H

#include <map>
#include <string>
#include <vector>

#include "operations.h"
#include "source.h"

namespace tarnc {

// The symbols that the library exports.
class Exports {
 public:
    explicit Exports(Diagnostics &diagnostics) : diagnostics_(diagnostics) {}

    // `kind`: F function, W weak function, D data. `place`: the item it is made for.
    void add(char kind, const std::string &symbol, const Place &place);
    void add(const std::vector<Operation> &operations, const Place &place);

    // One "KIND SYMBOL" a line, sorted as text.
    std::string list() const;
    std::vector<std::string> symbols() const;

 private:
    Diagnostics &diagnostics_;
    std::map<std::string, char> kinds_;
};

}  // namespace tarnc

#endif
