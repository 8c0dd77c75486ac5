// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/store_reads.h"

#include <vector>

#include "catalogue/catalogue.h"
#include "tests/fuzz/round.h"

namespace tarnbase::fuzz {

namespace {

using catalogue::Table;

// Made once: it is larger than what is read from most stores.
std::vector<char> &buffer() {
    static std::vector<char> bytes(1 << 18);
    return bytes;
}

struct Reader {
    kel_handle *handle;
    const Table *table;
    u64 records = 0;

    static u32 size() { return static_cast<u32>(buffer().size()); }
    static char *place() { return buffer().data(); }

    void read(kel_record *record) {
        u32 err = 0;
        table->print(handle, KEL_TX_NONE, place(), record, size(), &err);
        err = 0;
        table->to_xml(handle, KEL_TX_NONE, place(), record, size(), &err);
        err = 0;
        table->len(handle, KEL_TX_NONE, record);
        table->marshal(handle, KEL_TX_NONE, place(), record, size(), &err);
        if (void *object = table->object(handle, KEL_TX_NONE, record)) read(*table->type, object);
        ++records;
    }

    void read(const catalogue::Structure &type, void *object) {
        for (const catalogue::Field &field : type.fields) {
            u32 err = 0;
            field.call.state_flag(handle, KEL_TX_NONE, object, &err);
            err = 0;
            if (field.structure == nullptr) continue;
            void *inner = field.call.get(handle, KEL_TX_NONE, object, 0, &err);
            if (inner != nullptr) read(*field.structure, inner);
        }
    }
};

void read_table(Reader &reader, kel_table *block) {
    u32 err = 0;
    reader.records = 0;
    reader.table->walk(
        block,
        [](kel_record *record, void *context) -> u32 {
            static_cast<Reader *>(context)->read(record);
            return 0;
        },
        &reader, &err);
    require(reader.records == block->record_count, "a table has as many records as it counts");
    kel_record *record = reader.table->first_ignore_src(reader.handle, KEL_TX_NONE, block, &err);
    while (record != nullptr) {
        err = 0;
        record = reader.table->next_ignore_src(reader.handle, KEL_TX_NONE, block, record, &err);
    }
}

}  // namespace

void read_everything(kel_store *store, u32 mode) {
    kel_store_description description;
    kel_store_describe(store, &description);
    u32 tables = 0;
    kel_handle *handle = nullptr;
    require(kel_handle_create(store, 1, &handle) == 0, "a handle can be made");
    kel_handle_set_state_tracking(handle, mode);
    for (kel_table *block = kel_store_first_table(store); block != nullptr;
         block = block->toc_next) {
        ++tables;
        const Table *table = catalogue::schema.table_of(*block->descriptor);
        require(table != nullptr, "a sound table has a type");
        Reader reader{handle, table};
        read_table(reader, block);
    }
    kel_replication_reader reader;
    kel_replication_frame frame;
    if (kel_replication_reader_open(handle, KEL_REPLICATION_OLDEST, &reader) == 0) {
        while (kel_replication_next(handle, &reader, buffer().data(), Reader::size(), &frame) ==
               0) {
        }
    }
    kel_handle_destroy(handle);
    require(tables == description.tables, "the description counts the tables");
}

}  // namespace tarnbase::fuzz
