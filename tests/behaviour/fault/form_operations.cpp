// SPDX-License-Identifier: Apache-2.0
// The forms of whole records and of keys.
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

void with_record(Environment &env) {
    env.loose = env.make(2);
    env.length = 0;
}

u32 wire_length(Environment &env) { return env.s().plain.len(env.handle, env.tx, env.loose); }

void with_wire_form(Environment &env) {
    with_record(env);
    env.length = env.s().plain.marshal(env.handle, env.tx, env.buffer.data(), env.loose, form_space,
                                       &env.err);
}
void with_wire_form_in_place(Environment &env) {
    with_wire_form(env);
    env.record = env.make(1);
}
void with_key_form(Environment &env) {
    with_record(env);
    env.length = env.s().plain.pkey_marshal(env.handle, env.tx, env.buffer.data(), env.loose,
                                            form_space, &env.err);
}
void with_document(Environment &env) {
    with_record(env);
    env.length = env.s().plain.to_xml(env.handle, env.tx, env.buffer.data(), env.loose, form_space,
                                      &env.err);
    env.parse(std::string(env.buffer.data(), env.length));
}

const std::vector<Operation> writing = {
    {"record_marshal", On::tables, with_record,
     [](Environment &env) {
         env.returned_length(env.s().plain.marshal(env.handle, env.tx, env.buffer.data(), env.loose,
                                                   form_space, &env.err),
                             wire_length(env));
     }},
    {"record_marshal_cr", On::tables, with_record,
     [](Environment &env) {
         env.returned_length(
             env.s().cr.marshal(env.handle, env.loose, env.buffer.data(), form_space),
             wire_length(env));
         from_cr(env);
     }},
    {"pkey_marshal", On::tables, with_record,
     [](Environment &env) {
         env.returned_length(env.s().plain.pkey_marshal(env.handle, env.tx, env.buffer.data(),
                                                        env.loose, form_space, &env.err),
                             env.s().plain.pkey_len(env.handle, env.tx, env.loose));
     }},
    {"record_print", On::tables, with_record,
     [](Environment &env) {
         write_form(env, [&env] {
             return env.s().plain.print(env.handle, env.tx, env.buffer.data(), env.loose,
                                        form_space, &env.err);
         });
     }},
    {"record_print_cr", On::tables, with_record,
     [](Environment &env) {
         write_form(env, [&env] {
             return env.s().cr.print(env.handle, env.loose, env.buffer.data(), form_space);
         });
         from_cr(env);
     }},
    {"pkey_print", On::tables,
     [](Environment &env) {
         env.open();
         with_record(env);
     },
     [](Environment &env) {
         write_form(env, [&env] {
             return env.s().plain.pkey_print(env.handle, env.tx, env.table, env.loose,
                                             env.buffer.data(), form_space, &env.err);
         });
     }},
    {"record_to_xml", On::tables, with_record,
     [](Environment &env) {
         write_form(env, [&env] {
             return env.s().plain.to_xml(env.handle, env.tx, env.buffer.data(), env.loose,
                                         form_space, &env.err);
         });
     }},
    {"record_toxml_cr", On::tables, with_record,
     [](Environment &env) {
         write_form(env, [&env] {
             return env.s().cr.to_xml(env.handle, env.loose, env.buffer.data(), form_space);
         });
         from_cr(env);
     }},
    {"record_is_modified", On::tables, with_record,
     // The mark is not logged, so no rollback restores it.
     [](Environment &env) {
         kel_set_instance_modified(env.loose->object, 1, 0, 1);
         env.result =
             std::to_string(env.s().plain.is_modified(env.handle, env.tx, env.loose, &env.err));
     }},
};

constexpr Traits stepwise{.stepwise = true};
// An enumeration's header is stored without an announcement.
constexpr Traits in_place{.unlogged = true, .stepwise = true};

const std::vector<Operation> reading = {
    {"record_unmarshal", On::tables, with_wire_form,
     [](Environment &env) {
         env.returned_length(env.s().plain.unmarshal(env.handle, env.tx, &env.made_record,
                                                     env.buffer.data(), env.length, 0, &env.err),
                             env.length);
     },
     stepwise},
    {"record_unmarshal in place", On::tables, with_wire_form_in_place,
     [](Environment &env) {
         env.returned_length(env.s().plain.unmarshal(env.handle, env.tx, &env.record,
                                                     env.buffer.data(), env.length, 1, &env.err),
                             env.length);
     },
     in_place},
    {"pkey_unmarshal", On::tables, with_key_form,
     [](Environment &env) {
         env.returned_length(env.s().plain.pkey_unmarshal(env.handle, env.tx, &env.key_holder,
                                                          env.buffer.data(), env.length, &env.err),
                             env.length);
         env.result += env.key_holder == nullptr ? ", no pkey" : ", a pkey";
     },
     stepwise},
    {"record_from_xml", On::tables, with_document,
     [](Environment &env) {
         char message[128] = {};
         env.returned(env.made_record = env.s().plain.from_xml(env.handle, env.tx, env.document,
                                                               &env.err, message, sizeof message));
     },
     stepwise},
};

}  // namespace

std::vector<Operation> form_operations() { return joined({&writing, &reading}); }

}  // namespace tarn::test
