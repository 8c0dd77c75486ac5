// SPDX-License-Identifier: Apache-2.0
//
// Keeps all ports of a running hostapd in the store: queries a port after each of its events, and
// all of them now and then, for what changes without an event.
#ifndef FEEDERS_DOT1X_PORT_SERVICE_H
#define FEEDERS_DOT1X_PORT_SERVICE_H

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "common/service.h"
#include "common/store.h"
#include "folder_watch.h"
#include "keeper.h"
#include "port_watch.h"
#include "ports.h"

namespace tarn_dot1x {

struct ServiceSettings {
    std::string folder;  // of the control sockets
    PortIndexes indexes = {};
    ServerNames servers = {};
    std::chrono::milliseconds interval{30000};  // between two queries of all ports
    feeder::StoreSettings store = {};
};

class PortService {
 public:
    PortService(feeder::Service &service, ServiceSettings settings);

    // Serves until a signal ends it. Throws tarn::error, and std::system_error if the folder
    // can't be watched.
    void run();

 private:
    struct PortState {
        std::unique_ptr<PortWatch> watch;
        std::optional<PortAnswers> answers;  // the last ones
        bool is_due = true;                  // to be queried, and its rows to be written
        std::string problem = {};            // that keeps it from being queried
    };

    void add(const std::string &name);
    void remove(const std::string &name);
    void take_change(const std::string &name, const std::string &reason);
    void take_event(const std::string &name, const std::string &text);
    void request_all();

    void open_store();
    void refresh();
    std::set<std::string> query_due_ports();
    bool query(const std::string &name, PortState &port);
    void write(const std::set<std::string> &queried);
    bool is_anything_due() const;
    std::set<uint32_t> present_indexes();
    void report_problems(const Problems &problems);
    void report_status();

    feeder::Service &service_;
    const ServiceSettings settings_;
    std::map<std::string, PortState> ports_;  // by name
    std::optional<feeder::Ownership> ownership_;
    std::optional<Keeper> keeper_;
    feeder::Work work_;
    FolderWatch folder_;
    std::optional<feeder::Loop::Timer> settle_;
    std::vector<Problem> reported_;  // in the last refresh
};

}  // namespace tarn_dot1x

#endif
