// SPDX-License-Identifier: Apache-2.0
//
// Watches the folder of hostapd's control sockets, which hostapd makes at its start and removes at
// its end.
#ifndef FEEDERS_DOT1X_FOLDER_WATCH_H
#define FEEDERS_DOT1X_FOLDER_WATCH_H

#include <sys/inotify.h>

#include <functional>
#include <optional>
#include <set>
#include <string>

#include "common/loop.h"

namespace tarn_dot1x {

class FolderWatch {
 public:
    struct Calls {
        // A socket of this name is there now; also if hostapd has made it anew.
        std::function<void(const std::string &name)> appeared;
        std::function<void(const std::string &name)> vanished;
    };

    // Reports the sockets that are there from the loop. Throws std::system_error.
    FolderWatch(feeder::Loop &loop, std::string folder, Calls calls);
    FolderWatch(const FolderWatch &) = delete;
    FolderWatch &operator=(const FolderWatch &) = delete;
    ~FolderWatch();

    bool is_there() const { return folder_watch_ >= 0; }

 private:
    void watch_parent();
    void open();
    void read();
    void take(const inotify_event &event);
    void appear(const std::string &name);
    void vanish(const std::string &name);

    feeder::Loop &loop_;
    const std::string folder_;
    const std::string name_;  // in its parent
    const Calls calls_;
    int inotify_ = -1;
    int parent_watch_ = -1;
    int folder_watch_ = -1;  // -1: the folder isn't there
    std::set<std::string> names_;
    std::optional<feeder::Loop::Timer> timer_;
};

}  // namespace tarn_dot1x

#endif
