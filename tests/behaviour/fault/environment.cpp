// SPDX-License-Identifier: Apache-2.0
#include "tests/behaviour/fault/environment.h"

#include <numeric>
#include <stdexcept>

namespace tarn::test {

namespace {

kel_store *shared_store() {
    static const Session session;
    return session.store();
}

}  // namespace

Environment::Environment(const Target &chosen, Mode in, bool shared)
    : target(chosen),
      mode(in),
      own(shared ? nullptr : std::make_unique<Session>(in)),
      store(shared ? shared_store() : own->store()),
      handle(make_handle(store, in)) {}

Environment::~Environment() {
    kel_thread_set_tenant(0);
    kel_xml_free(document);
    kel_handle_destroy(handle);
}

void Environment::open() { table = s().plain.open(handle, tx, "t", 0, &err); }

void *Environment::make_object(u32 set) {
    void *made = k().create(handle, tx);
    k().fill(handle, tx, made, set, &err);
    return made;
}

kel_record *Environment::make(u32 number, u32 src) {
    kel_record *made = s().create_record_w_src(handle, tx, src, &err);
    void *data = make_object(0);
    if (s().has_key_object()) {
        void *holder = s().key_object.type->create(handle, tx);
        target.key_object->fill(handle, tx, holder, 0, &err);
        s().set_key(handle, tx, holder, number, &err);
        s().key_object.set(handle, tx, made, holder);
    } else {
        s().set_key(handle, tx, data, number, &err);
    }
    s().object.set(handle, tx, made, data);
    return made;
}

void Environment::insert() {
    record = make(1);
    s().plain.insert(handle, tx, table, record, &err);
}

void Environment::key(u32 number) {
    key_holder = s().plain.pkey_create(handle, tx);
    s().set_key(handle, tx, key_holder, number, &err);
    if (s().has_key_object()) {
        key_value.value = key_holder;
    } else {
        s().make_key(key_value, number);
    }
}

void Environment::parse(std::string text) {
    // Three elements of an array: the reader stops at the first that is missing.
    const std::string array = "<minute";
    std::size_t kept = text.find(array);
    for (int i = 0; i < 3 && kept != std::string::npos; ++i) kept = text.find(array, kept + 1);
    if (kept != std::string::npos) {
        const std::string close = "</minute>\n";
        text.erase(kept, text.rfind(close) + close.size() - kept);
    }
    document = kel_xml_parse(text.data(), text.size());
    if (document == nullptr) throw std::runtime_error(kel_error_text());
}

void Environment::returned_length(u32 got, u32 all) {
    result = got == 0 ? "0" : got == all ? "all" : got == 0xffffffffU ? "failure" : "part";
}

void Environment::observe_object(const char *name, const void *seen, Observations &observed) {
    const std::string prefix = std::string(name) + " ";
    if (seen == nullptr) {
        observed[name] = "none";
        return;
    }
    const auto *head = static_cast<const kel_object *>(seen);
    observed[name] = head->descriptor == nullptr ? "gone" : "there";
    if (head->descriptor == nullptr) return;
    observed[prefix + "flags"] = std::to_string(head->flags & 0x7f);
    observed[prefix + "variant"] = std::to_string(head->variant);
    Observations fields;
    k().observe(handle, seen, fields);
    for (auto &[field, value] : fields) observed[prefix + field] = value;
}

void Environment::observe_record(const char *name, kel_record *seen, Observations &observed) {
    const std::string prefix = std::string(name) + " ";
    if (seen == nullptr || seen->descriptor == nullptr) {
        observed[name] = seen == nullptr ? "none" : "gone";
        return;
    }
    observed[name] = seen->ref_count != 0 ? "there" : "half gone";
    if (seen->ref_count == 0) return;
    observed[prefix + "references"] = std::to_string(seen->ref_count);
    observed[prefix + "flags"] = std::to_string(seen->flags);
    observed[prefix + "source"] = std::to_string(seen->src);
    observed[prefix + "table"] = seen->table == nullptr ? "none" : "set";
    observe_object((prefix + "object").c_str(), seen->object, observed);
    if (!s().has_key_object()) return;
    observed[prefix + "key object"] = seen->key_object == nullptr ? "none" : "there";
    if (seen->key_object == nullptr) return;
    observed[prefix + "key"] = std::to_string(s().get_key(handle, seen->key_object));
}

Observations Environment::observe() {
    Observations observed;
    const u32 last_error = handle->last_error;
    if (target.subject != nullptr) {
        kel_store_description description;
        kel_store_describe(store, &description);
        observed["tables"] = std::to_string(description.tables);
        u32 nothing = 0;
        kel_table *named = s().plain.open(handle, tx, "new", 1, &nothing);
        observed["new table"] = named == nullptr ? "none" : "found";
    }
    if (table != nullptr) {
        u32 walked = 0;
        u32 nothing = 0;
        s().index.walk(
            table, [](kel_record *, void *count) { return ++*static_cast<u32 *>(count), 0U; },
            &walked, &nothing);
        observed["records in the index"] = std::to_string(walked);
        observed["count of records"] = std::to_string(table->record_count);
        observed["source counts"] =
            std::to_string(std::accumulate(table->src_counts, table->src_counts + 256, 0U));
        kel_thread_set_tenant(5);
        observed["tenant count"] = std::to_string(s().plain.get_count(handle, tx, table));
        kel_thread_set_tenant(0);
    }
    if (target.subject != nullptr) {
        observe_record("record", record, observed);
        observe_record("loose", loose, observed);
        observe_record("made record", made_record, observed);
    }
    observe_object("object", object, observed);
    observe_object("made object", made_object, observed);
    handle->last_error = last_error;
    return observed;
}

void Environment::destroy(kel_record *&gone) {
    u32 nothing = 0;
    // A record whose destruction failed in between has no references, and is left alone.
    while (gone != nullptr && gone->descriptor != nullptr && gone->ref_count != 0) {
        s().plain.destroy_record(handle, KEL_TX_NONE, gone, &nothing);
    }
    gone = nullptr;
}

void Environment::destroy(const Kind *kind, void *&gone) {
    if (gone != nullptr && static_cast<kel_object *>(gone)->descriptor != nullptr) {
        kind->destroy(handle, KEL_TX_NONE, gone);
    }
    gone = nullptr;
}

void Environment::clean() {
    kel_thread_set_tenant(0);
    u32 nothing = 0;
    if (table != nullptr) kel_table_set_replication(handle, KEL_TX_NONE, table, 0, 0);
    if (target.subject != nullptr) {
        destroy(made_record);
        destroy(record);
        destroy(loose);
    }
    destroy(target.object, made_object);
    destroy(target.object, object);
    destroy(target.object, source);
    const bool separate = target.key_object != nullptr;
    destroy(separate ? target.key_object : target.object, key_holder);
    for (kel_table **each : {&made_table, &table}) {
        nothing = 0;
        if (*each != nullptr) s().plain.free(handle, KEL_TX_NONE, *each, &nothing);
        *each = nullptr;
    }
    kel_xml_free(document);
    document = nullptr;
    kel_clear_last_error(handle);
    err = 0;
    result.clear();
}

}  // namespace tarn::test
