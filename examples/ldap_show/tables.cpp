// SPDX-License-Identifier: Apache-2.0
#include "tables.h"

#include <cerrno>

#include "common/ldap_tables.h"

namespace ldap_show {
namespace {

using example::need;

constexpr uint32_t kFirstBuffer = 4096;
constexpr uint32_t kLargestBuffer = uint32_t{1} << 28;

template <class Table>
const kel_vstring *key_of(kel_handle *handle, kel_record *record) {
    uint32_t err = 0;
    auto *object = Table::get_object(handle, KEL_TX_NONE, record);
    const kel_vstring *key = Table::get_sname(handle, KEL_TX_NONE, object, &err);
    need(err, std::string("the key of a record of ") + Table::name);
    return key;
}

template <class Table>
int32_t compare(kel_handle *handle_a, kel_record *a, kel_handle *handle_b, kel_record *b) {
    return Table::compare(Table::get_object(handle_a, KEL_TX_NONE, a),
                          Table::get_object(handle_b, KEL_TX_NONE, b));
}

template <class Table>
constexpr LdapTable functions_of() {
    return {Table::name,   Table::open,     Table::get_first, Table::get_next, Table::print,
            Table::to_xml, Table::from_xml, Table::insert,    key_of<Table>,   compare<Table>};
}

// What `write` writes into a buffer that is large enough for it. The buffer is blank beforehand:
// the text form steps over the indentation of closing braces.
template <class Write>
std::string written(Write write, const std::string &what) {
    for (uint32_t size = kFirstBuffer;; size *= 2) {
        std::string buffer(size, ' ');
        uint32_t err = 0;
        const uint32_t length = write(buffer.data(), size, &err);
        if (err == EMSGSIZE && size < kLargestBuffer) continue;
        need(err, what);
        buffer.resize(length);
        return buffer;
    }
}

std::string count_of(size_t records) {
    return std::to_string(records) + (records == 1 ? " record" : " records");
}

}  // namespace

const std::array<LdapTable, 3> kLdapTables = {functions_of<example::StatsTable>(),
                                              functions_of<example::SummaryTable>(),
                                              functions_of<example::ConnTable>()};

OpenTable::OpenTable(const example::Session &session, const LdapTable &table, Missing missing)
    : table_(table), handle_(session.handle()) {
    uint32_t err = 0;
    const uint32_t open_only = missing == Missing::stays_missing ? 1 : 0;
    block_ = table.open(handle_, KEL_TX_NONE, example::kTableName, open_only, &err);
    need(err, std::string("opening ") + table.name);
}

kel_record *OpenTable::first() const {
    if (block_ == nullptr) return nullptr;
    uint32_t err = 0;
    kel_record *record = table_.get_first(handle_, KEL_TX_NONE, block_, &err);
    need(err, std::string("the first record of ") + table_.name);
    return record;
}

kel_record *OpenTable::next(kel_record *record) const {
    uint32_t err = 0;
    kel_record *found = table_.get_next(handle_, KEL_TX_NONE, block_, record, &err);
    need(err, std::string("the next record of ") + table_.name);
    return found;
}

void OpenTable::for_each(const std::function<void(kel_record *)> &function) const {
    for (kel_record *record = first(); record != nullptr; record = next(record)) function(record);
}

void OpenTable::insert(uint32_t tx_id, kel_record *record) const {
    uint32_t err = 0;
    table_.insert(handle_, tx_id, block_, record, &err);
    need(err, std::string("inserting ") + server(record) + " into " + table_.name);
}

std::string OpenTable::server(kel_record *record) const {
    uint32_t length = 0;
    const char *bytes = kel_vstring_bytes(table_.key(handle_, record), &length);
    return std::string(bytes, length);
}

std::string OpenTable::text(kel_record *record) const {
    const auto write = [&](char *buffer, uint32_t size, uint32_t *err) {
        return table_.print(handle_, KEL_TX_NONE, buffer, record, size, err);
    };
    return written(write, std::string("printing a record of ") + table_.name);
}

std::string OpenTable::xml(kel_record *record) const {
    const auto write = [&](char *buffer, uint32_t size, uint32_t *err) {
        return table_.to_xml(handle_, KEL_TX_NONE, buffer, record, size, err);
    };
    return written(write, std::string("writing a record of ") + table_.name + " as XML");
}

std::string to_text(const example::Session &session) {
    std::string text;
    for (const LdapTable &functions : kLdapTables) {
        const OpenTable table(session, functions, OpenTable::Missing::stays_missing);
        std::string records;
        size_t count = 0;
        table.for_each([&](kel_record *record) {
            records += table.text(record);
            ++count;
        });
        text += std::string(functions.name) + ": " + count_of(count) + "\n" + records;
    }
    return text;
}

}  // namespace ldap_show
