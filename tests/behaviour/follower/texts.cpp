// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/follower/texts.h"

#include <vector>

#include "catalogue/catalogue.h"

namespace tarn::test {
namespace {

struct Collector {
    const tarnbase::catalogue::Table *table;
    kel_handle *handle;
    std::vector<char> buffer;
    std::string texts;
};

void add(Collector &to, const char *form, std::uint32_t length, std::uint32_t error) {
    to.texts += form;
    to.texts += ", error " + std::to_string(error) + ": ";
    to.texts.append(to.buffer.data(), length);
    to.texts += '\n';
}

std::uint32_t visit(kel_record *record, void *context) {
    Collector &to = *static_cast<Collector *>(context);
    const auto &table = *to.table;
    char *buffer = to.buffer.data();
    const auto size = static_cast<std::uint32_t>(to.buffer.size());
    std::uint32_t err = 0;
    std::uint32_t length = table.print(to.handle, KEL_TX_NONE, buffer, record, size, &err);
    add(to, "printed", length, err);
    err = 0;
    length = table.marshal(to.handle, KEL_TX_NONE, buffer, record, size, &err);
    add(to, "marshalled", length, err);
    err = 0;
    length = table.to_xml(to.handle, KEL_TX_NONE, buffer, record, size, &err);
    add(to, "XML", length, err);
    return 0;
}

}  // namespace

std::string texts_of(kel_store *store) {
    Collector collector{nullptr, nullptr, std::vector<char>(1 << 20), {}};
    if (kel_handle_create(store, 1, &collector.handle) != 0) return "no handle";
    for (kel_table *block = kel_store_first_table(store); block != nullptr;
         block = block->toc_next) {
        collector.table = tarnbase::catalogue::schema.table_of(*block->descriptor);
        collector.texts += std::string(block->descriptor->name) + ' ' + block->table_name + ", " +
                           std::to_string(block->record_count) + " records\n";
        std::uint32_t err = 0;
        collector.table->walk(block, visit, &collector, &err);
    }
    kel_handle_destroy(collector.handle);
    return collector.texts;
}

}  // namespace tarn::test
