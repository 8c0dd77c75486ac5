// SPDX-License-Identifier: Apache-2.0
//
// Parses JSON of any length in pieces: the outer objects and arrays are opened one by one, the
// values inside them are passed as a whole.
#ifndef TARNCTL_EXCHANGE_JSON_PARSER_H
#define TARNCTL_EXCHANGE_JSON_PARSER_H

#include <cstdint>
#include <map>
#include <string>

#include "exchange/input.h"
#include "json/tree.h"

namespace tarnctl {

// The lines of a value and of its members.
struct JsonLines {
    uint64_t begin = 0;
    std::map<std::string, uint64_t> members;  // those on other lines, by path: "fields.sname"

    uint64_t of(const std::string &path) const {
        const auto found = members.find(path);
        return found == members.end() ? begin : found->second;
    }
};

class JsonEvents {
 public:
    JsonEvents() = default;
    JsonEvents(const JsonEvents &) = delete;
    JsonEvents &operator=(const JsonEvents &) = delete;
    virtual ~JsonEvents() = default;

    // An object or an array begins. Returns true to get its contents piece by piece, false to get
    // it as a value.
    virtual bool opens(bool array) = 0;
    // An opened object or array ends.
    virtual void closes() = 0;
    // The name of the next member of an opened object.
    virtual void member(const std::string &name) = 0;
    virtual void value(JsonView json, const JsonLines &lines) = 0;
    // Throws the error of the current line.
    [[noreturn]] virtual void fail(const std::string &text) const = 0;
};

void parse_json(Input &input, JsonEvents &events);

}  // namespace tarnctl

#endif
