// SPDX-License-Identifier: Apache-2.0
// Search by key. The key is put in a probe, a record on the stack that is in no tree, which
// the index compares with its records. A search allocates nothing and copies no text.
#include <cstring>

#include "frame/conventions.h"
#include "object/object.h"
#include "table/key.h"
#include "table/node.h"
#include "table/reads.h"
#include "table/table.h"

namespace tarnbase::table {

namespace {

// In bits, of a probe's object.
constexpr std::size_t object_alignment = 8 * alignof(std::uint64_t);

// Makes `memory`, `plain_size` zero bytes, an object with the key.
void initialize_probe(Model model, const Call &call, void *memory, const void *key) {
    object::initialize(*model.type, call, memory,
                       {.descriptor = model.type->descriptor, .log_writes = 0, .quiet = 1});
    put_key_value(model, memory, key);
}

kel_record *find_nearest(const Read &read, const kel_record *probe, Search wanted) {
    // A search that skips pending records keeps to the source; any other one takes the
    // default source, whatever `wanted` says.
    const Selection selection = {.source = wanted.skip_pending ? wanted.source : KEL_SOURCE_DEFAULT,
                                 .skip_pending = wanted.skip_pending};
    return wanted.backward ? prev(read.model, read.call, read.table, probe, selection)
                           : next(read.model, read.call, read.table, probe, selection);
}

}  // namespace

kel_record *search(Model model, const Call &call, kel_table *table, const void *key,
                   Search wanted) {
    if (!call.enter()) return nullptr;
    if (table == nullptr || key == nullptr) {
        call.report(ENOENT);
        return nullptr;
    }
    kel_record probe{};
    if (model.key_type != nullptr) {
        probe.key_object = const_cast<void *>(key);  // only read
    } else {
        const std::uint32_t size = model.type->plain_size;
        probe.object = __builtin_alloca_with_align(size, object_alignment);
        std::memset(probe.object, 0, size);
        initialize_probe(model, call, probe.object, key);
    }
    probe.src = static_cast<std::uint8_t>(wanted.source);
    probe.tenant_id = current_tenant();

    const Read read = {model, call, table};
    kel_index_node *node = e_avl_search(table->index_root, &probe.index_node, model.compare);
    kel_record *found = node != nullptr ? record_of(node) : nullptr;
    if (found == nullptr || (wanted.skip_pending && is_pending(found))) {
        found = wanted.nearest ? find_nearest(read, &probe, wanted) : nullptr;
        if (found == nullptr) return nullptr;
    }
    return read.found(found);
}

kel_record *search_sub_first(Model model, const Call &call, kel_table *table, const void *key) {
    kel_record *found = search(model, call, table, key, {.nearest = true});
    return found != nullptr && has_key_value(model, found, key) ? found : nullptr;
}

kel_record *search_by_object(Model model, const Call &call, kel_table *table, const void *object,
                             Search wanted) {
    return search(model, call, table, key_value_in(model, object), wanted);
}

}  // namespace tarnbase::table
