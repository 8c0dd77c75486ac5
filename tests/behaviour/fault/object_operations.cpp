// SPDX-License-Identifier: Apache-2.0
// Whole objects: structures, and an enumeration where it has the same operations.
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

void with_mapped(Environment &env) {
    with_object(env);
    u64 oid = 0;
    env.err = kel_object_map(env.handle, env.tx, env.object, &oid);
}
// Bits of `flags` for an entry in the hd mapping.
void with_hd_mapping(Environment &env) {
    with_object(env);
    kellib_update_ra_all(env.handle, env.tx, env.object, 71, 1);
}
void with_correlated_pair(Environment &env) {
    with_two_objects(env);
    kellib_update_ra_all(env.handle, env.tx, env.source, 71, 1);
}
void with_correlated_destination(Environment &env) {
    with_two_objects(env);
    kellib_update_ra_all(env.handle, env.tx, env.object, 71, 1);
}
void with_wire_form(Environment &env) {
    with_correlated_pair(env);
    env.length =
        env.k().marshal(env.handle, env.tx, env.buffer.data(), env.source, form_space, &env.err);
}
void with_plain_wire_form(Environment &env) {
    with_two_objects(env);
    env.length =
        env.k().marshal(env.handle, env.tx, env.buffer.data(), env.source, form_space, &env.err);
}
u32 to_xml_form(Environment &env, const void *object) {
    return env.k().to_xml(env.handle, env.tx, env.k().name, env.buffer.data(), object, form_space,
                          0, &env.err);
}
void with_document(Environment &env) {
    with_two_objects(env);
    env.length = to_xml_form(env, env.source);
    env.parse(std::string(env.buffer.data(), env.length));
}

void note_destruction(Environment &env) {
    env.result = static_cast<kel_object *>(env.object)->descriptor == nullptr ? "gone" : "there";
}

void create(Environment &env) {
    env.returned(env.made_object = env.k().create(env.handle, env.tx));
}
// The fallback object replaces one that cannot be allocated, and is never destroyed.
void create_cr(Environment &env) {
    env.made_object = env.k().create_cr(env.handle);
    const auto *head = static_cast<const kel_object *>(env.made_object);
    env.result = head == nullptr ? "null" : head->descriptor == nullptr ? "fallback" : "made";
    if (env.result == "fallback") env.made_object = nullptr;
    from_cr(env);
}
void destroy(Environment &env) {
    env.k().destroy(env.handle, env.tx, env.object);
    note_destruction(env);
}
void destroy_cr(Environment &env) {
    env.k().destroy_cr(env.handle, env.object);
    note_destruction(env);
    from_cr(env);
}
void embed(Environment &env) { env.k().set_instance_embedded(env.handle, env.tx, env.object); }
// The mark is not logged, so no rollback restores it.
void backpropagate(Environment &env) {
    const u32 is_structure = env.k().is_structure() ? 1 : 0;
    kel_set_instance_modified(env.object, is_structure, 1 - is_structure, 1);
    env.result = std::to_string(env.k().backpropagate(env.handle, env.tx, env.object, &env.err));
}
void set(Environment &env) { env.k().set(env.handle, env.tx, env.object, env.source, &env.err); }
void adjust(Environment &env) { env.k().adjust_variant(env.handle, env.tx, env.object, &env.err); }
void marshal(Environment &env) {
    write_form(env, [&env] {
        return env.k().marshal(env.handle, env.tx, env.buffer.data(), env.object, form_space,
                               &env.err);
    });
}
void unmarshal(Environment &env) {
    env.returned_length(env.k().unmarshal(env.handle, env.tx, env.buffer.data(), env.object,
                                          env.length, 0, &env.err),
                        env.length);
}
void print(Environment &env) {
    write_form(env, [&env] {
        return env.k().print(env.handle, env.tx, env.buffer.data(), 0, env.k().name, env.object,
                             form_space, &env.err);
    });
}
void print_cr(Environment &env) {
    write_form(env, [&env] {
        return env.k().print_cr(env.handle, env.object, env.buffer.data(), form_space);
    });
    from_cr(env);
}
void to_xml(Environment &env) {
    write_form(env, [&env] { return to_xml_form(env, env.object); });
}
void toxml_cr(Environment &env) {
    write_form(env, [&env] {
        return env.k().toxml_cr(env.handle, env.object, env.buffer.data(), form_space);
    });
    from_cr(env);
}
void from_xml(Environment &env) {
    const std::string path = std::string("//") + env.k().name;
    char message[128] = {};
    env.k().from_xml(env.handle, env.tx, path.c_str(), env.document, env.object, &env.err, message,
                     sizeof message);
}
void is_valid_field_cr(Environment &env) {
    env.result = std::to_string(env.k().is_valid_field_cr(env.handle, nullptr, 1000));
    from_cr(env);
}
void is_valid_value_cr(Environment &env) {
    env.result = std::to_string(env.k().is_valid_value_cr(env.handle, 1000));
    from_cr(env);
}

