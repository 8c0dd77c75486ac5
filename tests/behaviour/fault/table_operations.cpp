// SPDX-License-Identifier: Apache-2.0
// Tables, records, insert and delete, and the objects of a record.
#include "tarnbase/module.h"
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

void nothing(World &) {}
void with_table(World &w) { w.open(); }
void with_loose(World &w) {
    w.open();
    w.loose = w.make(2);
}
void with_inserted(World &w) {
    w.open();
    w.insert();
    w.loose = w.make(2);
}
void with_bare_record(World &w) {
    w.loose = w.s().plain.create_record(w.handle, w.tx, &w.err);
    w.object = w.make_object(0);
}
void with_tenant_record(World &w) {
    w.open();
    kel_thread_set_tenant(5);
    w.insert();
    kel_thread_set_tenant(0);
}
void with_armed_table(World &w) {
    with_loose(w);
    w.err = kel_replication_configure(w.handle, 16, 1 << 16);  // a small ring
    if (w.err == 0) w.err = kel_replication_attach(w.handle, &tarnbase_table_get_vft);
    kel_table_set_replication(w.handle, w.tx, w.table, 1, 1);
}
void with_marked_table(World &w) {
    with_inserted(w);
    kel_table_set_replication(w.handle, w.tx, w.table, 1, 0);
}
void with_mapped_record(World &w) {
    w.open();
    w.insert();
    w.record->flags |= KEL_RECORD_HD_MAPPED;
}
void with_mapped_object(World &w) {
    w.open();
    w.insert();
    u64 oid = 0;
    w.err = kel_object_map(w.handle, w.tx, w.record->object, &oid);
}
void with_table_by_id(World &w) { w.table = w.s().plain.open_by_id(w.handle, w.tx, 77, 0, &w.err); }

void from_cr(World &w) { w.err = w.handle->last_error; }

constexpr Traits permanent{.permanent = true};
constexpr Traits infallible{.infallible = true};

const std::vector<Operation> opening = {
    {"table_open", On::tables, nothing,
     [](World &w) {
         w.returned(w.made_table = w.s().plain.open(w.handle, w.tx, "new", 0, &w.err));
     },
     permanent},
    {"table_open of a table that is there", On::tables, with_table,
     [](World &w) { w.returned(w.s().plain.open(w.handle, w.tx, "t", 0, &w.err)); }, permanent},
    {"table_open with open_only", On::tables, nothing,
     [](World &w) { w.returned(w.s().plain.open(w.handle, w.tx, "absent", 1, &w.err)); },
     permanent},
    {"table_open_by_id", On::id_tables, with_table,
     [](World &w) {
         w.returned(w.made_table = w.s().plain.open_by_id(w.handle, w.tx, 78, 0, &w.err));
     },
     permanent},
    {"table_open_auto_id", On::id_tables, with_table,
     [](World &w) {
         w.returned(w.made_table = w.s().plain.open_auto_id(w.handle, w.tx, 0, &w.err));
     },
     permanent},
    {"dynamic_table_open_auto_id", On::id_tables, with_table,
     [](World &w) {
         w.returned(w.made_table = w.s().plain.dynamic_open_auto_id(w.handle, w.tx, 0, &w.err));
     },
     permanent},
    {"table_open_by_ior_with_name", On::tables, nothing,
     [](World &w) {
         w.returned(w.made_table =
                        w.s().plain.open_by_ior_with_name(w.handle, w.tx, "new", 9, 0, &w.err));
     },
     permanent},
    {"table_open_by_ior_with_id", On::id_tables, with_table,
     [](World &w) {
         w.returned(w.made_table =
                        w.s().plain.open_by_ior_with_id(w.handle, w.tx, 78, 9, 0, &w.err));
     },
     permanent},
    {"table_open_cr", On::tables, nothing,
     [](World &w) {
         w.returned(w.made_table = w.s().cr.open(w.handle, 0, 0, "new", 0));
         from_cr(w);
     },
     permanent},
    {"table_close", On::tables, with_table,
     [](World &w) { w.s().plain.close(w.handle, w.tx, w.table, &w.err); }, infallible},
    {"table_get_count of a tenant", On::tables, with_tenant_record,
     [](World &w) {
         kel_thread_set_tenant(5);
         w.result = std::to_string(w.s().plain.get_count(w.handle, w.tx, w.table));
     },
     infallible},
};

// A freed block is cleared, so that it is not freed twice.
void free_table(World &w) {
    w.s().plain.free(w.handle, w.tx, w.table, &w.err);
    if (w.err == 0) w.table = nullptr;
}

const std::vector<Operation> freeing = {
    {"table_free", On::tables, with_table, free_table, permanent},
    {"table_free of a table opened by id", On::id_tables, with_table_by_id, free_table, permanent},
};

