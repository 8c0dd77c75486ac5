// SPDX-License-Identifier: Apache-2.0
#include "agentx/agent.h"

// net-snmp's headers have an order.
// clang-format off
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>
#include <net-snmp/library/fd_event_manager.h>
// clang-format on

#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <memory>

#include "base/failure.h"

namespace agentx {
namespace {

constexpr const char *program = "tarn-agentx";
// Also how long a new agent may be without this program.
constexpr int seconds_between_pings = 5;

using NetOid = std::vector<oid>;

NetOid net_oid(const Oid &numbers) { return {numbers.begin(), numbers.end()}; }

Oid from_net(const oid *numbers, std::size_t length) {
    Oid made;
    for (std::size_t i = 0; i < length; ++i) made.push_back(static_cast<uint32_t>(numbers[i]));
    return made;
}

// net-snmp has one agent in a process.
struct Agent {
    const AgentSettings *settings = nullptr;
    Answers *answers = nullptr;
    NotificationQueue *queue = nullptr;
    bool is_ending = false;
} agent;

void set_value(netsnmp_variable_list *variable, const Cell &cell) {
    const auto low = static_cast<uint32_t>(cell.number);
    switch (cell.type) {
        case Cell::Type::integer:
            snmp_set_var_typed_integer(variable, ASN_INTEGER, static_cast<int32_t>(low));
            break;
        case Cell::Type::unsigned_number:
        case Cell::Type::counter: {
            const u_char type = cell.type == Cell::Type::counter ? ASN_COUNTER : ASN_UNSIGNED;
            const u_long number = low;
            snmp_set_var_typed_value(variable, type, &number, sizeof number);
            break;
        }
        case Cell::Type::counter64: {
            const counter64 number{static_cast<u_long>(cell.number >> 32), low};
            snmp_set_var_typed_value(variable, ASN_COUNTER64, &number, sizeof number);
            break;
        }
        case Cell::Type::octets:
            snmp_set_var_typed_value(variable, ASN_OCTET_STR, cell.octets.data(),
                                     cell.octets.size());
            break;
    }
}

void get(const Tree &tree, View &view, netsnmp_agent_request_info *info,
         netsnmp_request_info *request) {
    netsnmp_variable_list *variable = request->requestvb;
    const auto cell = tree.get(view, from_net(variable->name, variable->name_length));
    if (cell) set_value(variable, *cell);
    else netsnmp_set_request_error(info, request, SNMP_NOSUCHINSTANCE);
}

// Without an answer the agent goes on with the next subtree.
void get_next(const Tree &tree, View &view, const Oid &root, netsnmp_request_info *request) {
    netsnmp_variable_list *variable = request->requestvb;
    const Oid after = from_net(variable->name, variable->name_length);
    const auto answer = tree.next(view, after, request->inclusive != 0, root);
    if (!answer) return;
    const NetOid name = net_oid(answer->oid);
    snmp_set_var_objid(variable, name.data(), name.size());
    set_value(variable, answer->cell);
}

void answer_all(netsnmp_handler_registration *registration, netsnmp_agent_request_info *info,
                netsnmp_request_info *requests) {
    const Oid root = from_net(registration->rootoid, registration->rootoid_len);
    agent.answers->read([&](const Tree &tree, View &view) {
        for (auto *each = requests; each != nullptr; each = each->next) {
            if (each->processed != 0) continue;
            if (info->mode == MODE_GET) get(tree, view, info, each);
            else if (info->mode == MODE_GETNEXT) get_next(tree, view, root, each);
        }
    });
}

// No exception passes through net-snmp, which is C.
int handle(netsnmp_mib_handler * /*handler*/, netsnmp_handler_registration *registration,
           netsnmp_agent_request_info *info, netsnmp_request_info *requests) {
    try {
        answer_all(registration, info, requests);
        return SNMP_ERR_NOERROR;
    } catch (const std::exception &failure) {
        snmp_log(LOG_ERR, "%s: %s\n", program, failure.what());
        return SNMP_ERR_GENERR;
    }
}

void register_root(const Oid &root) {
    const NetOid name = net_oid(root);
    netsnmp_handler_registration *made = netsnmp_create_handler_registration(
        program, handle, name.data(), name.size(), HANDLER_CAN_RONLY);
    if (made == nullptr || netsnmp_register_handler(made) != MIB_REGISTERED_OK)
        throw tarnctl::Failure(tarnctl::Exit::store, "net-snmp takes no subtree");
}

void start() {
    netsnmp_enable_subagent();
    snmp_disable_log();
    snmp_enable_stderrlog();
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET,
                          agent.settings->socket.c_str());
    netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL,
                       seconds_between_pings);
    if (agent.settings->traces) {
        debug_register_tokens("agentx");
        snmp_set_do_debugging(1);
    }
    if (init_agent(program) != 0)
        throw tarnctl::Failure(tarnctl::Exit::store, "net-snmp doesn't start");
    for (const Oid &each : agent.answers->roots()) register_root(each);
    init_snmp(program);
}

