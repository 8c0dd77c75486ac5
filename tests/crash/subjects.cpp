// SPDX-License-Identifier: Apache-2.0
#include "tests/crash/subjects.h"

#include <cerrno>
#include <stdexcept>
#include <string>

#include "tarnbase/tarn/tables/ldap_conn.hpp"
#include "tarnbase/tarn/tables/ldap_stats.hpp"
#include "tarnbase/tarn/tables/ldap_summary.hpp"
#include "tarnbase/tarn/tables/lumEnvSecurityGroupNameEntry_op.hpp"
#include "tarnbase/tarn/tables/lumvProvisionedServerEntry_op.hpp"
#include "tarnbase/tarn/tables/pexSessionEntry_op.hpp"

namespace crash {

namespace {

// A text key: of some numbers it is short enough to be in the record itself.
std::string name_of(std::uint32_t number) {
    const std::string padding(number % 3 == 0 ? 40 : 0, 'k');
    return "server-" + padding + std::to_string(number);
}

std::uint32_t number_of(std::string_view name) {
    const std::size_t at = name.find_first_of("0123456789");
    return at == name.npos ? ~0U
                           : static_cast<std::uint32_t>(std::stoul(std::string(name.substr(at))));
}

tarn::address address_of(std::uint32_t number) {
    unsigned char bytes[16] = {};
    for (std::size_t i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(number >> 8 * i);
    const auto family =
        static_cast<std::uint8_t>(number % 2 == 0 ? KEL_ADDRESS_IPV4 : KEL_ADDRESS_IPV6);
    return {family, bytes};
}

std::uint32_t number_of(const tarn::address &address) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) number |= std::uint32_t{address.data()[i]} << 8 * i;
    return number;
}

// How the rows of a table are kept in its records. What a table has no field
// for stays empty.

struct Connections {
    using Class = tarn::tbl_ldap_conn;
    static const void *const *vector() { return tbl_ldap_conn_table_vft; }
    static std::string_view key(const std::string &name, std::uint32_t) { return name; }
    static std::uint32_t number(const tarn::record<Class> &record) {
        return number_of(record.sname());
    }
    template <typename Record>
    static void write(Record &record, const Row &row) {
        record.set_num_conns(row.numbers[0]);
    }
    static void read(const tarn::record<Class> &record, Row &row) {
        row.numbers[0] = record.num_conns();
    }
};

struct Statistics {
    using Class = tarn::tbl_ldap_stats;
    static const void *const *vector() { return tbl_ldap_stats_table_vft; }
    static std::string_view key(const std::string &name, std::uint32_t) { return name; }
    static std::uint32_t number(const tarn::record<Class> &record) {
        return number_of(record.sname());
    }
    template <typename Record>
    static void write(Record &record, const Row &row) {
        record.set_total_msg_sent(row.numbers[0]);
        record.set_avg_resp_delay(row.numbers[1]);
        record.set_bind_fail(row.numbers[2]);
    }
    static void read(const tarn::record<Class> &record, Row &row) {
        row.numbers = {record.total_msg_sent(), record.avg_resp_delay(), record.bind_fail()};
    }
};

struct Sessions {
    using Class = tarn::tbl_pexSessionEntry_op;
    static const void *const *vector() { return tbl_pexSessionEntry_op_table_vft; }
    static Class::key_type key(const std::string &name, std::uint32_t number) {
        return {number % 4, name, 7};
    }
    static std::uint32_t number(const tarn::record<Class> &record) {
        return number_of(record.key().session_id_in());
    }
    template <typename Record>
    static void write(Record &record, const Row &row) {
        record.set_session_state(row.numbers[0]);
        record.set_ipAddr(address_of(row.numbers[1]));
        record.set_next_if_index(row.numbers[2]);
        record.set_user_name(row.texts[0]);
        record.set_vlan_group(row.texts[1]);
    }
    static void read(const tarn::record<Class> &record, Row &row) {
        row.numbers = {record.session_state(), number_of(record.ipAddr()), record.next_if_index()};
        row.texts = {std::string(record.user_name()), std::string(record.vlan_group())};
    }
};

struct Servers {
    using Class = tarn::tbl_lumvProvisionedServerEntry_op;
    static const void *const *vector() { return tbl_lumvProvisionedServerEntry_op_table_vft; }
    static tarn::address key(const std::string &, std::uint32_t number) {
        return address_of(number);
    }
    static std::uint32_t number(const tarn::record<Class> &record) {
        return number_of(record.addr());
    }
    template <typename Record>
    static void write(Record &record, const Row &row) {
        record.set_port(row.numbers[0]);
        record.set_server_test_idletime(row.numbers[1]);
        record.set_server_test_deadtime(row.numbers[2]);
        record.set_authority_id(row.texts[0]);
    }
    static void read(const tarn::record<Class> &record, Row &row) {
        row.numbers = {record.port(), record.server_test_idletime(), record.server_test_deadtime()};
        row.texts[0] = record.authority_id();
    }
};

struct Groups {
    using Class = tarn::tbl_lumEnvSecurityGroupNameEntry_op;
    static const void *const *vector() { return tbl_lumEnvSecurityGroupNameEntry_op_table_vft; }
    static std::uint32_t key(const std::string &, std::uint32_t number) { return number; }
    static std::uint32_t number(const tarn::record<Class> &record) {
        return record.security_group_name_sgt();
    }
    template <typename Record>
    static void write(Record &record, const Row &row) {
        record.set_sgt_flag(static_cast<std::uint8_t>(row.numbers[0] % 256));
        record.set_security_group_name_sgt_generation_id(row.texts[0]);
        record.set_name(row.texts[1]);
    }
    static void read(const tarn::record<Class> &record, Row &row) {
        row.numbers[0] = record.sgt_flag();
        row.texts = {std::string(record.security_group_name_sgt_generation_id()),
                     std::string(record.name())};
    }
};

template <typename Fields>
class TableOf final : public Table {
    using Class = typename Fields::Class;
    using Open = tarn::table<Class>;

