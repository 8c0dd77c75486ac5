// SPDX-License-Identifier: Apache-2.0
// Changes of tables and of what isn't in any.
#include <algorithm>
#include <string>

#include "runtime/catalog/keyed_store.h"
#include "tests/behaviour/follower/writer.h"

namespace tarn::test {

using tarnbase::catalogue::operations_of;

namespace {

constexpr std::size_t most_tables = 120;

}  // namespace

OpenTable *Writer::table_of(const tarnbase::catalogue::Table &type) {
    std::vector<OpenTable *> found;
    for (OpenTable &each : all_.tables) {
        if (each.type == &type) found.push_back(&each);
    }
    return found.empty() ? nullptr : found[random_.below(count_of(found))];
}

void Writer::open_table() {
    if (all_.tables.size() > most_tables) return;
    const auto &tables = tarnbase::catalogue::schema.tables;
    const auto &type = *tables[random_.below(count_of(tables))];
    note("open " + std::string(type.name));
    const std::string name = "table " + std::to_string(random_.below(3));
    const auto &plain = operations_of(type).plain;
    kel_table *block = nullptr;
    switch (random_.below(5)) {
        case 0:
            block = plain.open_by_id(handle_, tx_, 1 + random_.below(4), 0, &err_);
            break;
        case 1:
            block = plain.open_auto_id(handle_, tx_, 0, &err_);
            break;
        case 2:
            block = plain.dynamic_open_auto_id(handle_, tx_, 0, &err_);
            break;
        case 3:
            block =
                plain.open_by_ior_with_name(handle_, tx_, name.c_str(), random_.below(9), 0, &err_);
            break;
        default:
            block = plain.open(handle_, tx_, name.c_str(), 0, &err_);
            break;
    }
    const bool is_known = std::any_of(all_.tables.begin(), all_.tables.end(),
                                      [&](const OpenTable &each) { return each.block == block; });
    if (block != nullptr && !is_known) all_.tables.push_back({&type, block});
}

// A free is permanent only in part: it isn't rolled back here.
void Writer::free_table() {
    if (will_roll_back_ || all_.tables.empty()) return;
    const std::uint32_t index = random_.below(count_of(all_.tables));
    const OpenTable table = all_.tables[index];
    if (table.block->record_count != 0 || table.block->index_root != nullptr) return;
    note("free " + std::string(table.type->name));
    table.type->free(handle_, tx_, table.block, &err_);
    if (err_ == 0) remove_at(all_.tables, index);
}

void Writer::mark_table() {
    if (all_.tables.empty()) return;
    const OpenTable &table = all_.tables[random_.below(count_of(all_.tables))];
    note("mark " + std::string(table.type->name));
    const std::uint32_t marked = random_.one_in(3) ? 1 : 0;
    kel_table_set_replication(handle_, tx_, table.block, marked, random_.coin() ? 1 : 0);
}

void Writer::finish_destroys() {
    if (tx_ == KEL_TX_NONE && random_.one_in(3)) {
        note("configure the ring");
        kel_replication_configure(handle_, 20 + random_.below(40), 4096);
    }
    note("finish the destructions");
    std::uint32_t finished = 0;
    kel_replication_finish_destroys(handle_, tx_, &finished);
}

// The keyed store changes outside of transactions.
void Writer::change_keys() {
    const std::string key = "key/" + std::to_string(random_.below(50));
    note("key " + key);
    if (random_.one_in(3)) loam_delete_key(handle_->arena, key.c_str());
    else loam_set_key(handle_->arena, key.c_str(), all_.tables.front().block);
}

// Of a type, for the objects that the handle makes and changes from now on.
void Writer::choose_variant() {
    const auto &type = *object_types()[random_.below(count_of(object_types()))];
    const auto count = static_cast<std::uint32_t>(type.descriptor->variant_info->variant_count);
    note("a variant of " + std::string(type.name));
    kel_handle_set_variant(handle_, type.descriptor,
                           static_cast<std::int8_t>(random_.below(count)));
}

}  // namespace tarn::test
