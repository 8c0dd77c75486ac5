// SPDX-License-Identifier: Apache-2.0
// Tables, records, insert and delete, and the objects of a record.
#include "tarnbase/module.h"
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

void with_table(Environment &env) { env.open(); }
void with_loose(Environment &env) {
    env.open();
    env.loose = env.make(2);
}
void with_inserted(Environment &env) {
    env.open();
    env.insert();
    env.loose = env.make(2);
}
void with_bare_record(Environment &env) {
    env.loose = env.s().plain.create_record(env.handle, env.tx, &env.err);
    env.object = env.make_object(0);
}
void with_tenant_record(Environment &env) {
    env.open();
    kel_thread_set_tenant(5);
    env.insert();
    kel_thread_set_tenant(0);
}
void with_armed_table(Environment &env) {
    with_loose(env);
    env.err = kel_replication_configure(env.handle, 16, 1 << 16);  // a small ring
    if (env.err == 0) env.err = kel_replication_attach(env.handle, &tarnbase_table_get_vft);
    kel_table_set_replication(env.handle, env.tx, env.table, 1, 1);
}
void with_marked_table(Environment &env) {
    with_inserted(env);
    kel_table_set_replication(env.handle, env.tx, env.table, 1, 0);
}
void with_mapped_record(Environment &env) {
    env.open();
    env.insert();
    env.record->flags |= KEL_RECORD_HD_MAPPED;
}
void with_mapped_object(Environment &env) {
    env.open();
    env.insert();
    u64 oid = 0;
    env.err = kel_object_map(env.handle, env.tx, env.record->object, &oid);
}
void with_table_by_id(Environment &env) {
    env.table = env.s().plain.open_by_id(env.handle, env.tx, 77, 0, &env.err);
}

constexpr Traits permanent{.permanent = true};
constexpr Traits infallible{.infallible = true};

const std::vector<Operation> opening = {
    {"table_open", On::tables, nothing,
     [](Environment &env) {
         env.returned(env.made_table = env.s().plain.open(env.handle, env.tx, "new", 0, &env.err));
     },
     permanent},
    {"table_open of a table that is there", On::tables, with_table,
     [](Environment &env) {
         env.returned(env.s().plain.open(env.handle, env.tx, "t", 0, &env.err));
     },
     permanent},
    {"table_open with open_only", On::tables, nothing,
     [](Environment &env) {
         env.returned(env.s().plain.open(env.handle, env.tx, "absent", 1, &env.err));
     },
     permanent},
    {"table_open_by_id", On::id_tables, with_table,
     [](Environment &env) {
         env.returned(env.made_table =
                          env.s().plain.open_by_id(env.handle, env.tx, 78, 0, &env.err));
     },
     permanent},
    {"table_open_auto_id", On::id_tables, with_table,
     [](Environment &env) {
         env.returned(env.made_table = env.s().plain.open_auto_id(env.handle, env.tx, 0, &env.err));
     },
     permanent},
    {"dynamic_table_open_auto_id", On::id_tables, with_table,
     [](Environment &env) {
         env.returned(env.made_table =
                          env.s().plain.dynamic_open_auto_id(env.handle, env.tx, 0, &env.err));
     },
     permanent},
    {"table_open_by_ior_with_name", On::tables, nothing,
     [](Environment &env) {
         env.returned(env.made_table = env.s().plain.open_by_ior_with_name(env.handle, env.tx,
                                                                           "new", 9, 0, &env.err));
     },
     permanent},
    {"table_open_by_ior_with_id", On::id_tables, with_table,
     [](Environment &env) {
         env.returned(env.made_table = env.s().plain.open_by_ior_with_id(env.handle, env.tx, 78, 9,
                                                                         0, &env.err));
     },
     permanent},
    {"table_open_cr", On::tables, nothing,
     [](Environment &env) {
         env.returned(env.made_table = env.s().cr.open(env.handle, 0, 0, "new", 0));
         from_cr(env);
     },
     permanent},
    {"table_close", On::tables, with_table,
     [](Environment &env) { env.s().plain.close(env.handle, env.tx, env.table, &env.err); },
     infallible},
    {"table_get_count of a tenant", On::tables, with_tenant_record,
     [](Environment &env) {
         kel_thread_set_tenant(5);
         env.result = std::to_string(env.s().plain.get_count(env.handle, env.tx, env.table));
     },
     infallible},
};

// A freed block is cleared, so that it is not freed twice.
void free_table(Environment &env) {
    env.s().plain.free(env.handle, env.tx, env.table, &env.err);
    if (env.err == 0) env.table = nullptr;
}

const std::vector<Operation> freeing = {
    {"table_free", On::tables, with_table, free_table, permanent},
    {"table_free of a table opened by id", On::id_tables, with_table_by_id, free_table, permanent},
};

