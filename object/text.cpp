// SPDX-License-Identifier: Apache-2.0
// The text form of an object:
//
//   <indent>name@type: {
//   <indent + 2>each field, as its type prints it
//   <indent>}
#include <cstring>

#include "frame/conventions.h"
#include "object/fields.h"
#include "object/kept_byte.h"
#include "object/labelled_run.h"
#include "object/object.h"
#include "object/runs.h"
#include "object/value_operations.h"

namespace tarnbase::object {

namespace {

void close_text(const Call &call, Output &out, std::uint32_t indent) {
    const KeptByte after(indent, out, std::strlen("}\n"));
    out.advance(kel_snprintf(call.handle, call.tx_id, out.at(), out.remaining(), call.err, "}\n"));
}

// Returns: how many fields from this one on were printed.
std::uint32_t print_from(const Field &field, const Call &call, Output &out, std::uint32_t indent,
                         const void *place) {
    const kel_print_run print_run = print_run_at(field);
    if (print_run == nullptr) {
        out.advance(operations(field).print(field, call, out.rest(), indent, place));
        return 1;
    }
    each_piece(field, place, FieldLabels{field}, [&](const kel_labelled_run &run) {
        out.advance(
            print_run(call.handle, call.tx_id, out.at(), indent, &run, out.remaining(), call.err));
    });
    return field.run;
}

}  // namespace

std::uint32_t print(Type type, const Call &call, Output out, Label label, const void *object) {
    if (!call.enter()) return 0;
    const std::int8_t variant = variant_of(object);
    char *start = out.at();
    out.advance(
        kel_print_space(call.handle, call.tx_id, start, label.indent, out.remaining(), call.err));
    out.advance(kel_snprintf(call.handle, call.tx_id, out.at(), out.remaining(), call.err,
                             "%s@%s: {\n", label.name, type.name));
    const FieldRange fields = fields_of(type);
    for (const Field *field = fields.begin(); field != fields.end();) {
        // An instance too old for a field ends here, without the closing line.
        if (field->first_variant > variant) return out.used();
        field += print_from(*field, call, out, label.indent + 2, place_of(*field, object));
    }
    // The closing blanks are written over the opening ones; here they are skipped.
    out.advance(
        kel_print_space(call.handle, call.tx_id, start, label.indent, out.remaining(), call.err));
    close_text(call, out, label.indent);
    return out.used();
}

std::uint32_t print_cr(Type type, kel_handle *handle, Output out, const void *object) {
    const std::uint32_t length = print(type, Call::cr(handle), out, {type.name}, object);
    return handle->last_error == 0 ? length : cr_failure;
}

}  // namespace tarnbase::object
