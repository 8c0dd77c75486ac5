// SPDX-License-Identifier: Apache-2.0
#include "runtime/check/side_entries.h"

#include <cstddef>

#include "runtime/check/walks.h"

namespace tarnbase::runtime {

namespace {

using Number = unsigned long long;

constexpr const char *texts_name = "the map of texts";
constexpr const char *data_name = "the map of objects' data";
constexpr const char *by_object_name = "the map of identities by object";
constexpr const char *by_id_name = "the map of identities by id";

Identity *identity_of_id_node(const MapNode *node) {
    const auto address = reinterpret_cast<std::uintptr_t>(node) - offsetof(Identity, by_id);
    return reinterpret_cast<Identity *>(address);
}

const void *owner_of(const MapNode *node) { return reinterpret_cast<const void *>(node->key); }

}  // namespace

SideEntries::SideEntries(const Image &image, Findings &findings, Blocks &blocks)
    : header_(*image.header),
      findings_(findings),
      blocks_(blocks),
      texts_(blocks.make_set()),
      used_(blocks.make_set()),
      by_object_(blocks.make_set()),
      by_id_(blocks.make_set()) {}

void SideEntries::check() {
    const auto enter = [this](const char *name, std::uint64_t size, BlockSet *set) {
        return [this, name, size, set](MapNode *node) {
            const auto block =
                blocks_.claim(node, size, [&] { return std::string(name) + ", an entry"; });
            if (block && set != nullptr) set->insert(block->offset);
            return block.has_value();
        };
    };
    texts_usable_ = walk_map(blocks_, findings_, header_.texts, texts_name,
                             enter(texts_name, sizeof(MapNode), &texts_));
    data_usable_ = walk_map(blocks_, findings_, header_.object_data, data_name,
                            enter(data_name, sizeof(ObjectData), nullptr));
    identities_usable_ = walk_map(blocks_, findings_, header_.identities_by_object, by_object_name,
                                  enter(by_object_name, sizeof(Identity), &by_object_));
    check_identities();
}

void SideEntries::check_identities() {
    const bool has_ids =
        walk_map(blocks_, findings_, header_.identities_by_id, by_id_name, [this](MapNode *node) {
            const auto block = blocks_.at(identity_of_id_node(node), sizeof(Identity));
            if (block && by_object_.has(block->offset) && by_id_.insert(block->offset)) return true;
            findings_.add(by_id_name, "an entry leads to %p, which is %s",
                          static_cast<void *>(node),
                          block && by_object_.has(block->offset) ? "in it twice" : "no identity");
            return false;
        });
    each(header_.identities_by_object, identities_usable_, [&](const MapNode *node) {
        const auto &identity = *reinterpret_cast<const Identity *>(node);
        if (has_ids && !by_id_.has(blocks_.offset_of(node))) {
            findings_.add(by_id_name, "it lacks the id 0x%llx", static_cast<Number>(identity.id()));
        }
        if (identity.kind != kind_object && !identity.is_table()) {
            findings_.add(by_object_name, "the identity 0x%llx has the kind %u",
                          static_cast<Number>(identity.id()), identity.kind);
        }
        if (identity.released > 1 || (identity.released == 1 && identity.references == 0)) {
            findings_.add(by_object_name, "the identity 0x%llx is released, with %u references",
                          static_cast<Number>(identity.id()), identity.references);
        }
    });
}

template <typename Visit>
void SideEntries::each(const MapRoot &root, bool usable, Visit visit) const {
    if (!usable || root.top == nullptr) return;
    for (std::uint64_t i = 0; i < root.bucket_count; ++i) {
        for (const MapNode *node = bucket_at(root, i); node != nullptr; node = node->next)
            visit(node);
    }
}

const MapNode *SideEntries::find(const MapRoot &root, std::uint64_t key) const {
    if (root.top == nullptr) return nullptr;
    const MapNode *node = bucket_at(root, bucket_of(key, root.bucket_count));
    while (node != nullptr && node->key != key) node = node->next;
    return node;
}

bool SideEntries::use_text(const kel_vstring *string, const char *text, std::uint64_t length) {
    const auto *entry =
        reinterpret_cast<const MapNode *>(reinterpret_cast<std::uintptr_t>(text) - sizeof(MapNode));
    const auto block = blocks_.at(entry, sizeof(MapNode) + length);
    if (!block || entry->key != map_key(string)) return false;
    if (!texts_.has(block->offset) && !accepts_unlisted_texts_) return false;
    used_.insert(block->offset);
    return true;
}

const ObjectData *SideEntries::use_data(const void *object) {
    if (!data_usable_) return nullptr;
    const MapNode *entry = find(header_.object_data, map_key(object));
    if (entry == nullptr) return nullptr;
    used_.insert(blocks_.offset_of(entry));
    return reinterpret_cast<const ObjectData *>(entry);
}

const Identity *SideEntries::use_identity(const void *object) {
    if (!identities_usable_ || header_.identities_by_object.entries == 0) return nullptr;
    const MapNode *entry = find(header_.identities_by_object, map_key(object));
    if (entry == nullptr) return nullptr;
    used_.insert(blocks_.offset_of(entry));
    return reinterpret_cast<const Identity *>(entry);
}

void SideEntries::each_unused_identity(const std::function<void(const Identity &)> &visit) const {
    each(header_.identities_by_object, identities_usable_, [&](const MapNode *node) {
        if (!used_.has(blocks_.offset_of(node))) visit(*reinterpret_cast<const Identity *>(node));
    });
}

void SideEntries::check_use(const std::function<bool(const void *owner)> &is_opaque) const {
    const auto unused = [&](const char *name, const char *what) {
        return [this, name, what, &is_opaque](const MapNode *node) {
            if (used_.has(blocks_.offset_of(node)) || is_opaque(owner_of(node))) return;
            findings_.add(name, "the entry at offset %llu is for %s at %p, where none uses it",
                          static_cast<Number>(blocks_.offset_of(node)), what, owner_of(node));
        };
    };
    each(header_.texts, texts_usable_, unused(texts_name, "a string"));
    each(header_.object_data, data_usable_, unused(data_name, "an object"));
    each(header_.identities_by_object, identities_usable_, unused(by_object_name, "an object"));
}

}  // namespace tarnbase::runtime
