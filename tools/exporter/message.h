// SPDX-License-Identifier: Apache-2.0
//
// A request and its response, without the connection that they travel on.
#ifndef TOOLS_EXPORTER_MESSAGE_H
#define TOOLS_EXPORTER_MESSAGE_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace exporter {

struct Request {
    std::string method;
    std::string target;  // as it was sent, without the query
    std::multimap<std::string, std::string> parameters;
    std::string host;
    std::string accept;
    std::string authorization;
    std::string last_event_id;
    std::string if_none_match;

    std::optional<std::string> parameter(const std::string &name) const {
        const auto found = parameters.find(name);
        if (found == parameters.end()) return std::nullopt;
        return found->second;
    }
    std::vector<std::string> all(const std::string &name) const {
        std::vector<std::string> values;
        const auto [first, last] = parameters.equal_range(name);
        for (auto each = first; each != last; ++each) values.push_back(each->second);
        return values;
    }
};

struct Response {
    int status = 200;
    std::string type = "application/json";
    std::string body;
    std::map<std::string, std::string> headers = {};
    // If set, the body is a stream: it replaces its argument with the next piece, after waiting for
    // it. False: the stream ends.
    std::function<bool(std::string &piece)> next_piece = nullptr;
};

}  // namespace exporter

#endif