const std::vector<Operation> records = {
    {"create_record", On::tables, nothing,
     [](Environment &env) {
         env.returned(env.made_record = env.s().plain.create_record(env.handle, env.tx, &env.err));
     }},
    {"create_record_w_src", On::tables, nothing,
     [](Environment &env) {
         env.returned(env.made_record =
                          env.s().create_record_w_src(env.handle, env.tx, 7, &env.err));
     }},
    {"record_add_ref",
     On::tables,
     with_loose,
     [](Environment &env) {
         env.result =
             std::to_string(env.s().plain.add_ref(env.handle, env.tx, env.loose, &env.err));
     },
     {.unlogged = true, .infallible = true}},
    {"destroy_record", On::tables, with_loose,
     [](Environment &env) {
         env.s().plain.destroy_record(env.handle, env.tx, env.loose, &env.err);
     }},
    {"destroy_record of an inserted record", On::tables, with_inserted,
     [](Environment &env) {
         env.s().plain.destroy_record(env.handle, env.tx, env.record, &env.err);
     }},
    {"destroy_record of a tenant's record", On::tables, with_tenant_record,
     [](Environment &env) {
         kel_thread_set_tenant(5);
         env.s().plain.destroy_record(env.handle, env.tx, env.record, &env.err);
     }},
    {"destroy_record of a mapped record", On::tables, with_mapped_record,
     [](Environment &env) {
         env.s().plain.destroy_record(env.handle, env.tx, env.record, &env.err);
     }},
    {"destroy_record with a mapped object", On::tables, with_mapped_object,
     [](Environment &env) {
         env.s().plain.destroy_record(env.handle, env.tx, env.record, &env.err);
     }},
    {"record_destroy_cr", On::tables, with_inserted,
     [](Environment &env) {
         env.s().cr.destroy(env.handle, env.record);
         from_cr(env);
     }},
    {"request_record_destroy", On::tables, with_marked_table,
     [](Environment &env) {
         env.s().plain.request_destroy(env.handle, env.tx, env.table, env.record, &env.err);
     }},
    {"pkey_create", On::tables, nothing,
     [](Environment &env) {
         env.returned(env.key_holder = env.s().plain.pkey_create(env.handle, env.tx));
     }},
    {"pkey_destroy", On::tables, [](Environment &env) { env.key(2); },
     [](Environment &env) {
         env.s().plain.pkey_destroy(env.handle, env.tx, env.key_holder);
         const auto *head = static_cast<const kel_object *>(env.key_holder);
         env.result = head->descriptor == nullptr ? "gone" : "there";
     }},
};

const std::vector<Operation> indexing = {
    {"insert", On::tables, with_loose,
     [](Environment &env) {
         env.s().plain.insert(env.handle, env.tx, env.table, env.loose, &env.err);
     }},
    {"insert under a tenant", On::tables, with_loose,
     [](Environment &env) {
         kel_thread_set_tenant(5);
         env.s().plain.insert(env.handle, env.tx, env.table, env.loose, &env.err);
     }},
    {"insert in an armed table", On::tables, with_armed_table,
     [](Environment &env) {
         env.s().plain.insert(env.handle, env.tx, env.table, env.loose, &env.err);
     }},
    {"pkey_insert", On::tables, with_loose,
     [](Environment &env) {
         env.s().plain.pkey_insert(env.handle, env.tx, env.table, env.loose, &env.err);
     }},
    {"insert_cr", On::tables, with_loose,
     [](Environment &env) {
         env.result = std::to_string(env.s().cr.insert(env.handle, env.table, env.loose));
         from_cr(env);
     }},
    {"delete", On::tables, with_inserted,
     [](Environment &env) {
         env.s().plain.remove(env.handle, env.tx, env.table, env.record, &env.err);
     }},
    {"delete under a tenant", On::tables, with_tenant_record,
     [](Environment &env) {
         kel_thread_set_tenant(5);
         env.s().plain.remove(env.handle, env.tx, env.table, env.record, &env.err);
     }},
    {"delete_cr", On::tables, with_inserted,
     [](Environment &env) {
         env.result = std::to_string(env.s().cr.remove(env.handle, env.table, env.record, 0));
         from_cr(env);
     }},
    {"delete_cr with destroy", On::tables, with_inserted,
     [](Environment &env) {
         env.result = std::to_string(env.s().cr.remove(env.handle, env.table, env.record, 1));
         from_cr(env);
     }},
};

// What is not in the record afterwards still belongs to the preparation.
void set_object(Environment &env, void (*set)(kel_handle *, u32, kel_record *, void *)) {
    set(env.handle, env.tx, env.loose, env.object);
    if (env.loose->object == env.object) env.object = nullptr;
}

const std::vector<Operation> fields = {
    {"set_field", On::tables, with_bare_record,
     [](Environment &env) { set_object(env, env.s().object.set); }},
    {"free_and_set_field", On::tables,
     [](Environment &env) {
         with_bare_record(env);
         env.s().object.set(env.handle, env.tx, env.loose, env.make_object(1));
     },
     [](Environment &env) { set_object(env, env.s().object.free_and_set); }},
    {"get_field", On::tables, with_loose,
     [](Environment &env) { env.returned(env.s().object.get(env.handle, env.tx, env.loose)); },
     infallible},
    {"get_field_detach", On::tables, with_loose,
     [](Environment &env) {
         env.returned(env.made_object = env.s().object.detach(env.handle, env.tx, env.loose));
     },
     infallible},
    {"set_field of a key object", On::keyed_tables,
     [](Environment &env) {
         env.loose = env.s().plain.create_record(env.handle, env.tx, &env.err);
         env.key(3);
     },
     [](Environment &env) {
         env.s().key_object.set(env.handle, env.tx, env.loose, env.key_holder);
         env.result = env.loose->key_object == env.key_holder ? "set" : "refused";
         if (env.result == "set") env.key_holder = nullptr;
     }},
    {"free_and_set_field of a key object", On::keyed_tables,
     [](Environment &env) {
         env.open();
         env.loose = env.make(2);
         env.key(3);
     },
     [](Environment &env) {
         env.s().key_object.free_and_set(env.handle, env.tx, env.loose, env.key_holder);
         env.result = env.loose->key_object == env.key_holder ? "set" : "refused";
         if (env.result == "set") env.key_holder = nullptr;
     }},
};

}  // namespace

std::vector<Operation> table_operations() {
    return joined({&opening, &freeing, &records, &indexing, &fields});
}

}  // namespace tarn::test
