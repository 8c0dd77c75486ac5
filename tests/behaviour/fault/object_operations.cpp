// SPDX-License-Identifier: Apache-2.0
// Whole objects: structures, and an enumeration where it has the same operations.
#include "tests/behaviour/fault/operation.h"

namespace tarn::test {

namespace {

constexpr u32 space = 1 << 18;

void nothing(World &) {}
void with_object(World &w) { w.object = w.make_object(0); }
void with_two(World &w) {
    w.object = w.make_object(0);
    w.source = w.make_object(1);
}
void with_mapped(World &w) {
    with_object(w);
    u64 oid = 0;
    w.err = kel_object_map(w.handle, w.tx, w.object, &oid);
}
// Bits of `flags` for an entry in the hd mapping.
void with_hd_mapping(World &w) {
    with_object(w);
    kellib_update_ra_all(w.handle, w.tx, w.object, 71, 1);
}
void with_correlated_pair(World &w) {
    with_two(w);
    kellib_update_ra_all(w.handle, w.tx, w.source, 71, 1);
}
void with_correlated_destination(World &w) {
    with_two(w);
    kellib_update_ra_all(w.handle, w.tx, w.object, 71, 1);
}
void with_wire_form(World &w) {
    with_correlated_pair(w);
    w.length = w.k().marshal(w.handle, w.tx, w.buffer.data(), w.source, space, &w.err);
}
void with_plain_wire_form(World &w) {
    with_two(w);
    w.length = w.k().marshal(w.handle, w.tx, w.buffer.data(), w.source, space, &w.err);
}
u32 to_xml_form(World &w, const void *object) {
    return w.k().to_xml(w.handle, w.tx, w.k().name, w.buffer.data(), object, space, 0, &w.err);
}
void with_document(World &w) {
    with_two(w);
    w.length = to_xml_form(w, w.source);
    w.parse(std::string(w.buffer.data(), w.length));
}

void from_cr(World &w) { w.err = w.handle->last_error; }

void note_destruction(World &w) {
    w.result = static_cast<kel_object *>(w.object)->descriptor == nullptr ? "gone" : "there";
}

// A form as long as the one that was written without a failure is whole.
template <typename Write>
void write(World &w, Write form) {
    const u32 length = form();
    if (w.err == 0 && w.handle->last_error == 0) w.length = length;
    w.returned_length(length, w.length);
}

void create(World &w) { w.returned(w.made_object = w.k().create(w.handle, w.tx)); }
// The fallback object replaces one that cannot be allocated, and is never destroyed.
void create_cr(World &w) {
    w.made_object = w.k().create_cr(w.handle);
    const auto *head = static_cast<const kel_object *>(w.made_object);
    w.result = head == nullptr ? "null" : head->descriptor == nullptr ? "fallback" : "made";
    if (w.result == "fallback") w.made_object = nullptr;
    from_cr(w);
}
void destroy(World &w) {
    w.k().destroy(w.handle, w.tx, w.object);
    note_destruction(w);
}
void destroy_cr(World &w) {
    w.k().destroy_cr(w.handle, w.object);
    note_destruction(w);
    from_cr(w);
}
void embed(World &w) { w.k().set_instance_embedded(w.handle, w.tx, w.object); }
// The mark is not logged, so no rollback restores it.
void backpropagate(World &w) {
    const u32 is_structure = w.k().is_structure() ? 1 : 0;
    kel_set_instance_modified(w.object, is_structure, 1 - is_structure, 1);
    w.result = std::to_string(w.k().backpropagate(w.handle, w.tx, w.object, &w.err));
}
void set(World &w) { w.k().set(w.handle, w.tx, w.object, w.source, &w.err); }
void adjust(World &w) { w.k().adjust_variant(w.handle, w.tx, w.object, &w.err); }
void marshal(World &w) {
    write(w,
          [&w] { return w.k().marshal(w.handle, w.tx, w.buffer.data(), w.object, space, &w.err); });
}
void unmarshal(World &w) {
    w.returned_length(
        w.k().unmarshal(w.handle, w.tx, w.buffer.data(), w.object, w.length, 0, &w.err), w.length);
}
void print(World &w) {
    write(w, [&w] {
        return w.k().print(w.handle, w.tx, w.buffer.data(), 0, w.k().name, w.object, space, &w.err);
    });
}
void print_cr(World &w) {
    write(w, [&w] { return w.k().print_cr(w.handle, w.object, w.buffer.data(), space); });
    from_cr(w);
}
void to_xml(World &w) {
    write(w, [&w] { return to_xml_form(w, w.object); });
}
void toxml_cr(World &w) {
    write(w, [&w] { return w.k().toxml_cr(w.handle, w.object, w.buffer.data(), space); });
    from_cr(w);
}
void from_xml(World &w) {
    const std::string path = std::string("//") + w.k().name;
    char message[128] = {};
    w.k().from_xml(w.handle, w.tx, path.c_str(), w.document, w.object, &w.err, message,
                   sizeof message);
}
void is_valid_field_cr(World &w) {
    w.result = std::to_string(w.k().is_valid_field_cr(w.handle, nullptr, 1000));
    from_cr(w);
}
void is_valid_value_cr(World &w) {
    w.result = std::to_string(w.k().is_valid_value_cr(w.handle, 1000));
    from_cr(w);
}

void clone(World &w) {
    w.k().clone(w.handle, w.tx, w.object, &w.made_object, w.buffer.data(), space, &w.err);
    w.returned(w.made_object);
}
void clone_cr(World &w) {
    w.returned(w.made_object = w.k().clone_cr(w.handle, w.object));
    from_cr(w);
}
void copy_cr(World &w) {
    w.k().copy_cr(w.handle, w.source, w.object);
    note_destruction(w);
    from_cr(w);
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
     [](World &w) {
         w.k().offset_update(w.handle, w.tx, w.object, static_cast<char *>(w.object) + 4096,
                             &w.err);
     },
     {.stepwise = true}},
    {"offset_remove", On::structures, with_object,
     [](World &w) { w.k().offset_remove(w.handle, w.tx, w.object, &w.err); }, stepwise},
    {"type_type_backpropagate", On::structures, with_object, backpropagate},
    {"adjust_variant", On::structures, with_object, adjust},
    {"set", On::structures, with_two, set, copies_state},
    {"set of an object with trace correlation", On::structures, with_correlated_destination, set,
     copies_state},
    {"post_copyout_cleanup", On::structures, with_two,
     [](World &w) { w.k().post_copyout_cleanup(w.handle, w.tx, w.object, w.source, &w.err); },
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
    {"copy_cr", On::structures, with_two, copy_cr, copies_state},
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
    {"enumeration set", On::enumeration, with_two, set},
    {"enumeration set_value", On::enumeration, with_object,
     [](World &w) { w.k().fill(w.handle, w.tx, w.object, 1, &w.err); }},
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

std::vector<Operation> object_operations() {
    std::vector<Operation> all = structures;
    all.insert(all.end(), enumerations.begin(), enumerations.end());
    return all;
}

}  // namespace tarn::test