 public:
    TableOf(tarn::session &session, Open table) : session_(session), table_(table) {}

    void insert(std::uint32_t number, const Row &row) override {
        const std::string name = name_of(number);
        auto record = table_.make(Fields::key(name, number));
        Fields::write(record, row);
        table_.insert(std::move(record));
    }

    void update(std::uint32_t number, const Row &row) override {
        auto record = find(number);
        Fields::write(record, row);
    }

    void erase(std::uint32_t number) override {
        const auto record = find(number);
        if (table_.c_table()->replication_marked == 0) {
            table_.erase(record);
            return;
        }
        // Only the replication engine may destroy a record of a marked table.
        kel_handle *handle = session_.c_handle();
        const std::uint32_t error =
            kel_record_release(handle, handle->cr_tx_id, Fields::vector(), record.c_record());
        std::uint32_t finished = 0;
        if (error != EINPROGRESS ||
            kel_replication_finish_destroys(handle, handle->cr_tx_id, &finished) != 0 ||
            finished != 1) {
            throw std::runtime_error("erasing a marked record: error " + std::to_string(error));
        }
    }

    Rows read() const override {
        Rows rows;
        std::size_t count = 0;
        for (const auto record : table_) {
            Row row;
            Fields::read(record, row);
            rows[Fields::number(record)] = row;
            if (++count > table_.size()) break;
        }
        if (count != table_.size() || count != rows.size()) {
            throw std::runtime_error("a table of " + std::to_string(table_.size()) +
                                     " records: a walk visits " + std::to_string(count) + ", " +
                                     std::to_string(rows.size()) + " different ones");
        }
        for (const auto &[number, row] : rows) find(number);
        return rows;
    }

    void print() const override {
        for (const auto record : table_) {
            if (!record.try_to_text()) throw std::runtime_error("a record can't be printed");
        }
    }

    kel_table *c_table() const override { return table_.c_table(); }

 private:
    tarn::record<Class> find(std::uint32_t number) const {
        const std::string name = name_of(number);
        const auto found = table_.find(Fields::key(name, number));
        if (!found) throw std::runtime_error("record " + std::to_string(number) + " isn't found");
        return *found;
    }

    tarn::session &session_;
    mutable Open table_;
};

template <typename Fields>
std::unique_ptr<Table> make(tarn::session &session, Subject subject, bool creates) {
    using Open = tarn::table<typename Fields::Class>;
    const std::string name = "table-" + std::to_string(subject);
    auto table = creates ? Open::try_open_or_create(session, name) : Open::try_open(session, name);
    if (table) return std::make_unique<TableOf<Fields>>(session, *table);
    if (creates || table.error().number() != ENOENT) throw table.error();
    return nullptr;
}

std::unique_ptr<Table> make(tarn::session &session, Subject subject, bool creates) {
    switch (subject) {
        case connections:
            return make<Connections>(session, subject, creates);
        case statistics:
            return make<Statistics>(session, subject, creates);
        case sessions:
            return make<Sessions>(session, subject, creates);
        case servers:
            return make<Servers>(session, subject, creates);
        case groups:
            return make<Groups>(session, subject, creates);
    }
    return nullptr;
}

}  // namespace

std::unique_ptr<Table> open_or_create(tarn::session &session, Subject subject) {
    return make(session, subject, true);
}

std::unique_ptr<Table> open_existing(tarn::session &session, Subject subject) {
    return make(session, subject, false);
}

using Extra = tarn::table<tarn::ldap_summary>;
constexpr const char *extra_name = "extra";

void make_extra(tarn::session &session) { Extra::open_or_create(session, extra_name); }

void drop_extra(tarn::session &session) { Extra::open(session, extra_name).drop(); }

bool has_extra(tarn::session &session) {
    const auto table = Extra::try_open(session, extra_name);
    if (!table && table.error().number() != ENOENT) throw table.error();
    return table.has_value();
}

}  // namespace crash
