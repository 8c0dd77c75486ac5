// SPDX-License-Identifier: Apache-2.0
// The forms of whole records and of keys.
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

constexpr u32 space = 1 << 18;

void with_record(World &w) {
    w.loose = w.make(2);
    w.length = 0;
}

u32 wire_length(World &w) { return w.s().plain.len(w.handle, w.tx, w.loose); }

void with_wire_form(World &w) {
    with_record(w);
    w.length = w.s().plain.marshal(w.handle, w.tx, w.buffer.data(), w.loose, space, &w.err);
}
void with_wire_form_in_place(World &w) {
    with_wire_form(w);
    w.record = w.make(1);
}
void with_key_form(World &w) {
    with_record(w);
    w.length = w.s().plain.pkey_marshal(w.handle, w.tx, w.buffer.data(), w.loose, space, &w.err);
}
void with_document(World &w) {
    with_record(w);
    w.length = w.s().plain.to_xml(w.handle, w.tx, w.buffer.data(), w.loose, space, &w.err);
    w.parse(std::string(w.buffer.data(), w.length));
}

void from_cr(World &w) { w.err = w.handle->last_error; }

// Writes a form twice: the first time, when nothing fails, for its length.
template <typename Write>
void write(World &w, Write form) {
    const u32 length = form();
    if (w.err == 0 && w.handle->last_error == 0) w.length = length;
    w.returned_length(length, w.length);
}

const std::vector<Operation> writing = {
    {"record_marshal", On::tables, with_record,
     [](World &w) {
         w.returned_length(
             w.s().plain.marshal(w.handle, w.tx, w.buffer.data(), w.loose, space, &w.err),
             wire_length(w));
     }},
    {"record_marshal_cr", On::tables, with_record,
     [](World &w) {
         w.returned_length(w.s().cr.marshal(w.handle, w.loose, w.buffer.data(), space),
                           wire_length(w));
         from_cr(w);
     }},
    {"pkey_marshal", On::tables, with_record,
     [](World &w) {
         w.returned_length(
             w.s().plain.pkey_marshal(w.handle, w.tx, w.buffer.data(), w.loose, space, &w.err),
             w.s().plain.pkey_len(w.handle, w.tx, w.loose));
     }},
    {"record_print", On::tables, with_record,
     [](World &w) {
         write(w, [&w] {
             return w.s().plain.print(w.handle, w.tx, w.buffer.data(), w.loose, space, &w.err);
         });
     }},
    {"record_print_cr", On::tables, with_record,
     [](World &w) {
         write(w, [&w] { return w.s().cr.print(w.handle, w.loose, w.buffer.data(), space); });
         from_cr(w);
     }},
    {"pkey_print", On::tables,
     [](World &w) {
         w.open();
         with_record(w);
     },
     [](World &w) {
         write(w, [&w] {
             return w.s().plain.pkey_print(w.handle, w.tx, w.table, w.loose, w.buffer.data(), space,
                                           &w.err);
         });
     }},
    {"record_to_xml", On::tables, with_record,
     [](World &w) {
         write(w, [&w] {
             return w.s().plain.to_xml(w.handle, w.tx, w.buffer.data(), w.loose, space, &w.err);
         });
     }},
    {"record_toxml_cr", On::tables, with_record,
     [](World &w) {
         write(w, [&w] { return w.s().cr.to_xml(w.handle, w.loose, w.buffer.data(), space); });
         from_cr(w);
     }},
    {"record_is_modified", On::tables, with_record,
     // The mark is not logged, so no rollback restores it.
     [](World &w) {
         kel_set_instance_modified(w.loose->object, 1, 0, 1);
         w.result = std::to_string(w.s().plain.is_modified(w.handle, w.tx, w.loose, &w.err));
     }},
};

constexpr Traits stepwise{.stepwise = true};
// An enumeration's header is stored without an announcement.
constexpr Traits in_place{.unlogged = true, .stepwise = true};

const std::vector<Operation> reading = {
    {"record_unmarshal", On::tables, with_wire_form,
     [](World &w) {
         w.returned_length(w.s().plain.unmarshal(w.handle, w.tx, &w.made_record, w.buffer.data(),
                                                 w.length, 0, &w.err),
                           w.length);
     },
     stepwise},
    {"record_unmarshal in place", On::tables, with_wire_form_in_place,
     [](World &w) {
         w.returned_length(
             w.s().plain.unmarshal(w.handle, w.tx, &w.record, w.buffer.data(), w.length, 1, &w.err),
             w.length);
     },
     in_place},
    {"pkey_unmarshal", On::tables, with_key_form,
     [](World &w) {
         w.returned_length(w.s().plain.pkey_unmarshal(w.handle, w.tx, &w.key_holder,
                                                      w.buffer.data(), w.length, &w.err),
                           w.length);
         w.result += w.key_holder == nullptr ? ", no pkey" : ", a pkey";
     },
     stepwise},
    {"record_from_xml", On::tables, with_document,
     [](World &w) {
         char message[128] = {};
         w.returned(w.made_record = w.s().plain.from_xml(w.handle, w.tx, w.document, &w.err,
                                                         message, sizeof message));
     },
     stepwise},
};

}  // namespace

std::vector<Operation> form_operations() {
    std::vector<Operation> all = writing;
    all.insert(all.end(), reading.begin(), reading.end());
    return all;
}

}  // namespace tarn::test
