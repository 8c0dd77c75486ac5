// SPDX-License-Identifier: Apache-2.0
//
// JSON in pieces: the outer objects and arrays of a document of any length are opened one by one,
// what lies deeper comes as whole values.
#ifndef TARNCTL_EXCHANGE_JSON_PARSER_H
#define TARNCTL_EXCHANGE_JSON_PARSER_H

#include <cstdint>
#include <map>
#include <string>

#include "exchange/input.h"
#include "json/document.h"

namespace tarnctl {

// The lines of a value and of what is inside it.
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

    // An object or an array begins. True: what is in it comes piece by piece; false: it will come
    // as a value.
    virtual bool opens(bool array) = 0;
    // One that was opened ends.
    virtual void closes() = 0;
    // The name of what comes next in an object that was opened.
    virtual void member(const std::string &name) = 0;
    // Failures are the callee's.
    virtual void value(JsonView json, const JsonLines &lines) = 0;
    // What is wrong in the line being read.
    [[noreturn]] virtual void fail(const std::string &text) const = 0;
};

void parse_json(Input &input, JsonEvents &events);

}  // namespace tarnctl

#endif
