// SPDX-License-Identifier: Apache-2.0
// The XML form of an object: an element of a given name, which contains one element for
// each field. An array has one element for each of its own, all of its name. The reader
// addresses elements by paths; an absent element leaves its field unchanged.
#include "frame/conventions.h"
#include "object/element_path.h"
#include "object/fields.h"
#include "object/labelled_run.h"
#include "object/object.h"
#include "object/runs.h"
#include "object/value_operations.h"

namespace tarnbase::object {

namespace {

// Which fields are written, and whether with their state flags.
struct Fields {
    Type type;
    std::int8_t variant;
    bool tracked;
};

// Writes the pieces of a run, without state flags.
auto piece_writer(kel_to_xml_run run, const Call &call, Output &out) {
    return [run, &call, &out](const kel_labelled_run &piece) {
        out.advance(run(call.handle, call.tx_id, out.at(), &piece, out.remaining(), call.err));
    };
}

void write_array(Member member, const Call &call, const void *object, bool tracked, Output &out) {
    const Field &field = member.field;
    const void *const place = place_of(field, object);
    const kel_to_xml_run run = tracked ? nullptr : run_operations_of(field.kind).to_xml;
    if (run != nullptr) {
        return each_piece(field, place, ArrayLabels{field}, piece_writer(run, call, out));
    }
    const auto *elements = static_cast<const std::uint8_t *>(place);
    for (std::uint32_t i = 0; i < field.elements && !call.failed(); ++i) {
        const std::uint8_t flag =
            tracked ? array_state_flag_get(member, call, object, i) : std::uint8_t{0};
        out.advance(u_int8_to_xml(call.handle, call.tx_id, field.name, out.at(),
                                  elements == nullptr ? nullptr : elements + i, out.remaining(),
                                  flag, call.err));
    }
}

void write_field(Member member, const Call &call, const void *object, bool tracked, Output &out) {
    const Field &field = member.field;
    const std::uint8_t flag = tracked ? state_flag_get(member, call, object) : std::uint8_t{0};
    out.advance(operations(field).to_xml(field, call, out.rest(), place_of(field, object), flag));
}

void write_fields(const Fields &written, const Call &call, const void *object, Output &out) {
    const FieldRange fields = fields_of(written.type);
    for (const Field *field = fields.begin(); field != fields.end(); ++field) {
        if (field->first_variant > written.variant || call.failed()) return;
        const Member member = {written.type, *field};
        const kel_to_xml_run run = written.tracked ? nullptr : to_xml_run_at(*field);
        if (run != nullptr) {
            each_piece(*field, place_of(*field, object), FieldLabels{*field},
                       piece_writer(run, call, out));
            field += field->run - 1;
        } else if (field->kind == FieldKind::array) {
            write_array(member, call, object, written.tracked, out);
        } else {
            write_field(member, call, object, written.tracked, out);
        }
    }
}

}  // namespace

std::uint32_t to_xml(Type type, const Call &call, Output out, Tag tag, const void *object) {
    if (!call.enter()) return 0;
    const std::int8_t variant = variant_of(object);
    const Fields fields = {type, variant, tracking_is_on(call.handle)};
    out.advance(start_tag(call.handle, call.tx_id, out.at(), tag.name, out.remaining(),
                          tag.state_flag, call.err));
    write_fields(fields, call, object, out);
    // Written even if a field has failed: this service runs with an error set too.
    out.advance(end_tag(call.handle, call.tx_id, out.at(), tag.name, out.remaining(), call.err));
    return out.used();
}

std::uint32_t toxml_cr(Type type, kel_handle *handle, Output out, const void *object) {
    const std::uint32_t length = to_xml(type, Call::cr(handle), out, {type.name}, object);
    return handle->last_error == 0 ? length : cr_failure;
}

void from_xml(Type type, const Call &call, const XmlElement &element, void *object) {
    if (!call.enter()) return;
    std::uint32_t nodes = 0;
    if (xml_get_element_nodecount(element.document, element.path, &nodes) != 0 || nodes == 0) {
        call.report(ENOENT);
        return;
    }
    ElementPath path(element.path);
    for (const Field &field : fields_of(type)) {
        operations(field).from_xml(field, call, element.at(path.at_name(field.name)),
                                   place_of(field, object));
        if (*call.err == ENOENT) *call.err = 0;
        if (call.failed()) return;
    }
}

}  // namespace tarnbase::object
