// SPDX-License-Identifier: Apache-2.0
#include "monitor.h"

#include <ldap.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <utility>

namespace tarn_ldap {
namespace {

constexpr timeval kPatience{5, 0};

constexpr const char *kOperations = "cn=Operations,cn=Monitor";
constexpr const char *kStatistics = "cn=Statistics,cn=Monitor";
constexpr const char *kConnections = "cn=Current,cn=Connections,cn=Monitor";

// With the library's own words about a failure, if it has any.
void check(LDAP *ldap, const std::string &what, int status) {
    if (status == LDAP_SUCCESS) return;
    std::string text = what + ": " + ldap_err2string(status);
    char *words = nullptr;
    if (ldap != nullptr) ldap_get_option(ldap, LDAP_OPT_DIAGNOSTIC_MESSAGE, &words);
    if (words != nullptr && *words != '\0') text += std::string(", ") + words;
    ldap_memfree(words);
    throw MonitorFailure(text);
}

std::string password_of(const std::string &path) {
    std::ifstream file(path);
    std::string line;
    if (!file || (!getline(file, line) && line.empty()))
        throw MonitorFailure(path + ": expected a password in the first line");
    return line;
}

// Counters are 32 bits in the tables, and wrap.
uint32_t number_in(LDAP *ldap, LDAPMessage *entry, const char *attribute) {
    berval **values = ldap_get_values_len(ldap, entry, attribute);
    uint64_t number = 0;
    if (values != nullptr && values[0] != nullptr)
        std::from_chars(values[0]->bv_val, values[0]->bv_val + values[0]->bv_len, number);
    ldap_value_free_len(values);
    return uint32_t(number);
}

std::string name_of(LDAP *ldap, LDAPMessage *entry) {
    char *text = ldap_get_dn(ldap, entry);
    const std::string dn = text == nullptr ? "" : text;
    ldap_memfree(text);
    return dn.substr(0, dn.find(','));
}

struct Operation {
    uint32_t initiated;
    uint32_t completed;
};

void add_operation(Server &server, const std::string &name, const Operation &operation) {
    Stats &stats = server.stats;
    stats.total_msg_sent += operation.initiated;
    const struct {
        const char *name;
        uint32_t *requests;
        uint32_t *results;
    } fields[] = {
        {"cn=Bind", &stats.total_bind_req, &stats.total_bind_resp},
        {"cn=Search", &stats.total_search_req, &stats.total_search_resdone},
        {"cn=Compare", &stats.total_compare_req, &stats.total_compare_resp},
        {"cn=Extended", &stats.total_extended_req, &stats.total_extended_resp},
    };
    for (const auto &each : fields) {
        if (name != each.name) continue;
        *each.requests = operation.initiated;
        *each.results = operation.completed;
    }
}

}  // namespace

struct Monitor::Connection {
    explicit Connection(const MonitorSettings &settings);
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection() { ldap_unbind_ext_s(ldap, nullptr, nullptr); }

    void set(int option, const void *value, const char *name) const;
    void set_tls(const MonitorSettings &settings) const;
    void bind(const MonitorSettings &settings) const;
    template <class Take>
    void search(const char *base, int scope, const Take &take) const;

    LDAP *ldap = nullptr;
};

Monitor::Connection::Connection(const MonitorSettings &settings) {
    check(nullptr, "the URL", ldap_initialize(&ldap, settings.url.c_str()));
    try {
        const int version = LDAP_VERSION3;
        set(LDAP_OPT_PROTOCOL_VERSION, &version, "version 3");
        set(LDAP_OPT_NETWORK_TIMEOUT, &kPatience, "a limit of time");
        set(LDAP_OPT_TIMEOUT, &kPatience, "a limit of time");
        set(LDAP_OPT_REFERRALS, LDAP_OPT_OFF, "no referrals");
        if (!settings.certificates.empty()) set_tls(settings);
        if (settings.start_tls) check(ldap, "StartTLS", ldap_start_tls_s(ldap, nullptr, nullptr));
        bind(settings);
    } catch (...) {
        ldap_unbind_ext_s(ldap, nullptr, nullptr);
        throw;
    }
}

void Monitor::Connection::set(int option, const void *value, const char *name) const {
    if (ldap_set_option(ldap, option, value) != LDAP_OPT_SUCCESS)
        throw MonitorFailure(std::string("the LDAP library can't set ") + name);
}

void Monitor::Connection::set_tls(const MonitorSettings &settings) const {
    const int own_context = 0;
    set(LDAP_OPT_X_TLS_CACERTFILE, settings.certificates.c_str(), "the file of certificates");
    set(LDAP_OPT_X_TLS_NEWCTX, &own_context, "the certificates");
}

void Monitor::Connection::bind(const MonitorSettings &settings) const {
    std::string password;
    if (!settings.password_file.empty()) password = password_of(settings.password_file);
    // EXTERNAL needs credentials too, though they are empty.
    berval credentials{ber_len_t(password.size()), password.data()};
    const char *mechanism = settings.external ? "EXTERNAL" : LDAP_SASL_SIMPLE;
    const char *user = settings.user.empty() ? nullptr : settings.user.c_str();
    check(ldap, "bind",
          ldap_sasl_bind_s(ldap, user, mechanism, &credentials, nullptr, nullptr, nullptr));
}

// Calls `take` with each entry.
template <class Take>
void Monitor::Connection::search(const char *base, int scope, const Take &take) const {
    std::array<char, 2> all_operational{'+', '\0'};
    char *attributes[] = {all_operational.data(), nullptr};
    timeval patience = kPatience;
    LDAPMessage *result = nullptr;
    const int status = ldap_search_ext_s(ldap, base, scope, "(objectClass=*)", attributes, 0,
                                         nullptr, nullptr, &patience, 0, &result);
    const std::unique_ptr<LDAPMessage, int (*)(LDAPMessage *)> owner(result, ldap_msgfree);
    check(ldap, base, status);
    int entries = 0;
    for (LDAPMessage *each = ldap_first_entry(ldap, result); each != nullptr;
         each = ldap_next_entry(ldap, each), ++entries)
        take(each);
    if (entries == 0) throw MonitorFailure(std::string(base) + ": this user can't read it");
}

Monitor::Monitor(MonitorSettings settings) : settings_(std::move(settings)) {}
Monitor::~Monitor() = default;

Server Monitor::read() {
    try {
        if (!connection_) connection_ = std::make_unique<Connection>(settings_);
        const Connection &to = *connection_;
        Server server;
        server.status = true;
        to.search(kOperations, LDAP_SCOPE_ONELEVEL, [&](LDAPMessage *entry) {
            add_operation(server, name_of(to.ldap, entry),
                          {number_in(to.ldap, entry, "monitorOpInitiated"),
                           number_in(to.ldap, entry, "monitorOpCompleted")});
        });
        to.search(kStatistics, LDAP_SCOPE_ONELEVEL, [&](LDAPMessage *entry) {
            const std::string name = name_of(to.ldap, entry);
            const uint32_t count = number_in(to.ldap, entry, "monitorCounter");
            if (name == "cn=Entries") server.stats.total_search_resentry = count;
            if (name == "cn=PDU") server.stats.total_msg_rcvd = count;
        });
        to.search(kConnections, LDAP_SCOPE_BASE, [&](LDAPMessage *entry) {
            server.num_conns = number_in(to.ldap, entry, "monitorCounter");
        });
        return server;
    } catch (const MonitorFailure &error) {
        connection_.reset();
        throw MonitorFailure(settings_.url + ": " + error.what());
    }
}

}  // namespace tarn_ldap
