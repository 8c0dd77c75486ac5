// SPDX-License-Identifier: Apache-2.0
#include "xml_file.h"

#include <array>
#include <cstring>
#include <functional>

#include "tables.h"

namespace ldap_show {
namespace {

constexpr const char *kRoot = "ldap";

// Calls `function` with each element at `path`. What it throws doesn't pass through the runtime's
// C code: it is kept and thrown again after the call.
void for_each_element(kel_xml_document *document, const std::string &path,
                      const std::function<void(kel_xml_document *)> &function) {
    struct Context {
        const std::function<void(kel_xml_document *)> &function;
        std::exception_ptr failure;
    } context{function, nullptr};
    const auto call = [](kel_xml_document *element, void *data) -> uint32_t {
        auto &called = *static_cast<Context *>(data);
        try {
            called.function(element);
            return 0;
        } catch (...) {
            called.failure = std::current_exception();
            return 1;
        }
    };
    uint32_t result = 0;
    if (kel_xml_for_each(document, path.c_str(), call, &context, &result) != 0)
        throw XmlError(kel_error_text());
    if (context.failure) std::rethrow_exception(context.failure);
}

void read_record(const OpenTable &table, uint32_t tx_id, kel_xml_document *element) {
    uint32_t err = 0;
    std::array<char, 256> message{};
    kel_record *record = table.table().from_xml(table.handle(), tx_id, element, &err,
                                                message.data(), uint32_t(message.size()));
    if (record == nullptr || err != 0)
        throw XmlError(std::string("a record of ") + table.table().name + " can't be read: " +
                       std::strerror(int(err)) + (message[0] != '\0' ? ": " : "") + message.data());
    table.insert(tx_id, record);
}

}  // namespace

std::string to_xml(const example::Session &session) {
    std::string xml = std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<") + kRoot + ">\n";
    for (const LdapTable &functions : kLdapTables) {
        const OpenTable table(session, functions, OpenTable::Missing::stays_missing);
        table.for_each([&](kel_record *record) { xml += table.xml(record); });
    }
    return xml + "</" + kRoot + ">\n";
}

XmlFile::XmlFile(const std::string &text) : document_(kel_xml_parse(text.data(), text.size())) {
    if (document_ == nullptr) throw XmlError(kel_error_text());
    size_t roots = 0;
    for_each_element(document_.get(), std::string("/") + kRoot,
                     [&](kel_xml_document *) { ++roots; });
    if (roots == 0) throw XmlError(std::string("expected an element <") + kRoot + "> at its root");
}

void XmlFile::store_in(const example::Session &session) const {
    // Tables outlive every transaction, so they are opened in none.
    for (const LdapTable &functions : kLdapTables)
        OpenTable(session, functions, OpenTable::Missing::is_made);

    example::Transaction transaction(session);
    for (const LdapTable &functions : kLdapTables) {
        const OpenTable table(session, functions, OpenTable::Missing::stays_missing);
        for_each_element(
            document_.get(), std::string("/") + kRoot + "/" + functions.name,
            [&](kel_xml_document *element) { read_record(table, transaction.id(), element); });
    }
    transaction.commit();
}

}  // namespace ldap_show