// The variables of a notification, one after the other.
class Variables {
 public:
    ~Variables() { snmp_free_varbind(first_); }

    void add_object(const Oid &name, const Oid &object) {
        const NetOid value = net_oid(object);
        add(name, ASN_OBJECT_ID, value.data(), value.size() * sizeof(oid));
    }
    void add_text(const Oid &name, const std::string &text) {
        add(name, ASN_OCTET_STR, text.data(), text.size());
    }
    void add_number(const Oid &name, uint64_t number) {
        const counter64 value{static_cast<u_long>(number >> 32),
                              static_cast<u_long>(number & UINT32_MAX)};
        add(name, ASN_COUNTER64, &value, sizeof value);
    }
    netsnmp_variable_list *first() { return first_; }

 private:
    void add(const Oid &name, u_char type, const void *value, std::size_t length) {
        const NetOid made = net_oid(name);
        snmp_varlist_add_variable(&first_, made.data(), made.size(), type, value, length);
    }

    netsnmp_variable_list *first_ = nullptr;
};

void send(const Notification &notification) {
    const Oid trap_oid = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
    const Oid nothing = {0, 0};
    const auto below_base = [](std::array<uint32_t, 2> numbers) {
        return joined(agent.settings->base, numbers);
    };
    const auto event_object = [](uint32_t number) {
        return joined(agent.settings->base, std::array<uint32_t, 3>{3, number, 0});
    };
    Variables variables;
    variables.add_object(trap_oid, below_base({0, notification.number}));
    variables.add_object(event_object(1),
                         notification.object.empty() ? nothing : notification.object);
    variables.add_text(event_object(2), notification.table);
    variables.add_text(event_object(3), notification.key);
    variables.add_text(event_object(4), notification.field);
    variables.add_number(event_object(5), notification.value);
    variables.add_number(event_object(6), notification.rise);
    send_v2trap(variables.first());
}

void send_waiting(int descriptor, void * /*data*/) {
    uint64_t count = 0;
    if (read(descriptor, &count, sizeof count) < 0) return;
    for (const Notification &each : agent.queue->take()) send(each);
}

void end(int descriptor, void * /*data*/) {
    signalfd_siginfo signal{};
    if (read(descriptor, &signal, sizeof signal) > 0) agent.is_ending = true;
}

// A descriptor for the signals that end the program.
class EndSignals {
 public:
    EndSignals() {
        sigset_t ends;
        sigemptyset(&ends);
        sigaddset(&ends, SIGTERM);
        sigaddset(&ends, SIGINT);
        descriptor_ = signalfd(-1, &ends, SFD_CLOEXEC | SFD_NONBLOCK);
        register_readfd(descriptor_, end, nullptr);
    }
    EndSignals(const EndSignals &) = delete;
    EndSignals &operator=(const EndSignals &) = delete;
    ~EndSignals() {
        unregister_readfd(descriptor_);
        close(descriptor_);
    }

 private:
    int descriptor_;
};

}  // namespace

void use_no_files() {
    // Modules, which only programs that print names need, and the folder of certificates.
    setenv("MIBS", "", 1);
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_PERSISTENT_DIR, "/dev/null");
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
}

void answer(const AgentSettings &settings, Answers &answers, NotificationQueue &queue, int wake) {
    agent = {&settings, &answers, &queue, false};
    const EndSignals ends;
    start();
    register_readfd(wake, send_waiting, nullptr);
    while (!agent.is_ending) agent_check_and_process(1);
    unregister_readfd(wake);
    snmp_shutdown(program);
    shutdown_agent();
}

}  // namespace agentx
