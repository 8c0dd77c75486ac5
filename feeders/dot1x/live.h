// SPDX-License-Identifier: Apache-2.0
//
// Ports of running hostapds, each by the path of its control socket, whose last part is the name of
// the port. Each poll connects and looks up the index again, since hostapd and the interface may
// have been restarted.
#ifndef FEEDERS_DOT1X_LIVE_H
#define FEEDERS_DOT1X_LIVE_H

#include "ports.h"
#include "source.h"

namespace tarn_dot1x {

class Live : public Source {
 public:
    Live(std::vector<std::string> paths, PortIndexes indexes);
    std::vector<PortAnswers> poll() override;

 private:
    std::vector<std::string> paths_;
    PortIndexes indexes_;
};

}  // namespace tarn_dot1x

#endif
