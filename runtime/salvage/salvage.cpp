// SPDX-License-Identifier: Apache-2.0
#include "runtime/salvage/salvage.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "runtime/check/catalog.h"
#include "runtime/index/key_index.h"
#include "runtime/salvage/finds.h"
#include "runtime/salvage/lenient_load.h"
#include "runtime/salvage/record_salvage.h"

namespace tarnbase::runtime {

namespace {

bool is_kind(const kel_type_info *type, std::string_view kind) {
    return type != nullptr && std::string_view(type->kind) == kind;
}

// What a record is called that has no readable key.
std::string name_of(const Blocks &blocks, const kel_record *record) {
    return "the record at offset " + std::to_string(blocks.offset_of(record));
}

// Index pages in the process's own memory, which last as long as the store is open.
class OwnPages final : public BlockAllocator {
 public:
    explicit OwnPages(kel_store &store) : store_(store) {}
    void *allocate(std::uint32_t, std::uint64_t size) override {
        store_.salvaged_pages.push_back(std::make_unique<char[]>(size));
        return store_.salvaged_pages.back().get();
    }
    void release(std::uint32_t, void *) override {}

 private:
    kel_store &store_;
};

class Salvage {
 public:
    Salvage(kel_store &store, const Suspects &suspects, kel_table_vector_lookup lookup,
            const ReportLoss &lost)
        : store_(store),
          suspects_(suspects),
          lost_(lost),
          silent_([](const char *) {}),
          blocks_(store, silent_, [](std::uint64_t) {}),
          catalog_(store, silent_, blocks_),
          entries_(store, silent_, blocks_),
          types_(lookup),
          pages_(store),
          finds_(store, blocks_),
          records_(store, suspects, blocks_, catalog_.descriptors(), entries_) {}

    void run() {
        catalog_.check();
        entries_.check();
        entries_.accept_unlisted_texts();
        finds_.search(catalog_.descriptors());
        collect_tables();
        for (kel_table *table : tables_) take_table(table);
        finish();
    }

 private:
    // The key of a table, and its type if that is known.
    struct Name {
        std::string key;  // empty: the table was opened by id
        std::uint64_t id = 0;
        std::uint32_t open_mode = KEL_OPEN_BY_NAME;
        const TableType *type = nullptr;
    };

    void collect_tables() {
        const auto add = [&](kel_table *table) {
            if (std::find(tables_.begin(), tables_.end(), table) == tables_.end()) {
                tables_.push_back(table);
            }
        };
        for (const ListedTable &each : catalog_.tables()) add(each.table);
        for (const auto &[value, name] : finds_.names()) {
            if (type_in(name) != nullptr) {
                add(static_cast<kel_table *>(const_cast<void *>(value)));
            }
        }
        for (const auto &[table, records] : finds_.records()) add(table);
    }

    // The block of a table, if it isn't damaged.
    const kel_table *block_of(const kel_table *table) const {
        const auto block = blocks_.at(table, sizeof *table);
        const bool is_usable = block && !suspects_.has(block->offset, sizeof *table) &&
                               std::memchr(table->table_name, 0, sizeof table->table_name) &&
                               table->open_mode <= KEL_OPEN_AUTO_ID;
        return is_usable ? table : nullptr;
    }

    // The type of the tables whose key ends with this one's LUID, or null.
    const TableType *type_in(const std::string &key) {
        const std::size_t slash = key.rfind('/');
        if (slash == std::string::npos) return nullptr;
        const kel_type_info *type = catalog_.descriptors().with_luid_text(key.substr(slash + 1));
        return is_kind(type, "table") ? types_.with_luid(type->luid) : nullptr;
    }

    // The type of tables whose records have this descriptor.
    const TableType *type_of_record(const kel_type_info *record) {
        for (const kel_module_record *module = kel_module_tot_root.first; module != nullptr;
             module = module->link_next) {
            for (const kel_type_info *const *each = module->descriptors; *each != nullptr; ++each) {
                if (!is_kind(*each, "table")) continue;
                const TableType *type = types_.with_luid((*each)->luid);
                const bool is_same =
                    type != nullptr &&
                    std::memcmp(type->record->luid, record->luid, sizeof record->luid) == 0;
                if (is_same) return type;
            }
        }
        return nullptr;
    }

    const TableType *type_of_records(const std::vector<kel_record *> &records) {
        for (const kel_record *record : records) {
            const kel_type_info *type = catalog_.descriptors().readable(record->descriptor);
            if (is_kind(type, "table_record")) return type_of_record(type);
        }
        return nullptr;
    }