void clone(Environment &env) {
    env.k().clone(env.handle, env.tx, env.object, &env.made_object, env.buffer.data(), form_space,
                  &env.err);
    env.returned(env.made_object);
}
void clone_cr(Environment &env) {
    env.returned(env.made_object = env.k().clone_cr(env.handle, env.object));
    from_cr(env);
}
void copy_cr(Environment &env) {
    env.k().copy_cr(env.handle, env.source, env.object);
    note_destruction(env);
    from_cr(env);
}

constexpr Traits infallible{.infallible = true};
constexpr Traits stepwise{.stepwise = true};
// A block of state flags is copied without being announced.
constexpr Traits copies_state{.unlogged = true, .stepwise = true};

const std::vector<Operation> structures = {
    {"create", On::structures, nothing, create},
    {"create_cr", On::structures, nothing, create_cr},
    {"destroy", On::structures, with_object, destroy},
    {"destroy of a mapped object", On::structures, with_mapped, destroy},
    {"destroy of an object with trace correlation", On::structures, with_hd_mapping, destroy},
    {"destroy_cr", On::structures, with_mapped, destroy_cr},
    {"set_instance_embedded", On::structures, with_object, embed, infallible},
    {"offset_update",
     On::structures,
     with_object,
     [](Environment &env) {
         env.k().offset_update(env.handle, env.tx, env.object,
                               static_cast<char *>(env.object) + 4096, &env.err);
     },
     {.stepwise = true}},
    {"offset_remove", On::structures, with_object,
     [](Environment &env) { env.k().offset_remove(env.handle, env.tx, env.object, &env.err); },
     stepwise},
    {"type_type_backpropagate", On::structures, with_object, backpropagate},
    {"adjust_variant", On::structures, with_object, adjust},
    {"set", On::structures, with_two_objects, set, copies_state},
    {"set of an object with trace correlation", On::structures, with_correlated_destination, set,
     copies_state},
    {"post_copyout_cleanup", On::structures, with_two_objects,
     [](Environment &env) {
         env.k().post_copyout_cleanup(env.handle, env.tx, env.object, env.source, &env.err);
     },
     stepwise},
    {"marshal", On::structures, with_object, marshal},
    {"marshal of an object with trace correlation", On::structures, with_hd_mapping, marshal},
    {"unmarshal", On::structures, with_plain_wire_form, unmarshal, copies_state},
    {"unmarshal of an object with trace correlation", On::structures, with_wire_form, unmarshal,
     copies_state},
    {"print", On::structures, with_object, print},
    {"print_cr", On::structures, with_object, print_cr},
    {"to_xml", On::structures, with_object, to_xml},
    {"toxml_cr", On::structures, with_object, toxml_cr},
    {"from_xml", On::structures, with_document, from_xml, copies_state},
    {"clone", On::structures, with_object, clone},
    {"clone_cr", On::structures, with_object, clone_cr},
    {"copy_cr", On::structures, with_two_objects, copy_cr, copies_state},
    {"is_valid_cr", On::structures, nothing, is_valid_field_cr},
};

const std::vector<Operation> enumerations = {
    {"enumeration create", On::enumeration, nothing, create},
    {"enumeration create_cr", On::enumeration, nothing, create_cr},
    // The descriptor is removed without an announcement.
    {"enumeration destroy",
     On::enumeration,
     with_object,
     destroy,
     {.unlogged = true, .infallible = true}},
    {"enumeration set_instance_embedded", On::enumeration, with_object, embed, infallible},
    {"enumeration backpropagate", On::enumeration, with_object, backpropagate, infallible},
    {"enumeration adjust_variant", On::enumeration, with_object, adjust},
    {"enumeration set", On::enumeration, with_two_objects, set},
    {"enumeration set_value", On::enumeration, with_object,
     [](Environment &env) { env.k().fill(env.handle, env.tx, env.object, 1, &env.err); }},
    {"enumeration marshal", On::enumeration, with_object, marshal},
    // Nothing announces the header, nor the value before it is mapped.
    {"enumeration unmarshal", On::enumeration, with_plain_wire_form, unmarshal, {.unlogged = true}},
    {"enumeration print", On::enumeration, with_object, print},
    {"enumeration print_cr", On::enumeration, with_object, print_cr},
    {"enumeration to_xml", On::enumeration, with_object, to_xml},
    {"enumeration toxml_cr", On::enumeration, with_object, toxml_cr},
    {"enumeration from_xml", On::enumeration, with_document, from_xml, {.unlogged = true}},
    {"enumeration is_valid_cr", On::enumeration, nothing, is_valid_value_cr},
};

}  // namespace

std::vector<Operation> object_operations() { return joined({&structures, &enumerations}); }

}  // namespace tarn::test
