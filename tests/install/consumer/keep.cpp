// SPDX-License-Identifier: Apache-2.0
// The same as keep.c in C++, with the record as XML. Checks the language standard.
#include <tarnbase/embedded.h>
#include <tarnbase/tarnbase.h>

#include <cstdio>
#include <memory>
#include <string>

namespace {

using Store = std::unique_ptr<kel_store, decltype(&kel_store_close)>;
using Handle = std::unique_ptr<kel_handle, decltype(&kel_handle_destroy)>;
const std::string server = "ldap2.example.net";

Store opened(const std::string &path) {
    kel_store *store = nullptr;
    kel_store_open_or_create(path.c_str(), nullptr, &store);
    return {store, &kel_store_close};
}

Handle handle_of(const Store &store) {
    kel_handle *handle = nullptr;
    if (store) kel_handle_create(store.get(), 1, &handle);
    return {handle, &kel_handle_destroy};
}

bool keep(kel_handle *handle) {
    std::uint32_t tx = 0, err = 0;
    if (kel_transaction_begin(handle, &tx) != 0) return false;
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &err);
    st_ldap_conn *conn = st_ldap_conn_create(handle, tx);
    kel_vstring key;
    kel_vstring_refer(&key, server.data(), static_cast<std::uint32_t>(server.size()));
    st_ldap_conn_sname_set(handle, tx, conn, &key, &err);
    st_ldap_conn_num_conns_set_value(handle, tx, conn, 9, &err);
    kel_record *record = tbl_ldap_conn_create_record(handle, tx, &err);
    tbl_ldap_conn_st_ldap_conn_set_field(handle, tx, record, conn);
    tbl_ldap_conn_insert(handle, tx, table, record, &err);
    return err == 0 && kel_transaction_commit(handle, tx) == 0;
}

std::string xml_of_first(kel_handle *handle) {
    std::uint32_t err = 0;
    kel_table *table = tbl_ldap_conn_table_open(handle, KEL_TX_NONE, "ldap", 0, &err);
    kel_record *record =
        tbl_ldap_conn_st_ldap_conn_sname_get_first(handle, KEL_TX_NONE, table, &err);
    if (record == nullptr || err != 0) return {};
    std::string text(4096, ' ');
    const std::uint32_t length = tbl_ldap_conn_table_record_to_xml(
        handle, KEL_TX_NONE, text.data(), record, static_cast<std::uint32_t>(text.size()), &err);
    return err == 0 ? text.substr(0, length) : std::string();
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 2) return 64;
    {
        const Store store = opened(argv[1]);
        const Handle handle = handle_of(store);
        if (!handle || !keep(handle.get())) {
            std::fprintf(stderr, "keeping: %s\n", kel_error_text());
            return 1;
        }
    }
    const Store store = opened(argv[1]);
    const Handle handle = handle_of(store);
    const std::string xml = handle ? xml_of_first(handle.get()) : std::string();
    if (xml.find(server) == std::string::npos) {
        std::fprintf(stderr, "reading back gave \"%s\"\n", xml.c_str());
        return 2;
    }
    std::printf("C++ %ld: %s", __cplusplus, xml.c_str());
}