    Name name_of_table(const kel_table *table, const std::vector<kel_record *> &records) {
        Name name;
        const kel_table *block = block_of(table);
        const auto named = finds_.names().find(table);
        if (block != nullptr && block->open_mode != KEL_OPEN_BY_NAME) {
            name.id = block->table_id;
            name.open_mode = block->open_mode;
            const kel_type_info *type = catalog_.descriptors().readable(block->descriptor);
            if (is_kind(type, "table")) name.type = types_.with_luid(type->luid);
        } else if (block != nullptr && type_in(block->table_name) != nullptr) {
            name.key = block->table_name;
        } else if (named != finds_.names().end() &&
                   named->second.size() < sizeof table->table_name) {
            name.key = named->second;
        }
        if (name.type == nullptr) name.type = type_in(name.key);
        if (name.type == nullptr) name.type = type_of_records(records);
        if (name.open_mode == KEL_OPEN_BY_NAME && name.type != nullptr &&
            type_in(name.key) == nullptr) {
            name.key = "salvaged-" + std::to_string(blocks_.offset_of(table)) + "/" +
                       name.type->table->luid_text;
        }
        return name;
    }

    // A table in the process's own memory, at the end of the new list.
    kel_table *make_table(const Name &name) {
        store_.salvaged_tables.push_back(std::make_unique<kel_table>());
        kel_table *made = store_.salvaged_tables.back().get();
        *made = {};
        made->descriptor = name.type->table;
        made->open_mode = name.open_mode;
        made->table_id = name.id;
        std::snprintf(made->table_name, sizeof made->table_name, "%s", name.key.c_str());
        return made;
    }

    void take_table(kel_table *table) {
        static const std::vector<kel_record *> none;
        const auto found = finds_.records().find(table);
        const std::vector<kel_record *> &records =
            found != finds_.records().end() ? found->second : none;
        const Name name = name_of_table(table, records);
        if (name.type == nullptr) {
            if (records.empty()) return;
            return lost_(nullptr, records.size(),
                         "a table of an unknown type: " + std::to_string(records.size()) +
                             " records are lost");
        }
        kel_table *made = make_table(name);
        for (kel_record *record : records) take_record(*name.type, made, record);
        report_missing(block_of(table), made, records.size());
    }

    void take_record(const TableType &type, kel_table *table, kel_record *record) {
        const auto lose = [&](const std::string &why) {
            lost_(table, 1, name_of(blocks_, record) + ": " + why);
        };
        if (!records_.take(type, record)) return lose(records_.why());
        if (type.order == nullptr || !index_insert({{nullptr, 0}, pages_}, &table->index_root,
                                                   &record->index_node, type.order)) {
            return lose("another record of the table has its key");
        }
        record->table = table;
        table->record_count += 1;
        table->src_counts[record->src] += 1;
    }

    // The records that the table counts, but of which nothing was found.
    void report_missing(const kel_table *block, const kel_table *made, std::uint64_t found) {
        if (block == nullptr || block->record_count <= found ||
            block->record_count > store_.header->arena.size / KEL_RECORD_SIZE) {
            return;
        }
        const std::uint64_t missing = block->record_count - found;
        lost_(made, missing,
              std::to_string(missing) + " of its " + std::to_string(block->record_count) +
                  " records can't be found");
    }

    // Leaves nothing in the header that wasn't checked.
    void finish() {
        StoreHeader &header = *store_.header;
        if (records_.without_state() != 0) {
            lost_(nullptr, 0,
                  "the state flags of " + std::to_string(records_.without_state()) +
                      " objects are lost");
        }
        if (!entries_.has_data()) header.object_data = {};
        header.texts = header.identities_by_id = header.identities_by_object = {};
        header.keys = header.types = nullptr;
        header.tables.last = &header.tables.first;
        for (const auto &table : store_.salvaged_tables) {
            table->toc_prev = header.tables.last;
            *header.tables.last = table.get();
            header.tables.last = &table->toc_next;
        }
        *header.tables.last = nullptr;
    }

    kel_store &store_;
    const Suspects &suspects_;
    const ReportLoss &lost_;
    Findings silent_;
    Blocks blocks_;
    Catalog catalog_;
    SideEntries entries_;
    TableTypes types_;
    OwnPages pages_;
    Finds finds_;
    RecordSalvage records_;
    std::vector<kel_table *> tables_;  // addresses in the damaged store
};

}  // namespace

std::uint32_t salvage_store(const char *path, kel_store &store, kel_table_vector_lookup lookup,
                            const ReportLoss &lost) {
    Suspects suspects;
    LenientLoad load(path, store, suspects, lost);
    if (const std::uint32_t error = load.run()) return error;
    Salvage(store, suspects, lookup, lost).run();
    return 0;
}

}  // namespace tarnbase::runtime
