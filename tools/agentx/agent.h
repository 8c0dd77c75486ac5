// SPDX-License-Identifier: Apache-2.0
//
// The connection to the SNMP agent, through net-snmp.
#ifndef TOOLS_AGENTX_AGENT_H
#define TOOLS_AGENTX_AGENT_H

#include <string>

#include "agentx/answers.h"

namespace agentx {

struct AgentSettings {
    std::string socket;  // as snmpd names it
    Oid base;            // of the module's own MIB
    bool traces;         // what is sent and received, on standard error
};

// Lets net-snmp neither read files nor write any. Requires: no other thread runs.
void use_no_files();

// Answers until a signal SIGTERM or SIGINT, which must be blocked in all threads. `wake` is a
// descriptor that can be read when notifications wait. Connects again when the agent is gone.
void answer(const AgentSettings &settings, Answers &answers, NotificationQueue &queue, int wake);

}  // namespace agentx

#endif
