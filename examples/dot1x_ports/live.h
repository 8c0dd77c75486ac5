// SPDX-License-Identifier: Apache-2.0
//
// Ports of running hostapds, each by the path of its control socket, whose last part is the name of
// the port. Each poll connects and looks up the index again, since hostapd and the interface may
// have been restarted.
#ifndef EXAMPLES_DOT1X_PORTS_LIVE_H
#define EXAMPLES_DOT1X_PORTS_LIVE_H

#include "ports.h"
#include "source.h"

namespace dot1x_ports {

class Live : public Source {
 public:
    Live(std::vector<std::string> paths, PortIndexes indexes);
    std::vector<PortAnswers> poll() override;

 private:
    std::vector<std::string> paths_;
    PortIndexes indexes_;
};

}  // namespace dot1x_ports

#endif