const std::vector<Operation> records = {
    {"create_record", On::tables, nothing,
     [](World &w) {
         w.returned(w.made_record = w.s().plain.create_record(w.handle, w.tx, &w.err));
     }},
    {"create_record_w_src", On::tables, nothing,
     [](World &w) {
         w.returned(w.made_record = w.s().create_record_w_src(w.handle, w.tx, 7, &w.err));
     }},
    {"record_add_ref",
     On::tables,
     with_loose,
     [](World &w) {
         w.result = std::to_string(w.s().plain.add_ref(w.handle, w.tx, w.loose, &w.err));
     },
     {.unlogged = true, .infallible = true}},
    {"destroy_record", On::tables, with_loose,
     [](World &w) { w.s().plain.destroy_record(w.handle, w.tx, w.loose, &w.err); }},
    {"destroy_record of an inserted record", On::tables, with_inserted,
     [](World &w) { w.s().plain.destroy_record(w.handle, w.tx, w.record, &w.err); }},
    {"destroy_record of a tenant's record", On::tables, with_tenant_record,
     [](World &w) {
         kel_thread_set_tenant(5);
         w.s().plain.destroy_record(w.handle, w.tx, w.record, &w.err);
     }},
    {"destroy_record of a mapped record", On::tables, with_mapped_record,
     [](World &w) { w.s().plain.destroy_record(w.handle, w.tx, w.record, &w.err); }},
    {"destroy_record with a mapped object", On::tables, with_mapped_object,
     [](World &w) { w.s().plain.destroy_record(w.handle, w.tx, w.record, &w.err); }},
    {"record_destroy_cr", On::tables, with_inserted,
     [](World &w) {
         w.s().cr.destroy(w.handle, w.record);
         from_cr(w);
     }},
    {"request_record_destroy", On::tables, with_marked_table,
     [](World &w) { w.s().plain.request_destroy(w.handle, w.tx, w.table, w.record, &w.err); }},
    {"pkey_create", On::tables, nothing,
     [](World &w) { w.returned(w.key_holder = w.s().plain.pkey_create(w.handle, w.tx)); }},
    {"pkey_destroy", On::tables, [](World &w) { w.key(2); },
     [](World &w) {
         w.s().plain.pkey_destroy(w.handle, w.tx, w.key_holder);
         const auto *head = static_cast<const kel_object *>(w.key_holder);
         w.result = head->descriptor == nullptr ? "gone" : "there";
     }},
};

const std::vector<Operation> indexing = {
    {"insert", On::tables, with_loose,
     [](World &w) { w.s().plain.insert(w.handle, w.tx, w.table, w.loose, &w.err); }},
    {"insert under a tenant", On::tables, with_loose,
     [](World &w) {
         kel_thread_set_tenant(5);
         w.s().plain.insert(w.handle, w.tx, w.table, w.loose, &w.err);
     }},
    {"insert in an armed table", On::tables, with_armed_table,
     [](World &w) { w.s().plain.insert(w.handle, w.tx, w.table, w.loose, &w.err); }},
    {"pkey_insert", On::tables, with_loose,
     [](World &w) { w.s().plain.pkey_insert(w.handle, w.tx, w.table, w.loose, &w.err); }},
    {"insert_cr", On::tables, with_loose,
     [](World &w) {
         w.result = std::to_string(w.s().cr.insert(w.handle, w.table, w.loose));
         from_cr(w);
     }},
    {"delete", On::tables, with_inserted,
     [](World &w) { w.s().plain.remove(w.handle, w.tx, w.table, w.record, &w.err); }},
    {"delete under a tenant", On::tables, with_tenant_record,
     [](World &w) {
         kel_thread_set_tenant(5);
         w.s().plain.remove(w.handle, w.tx, w.table, w.record, &w.err);
     }},
    {"delete_cr", On::tables, with_inserted,
     [](World &w) {
         w.result = std::to_string(w.s().cr.remove(w.handle, w.table, w.record, 0));
         from_cr(w);
     }},
    {"delete_cr with destroy", On::tables, with_inserted,
     [](World &w) {
         w.result = std::to_string(w.s().cr.remove(w.handle, w.table, w.record, 1));
         from_cr(w);
     }},
};

// What is not in the record afterwards still belongs to the preparation.
void set_object(World &w, void (*set)(kel_handle *, u32, kel_record *, void *)) {
    set(w.handle, w.tx, w.loose, w.object);
    if (w.loose->object == w.object) w.object = nullptr;
}

const std::vector<Operation> fields = {
    {"set_field", On::tables, with_bare_record, [](World &w) { set_object(w, w.s().object.set); }},
    {"free_and_set_field", On::tables,
     [](World &w) {
         with_bare_record(w);
         w.s().object.set(w.handle, w.tx, w.loose, w.make_object(1));
     },
     [](World &w) { set_object(w, w.s().object.free_and_set); }},
    {"get_field", On::tables, with_loose,
     [](World &w) { w.returned(w.s().object.get(w.handle, w.tx, w.loose)); }, infallible},
    {"get_field_detach", On::tables, with_loose,
     [](World &w) { w.returned(w.made_object = w.s().object.detach(w.handle, w.tx, w.loose)); },
     infallible},
    {"set_field of a key object", On::keyed_tables,
     [](World &w) {
         w.loose = w.s().plain.create_record(w.handle, w.tx, &w.err);
         w.key(3);
     },
     [](World &w) {
         w.s().key_object.set(w.handle, w.tx, w.loose, w.key_holder);
         w.result = w.loose->key_object == w.key_holder ? "set" : "refused";
         if (w.result == "set") w.key_holder = nullptr;
     }},
    {"free_and_set_field of a key object", On::keyed_tables,
     [](World &w) {
         w.open();
         w.loose = w.make(2);
         w.key(3);
     },
     [](World &w) {
         w.s().key_object.free_and_set(w.handle, w.tx, w.loose, w.key_holder);
         w.result = w.loose->key_object == w.key_holder ? "set" : "refused";
         if (w.result == "set") w.key_holder = nullptr;
     }},
};

}  // namespace

std::vector<Operation> table_operations() {
    std::vector<Operation> all;
    for (const auto *part : {&opening, &freeing, &records, &indexing, &fields}) {
        all.insert(all.end(), part->begin(), part->end());
    }
    return all;
}

}  // namespace tarn::test
