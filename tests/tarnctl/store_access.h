// SPDX-License-Identifier: Apache-2.0
//
// Reads and changes a store with the library, without tarnctl.
#ifndef TESTS_TARNCTL_STORE_ACCESS_H
#define TESTS_TARNCTL_STORE_ACCESS_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tarnbase/embedded.h"
#include "tarnbase/types/st_ldap_conn.h"

namespace tarnctl_test {

// num_conns of a record of tbl_ldap_conn; nothing if there is no such record.
std::optional<uint32_t> connections(const std::string &store, const std::string &server,
                                    uint32_t src = 1, uint16_t tenant = 0,
                                    const std::string &table = "ldap");
// Records of tbl_ldap_conn:ldap, of all tenants and sources, as the table counts them.
uint32_t connection_records(const std::string &store);
// status, aaa_authen.requests and minute[5] of radius1 in tbl_aaa_servers:aaa.
struct ServerValues {
    uint32_t status = 0;
    uint32_t requests = 0;
    uint8_t minute5 = 0;
};
ServerValues server_values(const std::string &store);

// Inserts a record in tbl_ldap_conn:TABLE, which is made if it isn't there; `flags` are added.
void add_connection(const std::string &store, const std::string &table, const std::string &server,
                    uint32_t src = 1, uint8_t flags = 0);

kel_store_description description(const std::string &store);

// Opens the store for the time of the call, with a handle that uses the store's own types.
void with_store(const std::string &store, const std::function<void(kel_handle *)> &function);
// The same, as the store's writer: changes outside of transactions are published at the end.
void change_store(const std::string &store, const std::function<void(kel_handle *)> &function);

// The object of a record of source 1 in tbl_ldap_conn:ldap.
st_ldap_conn *connection_of(kel_handle *handle, const std::string &server);

// The store's checkpoints and log, as far as they are published.
std::string content_of(const std::string &store);

}  // namespace tarnctl_test

#endif
