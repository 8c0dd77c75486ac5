// SPDX-License-Identifier: Apache-2.0
#include "tables.h"

namespace ldap_show {
namespace {

std::string count_of(size_t records) {
    return std::to_string(records) + (records == 1 ? " record" : " records");
}

}  // namespace

std::string to_text(const tarn::session &session) {
    std::string text;
    for_each_table([&]<class Table>(std::type_identity<Table>) {
        std::string records;
        size_t count = 0;
        for_each_record<Table>(session, [&](const auto &record) {
            records += record.to_text();
            ++count;
        });
        text += std::string(Table::name) + ": " + count_of(count) + "\n" + records;
    });
    return text;
}

}  // namespace ldap_show
