// SPDX-License-Identifier: Apache-2.0
//
// The names under which an exporter is reached. A site whose name leads to 127.0.0.1 could read
// the stores through a browser of this machine; its requests have that site's name as their host.
#ifndef TOOLS_EXPORTER_HOSTS_H
#define TOOLS_EXPORTER_HOSTS_H

#include <string>
#include <vector>

#include "exporter/listener.h"

namespace exporter {

class Hosts {
 public:
    // `names` are those of a proxy, besides the usual ones.
    Hosts(const ListenAddress &address, std::vector<std::string> names);

    // Whether a request with this header is meant for the exporter. An address that other machines
    // reach takes all: there the token decides.
    bool include(const std::string &host) const;

 private:
    bool takes_all_;
    std::vector<std::string> names_;
};

}  // namespace exporter

#endif
