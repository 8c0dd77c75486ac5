// SPDX-License-Identifier: Apache-2.0
// Each kind of damage has a finding that fits.
#include <cstddef>
#include <cstring>
#include <functional>
#include <stdexcept>

#include "catalogue/catalogue.h"
#include "runtime/catalog/named_entry.h"
#include "runtime/index/index_page.h"
#include "runtime/index/node.h"
#include "runtime/mapping/object_data.h"
#include "runtime/mapping/object_identity.h"
#include "runtime/replication/ring.h"
#include "runtime/store/store.h"
#include "runtime/tenant/counters.h"
#include "runtime/value/vstring.h"
#include "tests/unit/runtime_check/checked_store.h"
#include "tests/unit/runtime_check/filled_store.h"

namespace tarn::test {
namespace {

using namespace tarnbase::runtime;

// Ways to the structures of a filled store.
struct Parts {
    kel_store &store;

    StoreHeader &header() const { return *store.header; }
    kel_table &table() const { return *header().tables.first; }
    static Node *root(void *anchor) { return static_cast<Node *>(anchor); }
    Node *top() const { return root(table().index_root); }
    static kel_record *record(Node *node) {
        return reinterpret_cast<kel_record *>(reinterpret_cast<char *>(node) -
                                              offsetof(kel_record, index_node));
    }
    kel_record *middle() const { return record(top()); }
    // The pages of an index of many records.
    IndexPage &top_page() const { return *static_cast<IndexPage *>(table().index_root); }
    IndexPage &leaf(std::uint32_t slot = 0) const { return *top_page().page(slot); }
    static Node *leftmost(void *anchor) {
        Node *node = root(anchor);
        while (node->child[before] != nullptr) node = node->child[before];
        return node;
    }
    kel_object *object() const { return static_cast<kel_object *>(middle()->object); }
    // A string with a long text.
    kel_vstring *text() const {
        const MapRoot &map = header().texts;
        for (std::uint64_t i = 0;; ++i) {
            if (MapNode *node = bucket_at(map, i))
                return reinterpret_cast<kel_vstring *>(node->key);
        }
    }
    static MapNode *&entry(MapRoot &map) {
        for (std::uint64_t i = 0;; ++i) {
            if (bucket_at(map, i) != nullptr) return bucket_at(map, i);
        }
    }
    void *key(const char *name) const {
        const std::function<void *(Node *)> find = [&](Node *at) -> void * {
            if (at == nullptr) return nullptr;
            auto *named = reinterpret_cast<NamedEntry *>(at);
            if (std::string_view(named->name).starts_with(name)) return named->value;
            void *first = find(at->child[before]);
            return first != nullptr ? first : find(at->child[after]);
        };
        return find(root(header().keys));
    }
    RingHead &ring() const { return *static_cast<RingHead *>(key(ring_key)); }
    RingSlot &slot() const {
        return reinterpret_cast<RingSlot *>(&ring() + 1)[ring().first % ring().slots];
    }
    kel_type_info &type() const {
        return static_cast<kel_type_info_copy *>(
                   reinterpret_cast<NamedEntry *>(root(header().types))->value)
            ->info;
    }
    // The first embedded object of that kind, in any record.
    template <typename T>
    T *part(tarnbase::catalogue::Kind kind) const {
        for (kel_table *each = header().tables.first; each != nullptr; each = each->toc_next) {
            const auto *type = tarnbase::catalogue::schema.table_of(*each->descriptor);
            if (each->index_root == nullptr) continue;
            for (const auto &field : type->type->fields) {
                std::uint32_t error = 0;
                kel_handle *handle = nullptr;
                if (field.kind != kind || kel_handle_create(&store, 1, &handle) != 0) continue;
                void *found = field.call.get(handle, KEL_TX_NONE,
                                             record(root(each->index_root))->object, 0, &error);
                kel_handle_destroy(handle);
                return static_cast<T *>(found);
            }
        }
        throw std::runtime_error("no such field");
    }
    Page &page() const { return *reinterpret_cast<Page *>(page_of(middle())); }
    char *page_of(const void *block) const {
        return store.region.base() + store.offset_of(block) / page_size * page_size;
    }
};

template <typename T>
void *wild(T) {
    return reinterpret_cast<void *>(0x1234'5678'9000);
}

std::uint64_t &digest(IndexPage &page, std::uint32_t slot) {
    return page.digests[page.places[slot]];
}

// Records of each table: their index is a tree, or it has a root page and pages below.
constexpr std::uint32_t few = 10;
constexpr std::uint32_t many = 200;

struct Damage {
    const char *name;
    void (*make)(const Parts &);
    const char *finding;
    std::uint32_t records = few;
};

const Damage damages[] = {
    // The tree of a table.
    {"order",
     [](const Parts &p) {
         std::swap(p.middle()->object, Parts::record(p.top()->child[before])->object);
     },
     "it isn't in order after the record"},
    {"child", [](const Parts &p) { p.top()->child[before] = p.top()->child[after]; },
     "has another owner, too"},
    {"child_wild", [](const Parts &p) { p.top()->child[before] = static_cast<Node *>(wild(0)); },
     "is outside of the store"},
    {"child_inside", [](const Parts &p) { p.top()->child[before] += 1; },
     "no block begins at offset"},
    {"child_lost", [](const Parts &p) { p.top()->child[before] = nullptr; },
     "which is in no table: it is lost"},
    {"tree_cycle", [](const Parts &p) { p.top()->child[before] = p.top(); },
     "has another owner, too"},
    {"parent", [](const Parts &p) { p.top()->child[before]->parent_and_balance += 16; },
     "its parent in the tree is"},
    {"balance", [](const Parts &p) { p.top()->parent_and_balance ^= 3; },
     "its balance in the tree is"},
    {"anchor", [](const Parts &p) { p.top()->tree += 1; }, "its node is one of another tree"},
    {"root", [](const Parts &p) { p.table().index_root = nullptr; }, "records, its tree has 0"},
    // The pages of an index.
    {"page_mark", [](const Parts &p) { p.leaf().mark = 0; }, "it isn't marked as a page", many},
    {"page_count", [](const Parts &p) { p.leaf().count = IndexPage::capacity + 1; }, "its count of entries is wrong",
     many},
    {"page_empty", [](const Parts &p) { p.leaf().count = 0; }, "its count of entries is wrong",
     many},
    {"page_level", [](const Parts &p) { p.leaf().level = 1; }, "its level is wrong", many},
    {"page_skip", [](const Parts &p) { p.leaf().skip = 33; }, "its prefix is too long", many},
    {"page_place_twice", [](const Parts &p) { p.leaf().places[0] = p.leaf().places[1]; },
     "its places are wrong", many},
    {"page_place_wild", [](const Parts &p) { p.leaf().places[57] = IndexPage::capacity; },
     "its places are wrong", many},
    {"page_next", [](const Parts &p) { p.leaf().next = nullptr; }, "its link to the next leaf is",
     many},
    {"page_previous", [](const Parts &p) { p.leaf().previous = &p.leaf(); },
     "its link to the leaf before is", many},
    {"page_last", [](const Parts &p) { p.leaf(p.top_page().count - 1U).next = &p.leaf(); },
     "it is the last leaf, but has a next one", many},
    {"page_wild", [](const Parts &p) { p.top_page().entries[1].address = wild(0); },
     "is outside of the store", many},
    {"page_twice", [](const Parts &p) { p.top_page().entries[1] = p.top_page().entries[0]; },
     "has another owner, too", many},
    {"page_lost", [](const Parts &p) { p.top_page().count -= 1; }, "it is lost", many},
    {"page_node", [](const Parts &p) { p.leaf().entries[2] = p.leaf().entries[1]; },
     "has another owner, too", many},
    {"page_anchor", [](const Parts &p) { p.leaf().node(2)->opaque[3] += 8; },
     "its node is one of another index", many},
    {"page_prefix", [](const Parts &p) { p.leaf().prefix[0] ^= 1; },
     "its key doesn't begin with the prefix of its leaf", many},
    {"page_digest", [](const Parts &p) { digest(p.leaf(), 0) -= 1; }, "its digest is 0x", many},
    {"page_order", [](const Parts &p) { std::swap(digest(p.leaf(), 0), digest(p.leaf(), 9)); },
     "isn't in order", many},
    {"page_separator_low",
     [](const Parts &p) { digest(p.top_page(), 1) = digest(p.top_page(), 2); },
     "its key is less than the digest in a page above", many},
    {"page_separator_high", [](const Parts &p) { digest(p.top_page(), 1) = 0; },
     "is greater than its digest", many},
    // Table blocks and their list.
    {"record_count", [](const Parts &p) { p.table().record_count += 1; }, "records, its tree has"},
    {"source_count", [](const Parts &p) { p.table().src_counts[2] -= 1; },
     "records of source 2, its tree has"},
    {"open_mode", [](const Parts &p) { p.table().open_mode = 7; }, "its open mode is 7"},
    {"reserved_word", [](const Parts &p) { p.table().runtime_words[1] = 1; },
     "a reserved word isn't zero"},
    {"table_name",
     [](const Parts &p) { std::memset(p.table().table_name, 'x', sizeof p.table().table_name); },
     "its key has no end"},
    {"table_descriptor",
     [](const Parts &p) { p.table().descriptor = reinterpret_cast<kel_type_info *>(p.middle()); },
     "which is none of the store"},
    {"table_kind", [](const Parts &p) { p.table().descriptor = p.middle()->descriptor; },
     "its descriptor is that of the table_record"},
    {"list_cycle", [](const Parts &p) { p.table().toc_next = &p.table(); },
     "the table list, block 2: the block"},
    {"list_wild", [](const Parts &p) { p.table().toc_next = static_cast<kel_table *>(wild(0)); },
     "the table list, block 2: the address"},
    {"list_back", [](const Parts &p) { p.table().toc_prev += 1; }, "its link back is"},
    {"list_end", [](const Parts &p) { p.header().tables.last += 1; }, "the table list: its end is"},
    {"tenant",
     [](const Parts &p) {
         reinterpret_cast<TenantCounters *>(p.table().tenant_counters)->tenant = 0;
     },
     "it isn't in order after tenant 0"},
    // Records.
    {"record_descriptor", [](const Parts &p) { p.middle()->descriptor = p.table().descriptor; },
     "expected that of tbl_ldap_conn_record"},
    {"record_table", [](const Parts &p) { p.middle()->table += 1; }, "it says that its table is"},
    {"record_index_flag", [](const Parts &p) { p.middle()->flags = 0; },
     "its flags say that it isn't in the tree"},
    {"record_flags", [](const Parts &p) { p.middle()->flags |= 64; }, "bytes of it are reserved"},
    {"record_references", [](const Parts &p) { p.middle()->ref_count = 0; }, "it has no reference"},
    {"record_data",
     [](const Parts &p) {
         p.middle()->flags |= KEL_RECORD_HD_MAPPED;
         const_cast<kel_record *>(Parts::record(p.top()->child[before]))->flags |=
             KEL_RECORD_HD_MAPPED;
     },
     "it has an entry in the map of objects' data, but it has none"},
    {"object_twice",
     [](const Parts &p) { p.middle()->object = Parts::record(p.top()->child[before])->object; },
     "its object: the block at offset"},
    {"object_inside",
     [](const Parts &p) { p.middle()->object = static_cast<char *>(p.middle()->object) + 16; },
     "its object: no block begins"},
    {"object_lost",
     [](const Parts &p) { Parts::record(Parts::leftmost(p.top()))->object = nullptr; },
     "which nothing refers to: it is lost"},
    // Objects and what is in them.
    {"object_descriptor", [](const Parts &p) { p.object()->descriptor = nullptr; },
     "its object: its descriptor is"},
    {"variant", [](const Parts &p) { p.object()->variant = 90; }, "its variants are 90"},
    {"nested", [](const Parts &p) { p.object()->flags |= OBJ_NESTED; }, "an object in another one"},
    {"state", [](const Parts &p) { p.object()->flags ^= OBJ_STATE_TRACKED; },
     "state block, its flags are"},
    {"part_descriptor", [](const Parts &p) { p.text()->descriptor = nullptr; },
     "a kel_vstring: its descriptor is"},
    {"part_flags",
     [](const Parts &p) { p.text()->flags &= static_cast<std::uint8_t>(~OBJ_NESTED); },
     "which isn't an object in another one"},
    {"text_length", [](const Parts &p) { p.text()->length = 100000; }, "isn't one that it owns"},
    {"text_huge", [](const Parts &p) { p.text()->length = 0xffffffff; }, "isn't one that it owns"},
    {"text_short", [](const Parts &p) { p.text()->length = 3; },
     "a byte after its text of 3 bytes isn't zero"},
    {"text_borrowed", [](const Parts &p) { p.text()->borrowed = 1; }, "its text is borrowed"},
    {"text_wild", [](const Parts &p) { std::memset(p.text()->text.outside.block, 0x77, 8); },
     "isn't one that it owns"},
    {"text_prefix", [](const Parts &p) { p.text()->text.outside.prefix[0] ^= 1; },
     "its first bytes aren't those of its text"},
    {"address_family",
     [](const Parts &p) { p.part<ip_address>(tarnbase::catalogue::Kind::address)->family = 5; },
     "the family of its address is 5"},
    {"address_rest",
     [](const Parts &p) {
         p.part<ip_address>(tarnbase::catalogue::Kind::address)->reserved[1] = 5;
     },
     "a byte after its address isn't zero"},
    {"boolean",
     [](const Parts &p) { p.part<kel_boolean>(tarnbase::catalogue::Kind::boolean)->value = 2; },
     "its value is 2, expected 0 or 1"},
    // The maps.
    {"text_entry_key", [](const Parts &p) { Parts::entry(p.header().texts)->key += 4096; },
     "is in bucket"},
    {"text_entry_cycle",
     [](const Parts &p) { Parts::entry(p.header().texts)->next = Parts::entry(p.header().texts); },
     "the map of texts, an entry: the block"},
    {"text_entry_lost", [](const Parts &p) { Parts::entry(p.header().texts) = nullptr; },
     "the map of texts: it has"},
    {"text_entries", [](const Parts &p) { p.header().texts.entries += 1; }, "entries, but counts"},
    {"text_buckets",
     [](const Parts &p) { p.header().texts.top = wild(0); },
     "the map of texts, its buckets"},
    {"text_bucket_count", [](const Parts &p) { p.header().texts.bucket_count = 7; },
     "it has 7 buckets, expected 16 to"},
    {"text_bucket_many", [](const Parts &p) { p.header().texts.bucket_count = 1ULL << 31; },
     "the map of texts, its buckets"},
    {"text_without_buckets", [](const Parts &p) { p.header().texts.top = nullptr; },
     "it has no buckets, but"},
    {"data_distance",
     [](const Parts &p) {
         const MapRoot &map = p.header().object_data;
         for (std::uint64_t i = 0; i < map.bucket_count; ++i) {
             for (MapNode *n = bucket_at(map, i); n != nullptr; n = n->next)
                 reinterpret_cast<ObjectData *>(n)->state_distance += 1;
         }
     },
     "its state is at a distance of"},
    {"data_lost", [](const Parts &p) { p.header().object_data = {}; },
     "objects' data, but it has none"},
    {"identity_kind",
     [](const Parts &p) {
         reinterpret_cast<Identity *>(Parts::entry(p.header().identities_by_object))->kind = 99;
     },
     "has the kind 99"},
    {"identity_id", [](const Parts &p) { Parts::entry(p.header().identities_by_id) = nullptr; },
     "it lacks the id"},
    {"identity_object",
     [](const Parts &p) {
         p.middle()->object = nullptr;
         Parts::record(p.top()->child[before])->object = nullptr;
         p.header().identities_by_object.entries += 1;
     },
     "the map of identities by object: it has"},
    // Descriptors.
    {"type_magic", [](const Parts &p) { p.type().magic += 1; }, "its first word is"},
    {"type_luid", [](const Parts &p) { p.type().luid[3] += 1; }, "it contains another LUID"},
    {"type_name", [](const Parts &p) { std::memset(p.type().name, 'x', sizeof p.type().name); },
     "its name has no end"},
    {"type_kind", [](const Parts &p) { p.type().kind[0] = 'x'; }, "its kind is none of"},
    {"type_private", [](const Parts &p) { p.type().store_private = 0; },
     "it isn't marked as a store's own"},
    {"type_variants", [](const Parts &p) { p.type().variant_info->variant_count = 0; },
     "it has 0 variants"},
    {"type_variants_many", [](const Parts &p) { p.type().variant_info->variant_count = 127; },
     "the counters of its variants: the block"},
    {"type_variants_wild",
     [](const Parts &p) { p.type().variant_info = static_cast<kel_variant_info *>(wild(0)); },
     "its variants: the address"},
    // The keyed store and tables by id.
    {"key_name", [](const Parts &p) { reinterpret_cast<NamedEntry *>(p.header().keys)->name += 1; },
     "the name of the entry at offset"},
    {"key_order",
     [](const Parts &p) {
         const_cast<char *>(reinterpret_cast<NamedEntry *>(p.header().keys)->name)[0] = '~';
     },
     "the keyed store, `"},
    {"key_value",
     [](const Parts &p) {
         reinterpret_cast<NamedEntry *>(Parts::leftmost(p.header().keys))->value = nullptr;
     },
     "the keyed store, `__kel_TBI__"},
    {"id_count",
     [](const Parts &p) {
         static_cast<kel_table_id_root *>(p.key("__kel_TBI__"))->id_table_count -= 1;
     },
     "it counts 2 tables, its tree has 3"},
    {"id_order",
     [](const Parts &p) {
         auto *node =
             Parts::root(static_cast<kel_table_id_root *>(p.key("__kel_TBI__"))->tree_head.root);
         reinterpret_cast<kel_table *>(reinterpret_cast<char *>(node) -
                                       offsetof(kel_table, id_node))
             ->table_id = 1;
     },
     "it isn't in order after #3"},
    {"id_tree",
     [](const Parts &p) {
         static_cast<kel_table_id_root *>(p.key("__kel_TBI__"))->tree_head.root = nullptr;
     },
     "but no open would find it"},
    // The ring.
    {"ring_frame", [](const Parts &p) { p.slot().frame->head.position += 1; },
     "its frame is of position"},
    {"ring_length", [](const Parts &p) { p.slot().frame->head.length = 1U << 30; },
     "its frame has 1073741824 bytes in a block"},
    {"ring_slots", [](const Parts &p) { p.ring().slots = 1 << 20; }, "more than its block"},
    {"ring_positions", [](const Parts &p) { p.ring().first = p.ring().next + 1; },
     "it has the positions from"},
    {"ring_bytes", [](const Parts &p) { p.ring().bytes += 1; }, "the replication ring: it counts"},
    {"ring_wild", [](const Parts &p) { p.slot().frame = static_cast<Frame *>(wild(0)); },
     "the replication ring, position"},
    // The allocator.
    {"leak", [](const Parts &p) { std::memset(p.store.allocator.allocate(3000), 'x', 3000); },
     "nothing refers to its 3072 bytes: it is lost"},
    {"leak_large", [](const Parts &p) { p.store.allocator.allocate(300000); },
     "nothing refers to its"},
    {"freed_record", [](const Parts &p) { p.store.allocator.release(p.middle()); },
     "a record in its tree: no block begins"},
    {"freed_object", [](const Parts &p) { p.store.allocator.release(p.object()); },
     "its object: no block begins"},
    {"page_used", [](const Parts &p) { p.page().used += 1; }, "the bitmap has"},
    {"page_class", [](const Parts &p) { p.page().size_class = 99; },
     "its head has the kind 1 and size class 99"},
    {"page_kind", [](const Parts &p) { p.page().kind = PageKind::large_block; },
     "the head of a large block has"},
    {"page_run",
     [](const Parts &p) {
         p.page().kind = PageKind::large_block;
         p.page().pages = 1U << 31;
     },
     "a block of 2147483648 pages begins in it"},
    {"bitmap",
     [](const Parts &p) {
         p.page().bitmap()[0] |= 1ULL << 60 | 1ULL << 40 | 1ULL << 41;
         p.page().bitmap()[5] ^= 1ULL << 3;
     },
     "the bitmap has"},
    {"free_byte",
     [](const Parts &p) {
         p.header().arena.size += tarnbase::runtime::page_size;
         p.store.region.base()[p.header().arena.size - 5] = 1;
     },
     "it is free, but its bytes aren't zero"},
    {"page_sets", [](const Parts &p) { p.store.region.base()[page_sets_offset + 1] ^= 1; },
     "the set of pages with space for blocks of 32 bytes"},
    {"block_count", [](const Parts &p) { p.header().arena.blocks += 1; }, "the header: it counts"},
    {"base", [](const Parts &p) { p.header().base = wild(0); }, "the header: the base address is"},
    {"capacity", [](const Parts &p) { p.header().capacity *= 2; }, "the header: the capacity is"},
    {"size", [](const Parts &p) { p.header().arena.size = ~0ULL; }, "the header: the size is"},
};

class DamageTest : public CheckedStore, public ::testing::WithParamInterface<Damage> {};

TEST_P(DamageTest, IsFound) {
    fill_store(store_, GetParam().records);
    GetParam().make({*store_});
    const std::string found = joined(findings_of(store_));
    EXPECT_NE(found.find(GetParam().finding), std::string::npos) << found;
}

INSTANTIATE_TEST_SUITE_P(Every, DamageTest, ::testing::ValuesIn(damages),
                         [](const auto &each) { return std::string(each.param.name); });

}  // namespace
}  // namespace tarn::test
