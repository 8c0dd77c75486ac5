// SPDX-License-Identifier: Apache-2.0
#include "xml_file.h"

#include "tables.h"

namespace ldap_show {
namespace {

const std::string kRoot = "ldap";

tarn::xml_document parse(const std::string &text) {
    auto document = tarn::xml_document::try_parse(text);
    if (!document) throw XmlError(document.error().what());
    return std::move(*document);
}

template <class Table>
void read_record(tarn::basic_table<Table> &table, const tarn::xml_element &element) {
    auto record = table.try_from_xml(element);
    if (!record)
        throw XmlError(std::string("a record of ") + Table::name +
                       " can't be read: " + record.error().what());
    const std::string server(record->key());
    const auto done = table.try_insert(std::move(*record));
    if (!done) throw tarn::error(done.error().number(), server + ": " + done.error().what());
}

}  // namespace

std::string to_xml(const tarn::session &session) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" + kRoot + ">\n";
    for_each_table([&]<class Table>(std::type_identity<Table>) {
        for_each_record<Table>(session, [&](const auto &record) { xml += record.to_xml(); });
    });
    return xml + "</" + kRoot + ">\n";
}

XmlFile::XmlFile(const std::string &text) : document_(parse(text)) {
    bool has_root = false;
    document_.for_each(("/" + kRoot).c_str(), [&](const tarn::xml_element &) { has_root = true; });
    if (!has_root) throw XmlError("expected an element <" + kRoot + "> at its root");
}

void XmlFile::store_in(tarn::session &session) const {
    // A new table belongs to no transaction.
    for_each_table([&]<class Table>(std::type_identity<Table>) {
        tarn::table<Table>::open_or_create(session, kTableName);
    });
    tarn::transaction transaction(session);
    for_each_table([&]<class Table>(std::type_identity<Table>) {
        auto table = tarn::table<Table>::open(session, kTableName);
        document_.for_each(("/" + kRoot + "/" + Table::name).c_str(),
                           [&](const tarn::xml_element &each) { read_record(table, each); });
    });
    transaction.commit();
}

}  // namespace ldap_show
