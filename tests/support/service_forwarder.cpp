// SPDX-License-Identifier: Apache-2.0
#include "tests/support/service_forwarder.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstdlib>
#include <set>

namespace tarn::test {

namespace {

// Addresses of one loaded file.
struct Range {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;

    bool holds(const void *address) const {
        const auto place = reinterpret_cast<std::uintptr_t>(address);
        return place >= begin && place < end;
    }
};

struct Wanted {
    std::uintptr_t inside;
    Range found;
};

int note_range(dl_phdr_info *file, std::size_t, void *context) {
    auto *wanted = static_cast<Wanted *>(context);
    Range range{~std::uintptr_t{0}, 0};
    for (int i = 0; i < file->dlpi_phnum; ++i) {
        const ElfW(Phdr) &segment = file->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD) continue;
        range.begin = std::min<std::uintptr_t>(range.begin, file->dlpi_addr + segment.p_vaddr);
        range.end = std::max<std::uintptr_t>(range.end,
                                             file->dlpi_addr + segment.p_vaddr + segment.p_memsz);
    }
    if (!range.holds(reinterpret_cast<const void *>(wanted->inside))) return 0;
    wanted->found = range;
    return 1;
}

Range file_of(const void *address) {
    Wanted wanted{reinterpret_cast<std::uintptr_t>(address), {}};
    dl_iterate_phdr(&note_range, &wanted);
    return wanted.found;
}

}  // namespace

void *ServiceForwarder::next(const char *name) {
    void *found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) std::abort();
    return found;
}

// A call that a service makes as its last step comes from the function of that service.
bool ServiceForwarder::is_of_the_runtime(const void *caller) {
    static const Range runtime = file_of(next("kel_store_err"));
    static const Range program =
        file_of(reinterpret_cast<const void *>(&ServiceForwarder::is_of_the_runtime));
    return runtime.holds(caller) || (depth > 0 && program.holds(caller));
}

bool ServiceForwarder::stores(std::string_view service) {
    static const std::set<std::string_view> storing{
        "e_avl_delete",
        "e_avl_insert",
        "kel_oid_mapping_create",
        "kel_request_oid_mapping_destroy",
        "kel_type_info_ptr_get",
        "kel_update_variant_info",
        "keldb_enq_rec_move_write_cursor_internal",
        "keldb_update_tenant_counter",
        "kellib_lookup_and_update_oid_ref_count",
        "kellib_record_update_ra_all",
        "loam_delete_key",
        "loam_set_key",
        "tbi_rb_tree_LM_RB_INSERT",
        "tbi_rb_tree_LM_RB_REMOVE",
    };
    return storing.contains(service);
}

void ServiceForwarder::note_bytes(const void *address, std::uint64_t length) {
    if (!listening()) return;
    const auto *bytes = static_cast<const std::uint8_t *>(address);
    current->calls_.back().before.assign(bytes, bytes + length);
}

void *ServiceForwarder::type_alloc(void *arena, std::uint32_t tx_id, std::uint64_t size) {
    return hook("type_alloc_hook", &kel_handle::type_alloc_hook, arena, tx_id, size);
}

void *ServiceForwarder::alloc(void *arena, std::uint32_t tx_id, std::uint64_t size) {
    return hook("alloc_hook", &kel_handle::alloc_hook, arena, tx_id, size);
}

void ServiceForwarder::free(void *arena, std::uint32_t tx_id, void *block) {
    hook("free_hook", &kel_handle::free_hook, arena, tx_id, block);
}

void ServiceForwarder::write_log(void *arena, void *address, std::uint64_t length,
                                 std::uint32_t tx_id) {
    if (ServiceAtWork::any()) {
        current->original_.write_log_hook(arena, address, length, tx_id);
        return;
    }
    hook("write_log_hook", &kel_handle::write_log_hook, arena, address, length, tx_id);
    note_bytes(address, length);  // logging changes nothing
}

void ServiceForwarder::delta_log(void *arena, std::uint64_t *address, std::int32_t delta,
                                 std::uint32_t tx_id) {
    hook("delta_log_hook", &kel_handle::delta_log_hook, arena, address, delta, tx_id);
    note_bytes(address, sizeof *address);
}

void ServiceForwarder::type_map_insert(void *map, std::uint32_t tx_id, const char *luid_text,
                                       kel_type_info_copy *copy) {
    const ServiceAtWork mark;
    hook("type_map_insert_hook", &kel_handle::type_map_insert_hook, map, tx_id, luid_text, copy);
}

kel_type_info_copy *ServiceForwarder::type_map_lookup(void *map, std::uint32_t tx_id,
                                                      const char *luid_text) {
    return hook("type_map_lookup_hook", &kel_handle::type_map_lookup_hook, map, tx_id, luid_text);
}

}  // namespace tarn::test
