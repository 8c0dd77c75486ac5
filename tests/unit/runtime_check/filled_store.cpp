// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/runtime_check/filled_store.h"

#include <stdexcept>
#include <string>

#include "catalogue/catalogue.h"
#include "tarnbase/module.h"
#include "tarnbase/runtime.h"

namespace tarn::test {

namespace {

using tarnbase::catalogue::Field;
using tarnbase::catalogue::Kind;
using tarnbase::catalogue::Structure;
using tarnbase::catalogue::Table;

void require(std::uint32_t error) {
    if (error != 0) throw std::runtime_error(kel_error_text());
}

class Filler {
 public:
    Filler(kel_store *store, std::uint32_t records) : records_(records) {
        require(kel_store_lock(store));
        for (const std::uint32_t mode : {KEL_STATE_TRACKING_OFF, KEL_STATE_TRACKING_ON}) {
            kel_handle *&handle = mode == KEL_STATE_TRACKING_ON ? tracking_ : plain_;
            require(kel_handle_create(store, 1, &handle));
            kel_handle_set_state_tracking(handle, mode);
            require(kel_replication_attach(handle, tarnbase_table_get_vft));
        }
        handle_ = plain_;
        require(kel_replication_configure(handle_, 8, 4096));
    }
    ~Filler() {
        kel_thread_set_tenant(0);
        kel_thread_set_correlation(0, 0);
        kel_handle_destroy(plain_);
        kel_handle_destroy(tracking_);
    }
    Filler(const Filler &) = delete;
    Filler &operator=(const Filler &) = delete;

    void run() {
        fill("tbl_ldap_conn", "main");
        fill("tbl_ldap_conn", "other");
        fill("tbl_radius_server_group", "main");
        fill("tbl_aaa_servers", "main");
        for (const Table *table : tarnbase::catalogue::schema.tables) {
            if (table->key_field != nullptr && table->key_field->kind == Kind::u_int32) {
                fill(std::string(table->name).c_str(), "numbers");
                break;
            }
        }
        for (const Table *table : tarnbase::catalogue::schema.tables) {
            if (table->key_type != nullptr) fill(std::string(table->name).c_str(), "keyed");
        }
        const Table &conn = *tarnbase::catalogue::schema.table("tbl_ldap_conn");
        kel_table *by_id = conn.open_by_id(handle_, KEL_TX_NONE, 7, 0, &error_);
        insert(conn, by_id, 3);
        // Enough for an index of pages.
        insert(conn, conn.open(handle_, KEL_TX_NONE, "many", 0, &error_), 40);
        conn.open_by_id(handle_, KEL_TX_NONE, 3, 0, &error_);
        conn.open_by_id(handle_, KEL_TX_NONE, 9, 0, &error_);
        void *own = handle_->alloc_hook(handle_->arena, KEL_TX_NONE, 40000);
        if (own == nullptr || loam_set_key(handle_->arena, "own", own) == 0) require(ENOMEM);
        require(kel_store_unlock(kel_handle_store(handle_)));
    }

 private:
    void fill(const char *name, const char *instance) {
        const Table *table = tarnbase::catalogue::schema.table(name);
        if (table == nullptr) return;
        kel_table *block = table->open(handle_, KEL_TX_NONE, instance, 0, &error_);
        if (block == nullptr) require(ENOMEM);
        if (std::string_view(instance) == "main") {
            kel_table_set_replication(handle_, KEL_TX_NONE, block, 1, 1);
        }
        insert(*table, block, records_);
    }

    void insert(const Table &table, kel_table *block, std::uint32_t count) {
        for (std::uint32_t row = 0; row < count; ++row) {
            handle_ = row % 2 == 0 ? plain_ : tracking_;
            kel_thread_set_tenant(row % 5 == 4 ? 3 : 0);
            kel_thread_set_correlation(row % 4, row % 4 == 0 ? 0 : 1);
            error_ = 0;
            kel_record *record = table.create_record(handle_, KEL_TX_NONE, 1 + row % 3, &error_);
            void *object = make(*table.type, row);
            table.set_object(handle_, KEL_TX_NONE, record, object);
            if (table.key_type != nullptr) {
                table.set_key_object(handle_, KEL_TX_NONE, record, make(*table.key_type, row));
            }
            table.insert(handle_, KEL_TX_NONE, block, record, &error_);
            std::uint64_t id = 0;
            if (row % 6 == 1) require(kel_object_map(handle_, KEL_TX_NONE, object, &id));
            if (row % 12 == 1) require(kel_object_reference(handle_, KEL_TX_NONE, id));
        }
    }

    void *make(const Structure &type, std::uint32_t row) {
        void *object = type.create(handle_, KEL_TX_NONE);
        if (object == nullptr) require(ENOMEM);
        for (const Field &field : type.fields) set(field, object, row);
        return object;
    }

    void set(const Field &field, void *object, std::uint32_t row) {
        error_ = 0;
        if (field.kind == Kind::vstring) {
            const std::string text = "text " + std::to_string(row) +
                                     (row % 3 == 0 ? "" : ", too long for its field alone");
            kel_vstring value{};
            kel_vstring_refer(&value, text.data(), static_cast<std::uint32_t>(text.size()));
            field.call.set(handle_, KEL_TX_NONE, object, &value, &error_);
        } else if (field.kind == Kind::address) {
            const std::uint8_t bytes[16] = {10, 0, 0, static_cast<std::uint8_t>(row)};
            ip_address value{};
            ip_address_refer(&value, row % 2 == 0 ? KEL_ADDRESS_IPV4 : KEL_ADDRESS_IPV6, bytes);
            field.call.set(handle_, KEL_TX_NONE, object, &value, &error_);
        } else if (field.is_number()) {
            field.call.set_value(handle_, KEL_TX_NONE, object, 0, row + 1, &error_);
        } else if (field.structure != nullptr) {
            void *inner = field.call.get(handle_, KEL_TX_NONE, object, 0, &error_);
            if (inner == nullptr) return;
            for (const Field &each : field.structure->fields) set(each, inner, row);
        }
    }

    std::uint32_t records_;
    kel_handle *plain_ = nullptr;
    kel_handle *tracking_ = nullptr;
    kel_handle *handle_ = nullptr;
    std::uint32_t error_ = 0;
};

}  // namespace

void fill_store(kel_store *store, std::uint32_t records) { Filler(store, records).run(); }

}  // namespace tarn::test
