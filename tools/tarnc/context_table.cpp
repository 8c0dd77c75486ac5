// SPDX-License-Identifier: Apache-2.0
#include "context.h"
#include "context_parts.h"

namespace tarnc {
namespace {

Context slot(const std::string &type, const std::string &name) {
    Context context;
    context.set("slot_type", type);
    context.set("slot", name);
    return context;
}

Context reader(const std::string &name, bool by_key) {
    Context context;
    context.set("reader", name);
    context.set("by_key", flag(by_key));
    context.set("twin", by_key ? "" : "@unsafe");
    return context;
}

std::string handler_name(const Schema &schema, const Table &table, const std::string &event) {
    return schema.module + "_" + table.name + "_table_record_" + event + "_handler";
}

struct Event {
    const char *name;        // in the names of the callback and the handler
    const char *text;        // in messages
    const char *worker;      // the callback's
    const char *arguments;   // after tx_id
    const char *values;      // after the call
    const char *main_event;  // whose handler the default calls; null if it calls none
};

constexpr Event events[] = {
    {"create", "create", "record", "void *table, void *record, uint32_t *err", "table, record",
     nullptr},
    {"modify", "modify", "record", "void *table, void *record, uint32_t *err", "table, record",
     nullptr},
    {"delete", "delete", "record", "void *table, void *record, uint32_t *err", "table, record",
     nullptr},
    {"create_dm", "create DM", "dm", "void *record, uint32_t *err", "record", "create"},
    {"delete_dm", "delete DM", "dm", "void *record, uint32_t *err", "record", "delete"},
    {"grouping", "grouping", "grouping", "void *item, uint32_t *err, void *arg1, void *arg2",
     "item, arg1, arg2", nullptr},
    {"free", "free", "free", "void *item, uint32_t *err, void *arg1", "item, arg1", nullptr},
};

Context context_of(const Schema &schema, const Table &table, const Event &event) {
    const std::string model = "tarnbase::model::" + table.name;
    const std::string quoted = "\"" + std::string(event.text) + "\"";
    const std::string values = "{handle, tx_id, err}, " + std::string(event.values);
    Context context;
    context.set("event", event.name);
    context.set("happening",
                "the runtime delivers a " + std::string(event.text) + " event of the table");
    context.set("handler", handler_name(schema, table, event.name));
    context.set("worker", event.worker);
    context.set("arguments", "kel_handle *handle, uint32_t tx_id, " + std::string(event.arguments));
    context.set("values", values);
    if (event.main_event == nullptr) {
        context.set("default_text", "sets `*err` to 0");
        context.set("default",
                    "tarnbase::table::default_handler(" + model + ", " + quoted + ", err)");
    } else {
        const std::string main = handler_name(schema, table, event.main_event);
        context.set("default_text", "calls " + main + " with a null table");
        context.set("default", "tarnbase::table::default_dm_handler(" + model + ", " + quoted +
                                   ", " + values + ", " + main + ")");
    }
    return context;
}

void set_key(Context &context, const Table &table) {
    const bool composite = table.key_type != nullptr;
    context.set("composite", flag(composite));
    context.set("object_type", table.key_carrier().name);
    if (composite) {
        context.set("ktype", table.key_type->name);
        context.set("key_argument", "const " + table.key_type->name);
        context.set("key_argument_text", "a " + table.key_type->name + " object");
        context.set("key_text", "its tenant, key object and source");
        context.set("model_key_type", "&" + table.key_type->name);
        context.set("model_key", "&" + table.name + "_key_field");
        return;
    }
    const Field &field = *table.key_field;
    context.set("key_field", field.name);
    context.set("key_text", "its tenant, `" + field.name + "` and source");
    context.set("model_key_type", "nullptr");
    context.set("model_key", "&" + table.type->name + "_fields[" + text(field.number) + "]");
    if (!field.has_plain_value()) {
        context.set("key_argument", "const " + field.type);
        context.set("key_argument_text", "a " + field.type);
    } else {
        const bool is_enumeration = field.kind == FieldKind::enumeration;
        context.set("key_argument", "const uint32_t");
        context.set("key_argument_text", is_enumeration ? "a value of " + field.type : "a number");
    }
}

// A table without a meaning of its own has its structure's.
std::string meaning_of(const Table &table) {
    return table.meaning.empty() ? table.type->meaning : table.meaning;
}

// What the table's header begins with.
std::string introduction(const Table &table) {
    const std::string type = table.type->name;
    if (table.key_type != nullptr) {
        const std::string key = table.key_type->name;
        return comment({table.name + ": " + meaning_of(table) + ".",
                        "A record holds a " + type + " and, as its key, a " + key + ": " +
                            table.key_type->meaning +
                            ". The order is by tenant, key object and source."});
    }
    return comment({table.name + ": " + meaning_of(table) + ".",
                    "A record holds a " + type + ". Its key is `" + table.key_field->name + "`: " +
                        table.key_field->meaning + ". The order is by tenant, key and source."});
}

}  // namespace

Context context_of(const Schema &schema, const Table &table) {
    Context context;
    context.set("item", table.name);
    context.set("table", table.name);
    context.set("module", schema.module);
    context.set("origin", origin(schema, table.place));
    context.set("model", "tarnbase::model::" + table.name);
    context.set("type", table.type->name);
    context.set("key", table.key());
    context.set("key_label", table.key_label());
    context.set("luid", table.identity.luid);
    context.set("digest", table.identity.digest);
    context.set("record_digest", table.record_identity.digest);
    context.set("luid_bytes", bytes_of(table.identity.luid));
    set_key(context, table);
    context.set("introduction", introduction(table));
    context.set("quoted_meaning", quoted(meaning_of(table)));
    context.set("table_type_info", descriptor(schema, table.name + "_table", table.name, "table",
                                              table.identity, one_variant(1, 8), 1));
    context.set("record_type_info",
                descriptor(schema, table.name + "_table_record", table.name + "_record",
                           "table_record", table.record_identity, one_variant(1, 8), 1));
    Context slots = empty_list();
    slots.push_back(slot(table.type->name, "object"));
    if (table.key_type != nullptr) slots.push_back(slot(table.key_type->name, "key_object"));
    context.set("slots", slots);
    Context readers = empty_list();
    readers.push_back(reader(table.name + "_" + table.key(), true));
    readers.push_back(reader(table.name + "_pkey", false));
    context.set("readers", readers);
    Context all_events = empty_list();
    for (const Event &event : events) all_events.push_back(context_of(schema, table, event));
    context.set("events", all_events);
    context.set("vector", render("vector.cpp", context));
    return context;
}

}  // namespace tarnc
