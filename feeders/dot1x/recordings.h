// SPDX-License-Identifier: Apache-2.0
//
// A directory of recorded answers. Each port NAME has three files:
//
//   hostapd-NAME-all_sta.txt   hostapd_cli -i NAME all_sta
//   hostapd-NAME-mib.txt       hostapd_cli -i NAME mib
//   hostapd-NAME-status.txt    hostapd_cli -i NAME status
//
// Other files are ignored. Each poll reads the files again.
#ifndef FEEDERS_DOT1X_RECORDINGS_H
#define FEEDERS_DOT1X_RECORDINGS_H

#include <set>
#include <string>

#include "ports.h"
#include "source.h"

namespace tarn_dot1x {

class Recordings : public Source {
 public:
    Recordings(std::string directory, PortIndexes indexes);
    std::vector<PortAnswers> poll() override;

 private:
    std::set<std::string> names() const;
    Text read(const std::string &name, const std::string &what) const;

    std::string directory_;
    PortIndexes indexes_;
};

}  // namespace tarn_dot1x

#endif
