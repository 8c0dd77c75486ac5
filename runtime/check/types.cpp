// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/types.h"

#include <cstring>
#include <new>
#include <string_view>

#include "runtime/mapping/object_data.h"
#include "runtime/store/store_handle.h"
#include "runtime/value/descriptor.h"

namespace tarnbase::runtime {

namespace {

constexpr std::size_t luid_bytes = 16;
// Space for the largest record of a type and its table.
constexpr std::uint64_t private_capacity = 64ULL << 20;

// The wire form of a record whose objects have no fields. Reading it makes objects in their
// initial state, except for their variant.
std::vector<char> empty_record(const std::uint8_t *luid) {
    constexpr char object[] = {static_cast<char>(0xff), 0, 4, 0, 0, 0};  // variant, flags, jump
    std::vector<char> bytes(KEL_MESSAGE_HEADER_SIZE);
    bytes.insert(bytes.end(), luid, luid + luid_bytes);
    for (int i = 0; i < 2; ++i) bytes.insert(bytes.end(), std::begin(object), std::end(object));
    return bytes;
}

std::optional<PartKind> kind_of(const kel_type_info *type) {
    if (type == &_kel_vstring_type_info_internal) return PartKind::text;
    if (type == &_ip_address_type_info_internal) return PartKind::address;
    if (type == &_kel_boolean_type_info_internal) return PartKind::boolean;
    for (const ValueType *each = ValueType::first(); each != nullptr; each = each->next()) {
        if (type == &each->descriptor()) return PartKind::other_value;
    }
    for (const kel_module_record *module = kel_module_tot_root.first; module != nullptr;
         module = module->link_next) {
        for (const kel_type_info *const *each = module->descriptors; *each != nullptr; ++each) {
            if (*each != type) continue;
            return std::string_view(type->kind) == "enum" ? PartKind::enumeration
                                                          : PartKind::structure;
        }
    }
    return std::nullopt;
}

// `object` is new, and has a state block.
ObjectType type_of(kel_store &store, const void *object) {
    ObjectType made{};
    const auto *bytes = static_cast<const char *>(object);
    const auto *head = static_cast<const kel_object *>(object);
    made.type = head->descriptor;
    made.top_variant = head->created_variant;
    const kel_variant_info &variants = *made.type->variant_info;
    for (int i = 0; i < variants.variant_count; ++i) {
        made.used_lengths.push_back(variants.variants[i].used_length);
        made.plain_bytes =
            std::uint64_t{variants.variants[i].used_length} + variants.variants[i].alloc_slop;
    }
    const ObjectDataMap data(store.header->object_data, store);
    const auto block = store.allocator.find(store.offset_of(object));
    made.tracked_bytes = block ? block->size : made.plain_bytes;
    for (std::uint64_t at = 16; at + sizeof(kel_object) <= made.plain_bytes; at += 8) {
        const kel_type_info *type = nullptr;
        std::memcpy(&type, bytes + at, sizeof type);
        const auto kind = type != nullptr ? kind_of(type) : std::nullopt;
        if (!kind) continue;
        const ObjectData *state = data.find(bytes + at);
        made.parts.push_back({static_cast<std::uint32_t>(at), *kind, state != nullptr,
                              state != nullptr ? state->state_distance : 0, type});
    }
    return made;
}

}  // namespace

TableTypes::TableTypes(kel_table_vector_lookup lookup) : lookup_(lookup) {
    if (lookup == nullptr) return;
    const kel_store_options options{private_capacity, nullptr};
    if (kel_store_create_private(&options, &store_) != 0 ||
        kel_handle_create(store_, 0, &handle_) != 0) {
        kel_store_close(store_);
        throw std::bad_alloc();
    }
    kel_handle_set_state_tracking(handle_, KEL_STATE_TRACKING_ON);
}

TableTypes::~TableTypes() {
    kel_handle_destroy(handle_);
    kel_store_close(store_);
}

const TableType *TableTypes::with_luid(const std::uint8_t *luid) {
    if (lookup_ == nullptr) return nullptr;
    const std::string key(reinterpret_cast<const char *>(luid), luid_bytes);
    const auto known = types_.find(key);
    if (known != types_.end()) return known->second.get();
    return types_.emplace(key, make_type(luid)).first->second.get();
}

std::unique_ptr<TableType> TableTypes::make_type(const std::uint8_t *luid) {
    const void *const *slots = nullptr;
    std::uint32_t error = 0;
    lookup_(handle_, KEL_TX_NONE, luid, &slots, &error);
    if (error != 0 || slots == nullptr) return nullptr;
    const TableVector vector(slots);
    kel_table *table = vector.open(handle_, KEL_TX_NONE, "check", &error);
    const std::vector<char> bytes = empty_record(luid);
    kel_record *record = vector.unmarshal(handle_, KEL_TX_NONE, bytes.data(),
                                          static_cast<std::uint32_t>(bytes.size()), &error);
    if (table == nullptr || record == nullptr || record->object == nullptr || error != 0) {
        throw std::bad_alloc();
    }
    store_->order_of_new_tree = nullptr;
    vector.insert(handle_, KEL_TX_NONE, table, record, &error);
    const auto block = store_->allocator.find(store_->offset_of(record));
    const bool has_key = block && block->size >= sizeof(kel_record);
    auto type = std::make_unique<TableType>(
        TableType{vector, table->descriptor, record->descriptor, store_->order_of_new_tree,
                  has_key ? sizeof(kel_record) : KEL_RECORD_SIZE, type_of(*store_, record->object),
                  std::nullopt});
    if (has_key) type->key = type_of(*store_, record->key_object);
    vector.destroy_record(handle_, KEL_TX_NONE, record, &error);
    return type;
}

}  // namespace tarnbase::runtime
