/* SPDX-License-Identifier: Apache-2.0 */
// Runs of numbers: fields of one kind that follow each other in the object, or the elements of an
// array. The runtime may have operations on them that replace many calls of a service, and on
// pieces of a form, several runs with what is between them.
#ifndef TARNBASE_OBJECT_RUNS_H
#define TARNBASE_OBJECT_RUNS_H

#include <array>

#include "frame/schema.h"
#include "tarnbase/runs.h"

namespace tarnbase::object {

// The operations for one kind of number. Null: the service is called for each number.
struct RunOperations {
    kel_marshal_run marshal;
    kel_unmarshal_run unmarshal;
    kel_print_run print;
    kel_to_xml_run to_xml;
};

// By kind; null until the library is loaded. An array has those of its elements.
extern const std::array<RunOperations, std::size(all_kinds)> run_operations;

// Null: the services are called. They need the operations of all kinds of numbers.
struct PieceOperations {
    kel_marshal_pieces marshal;
    kel_unmarshal_pieces unmarshal;
};
extern const PieceOperations piece_operations;

inline const RunOperations &run_operations_of(FieldKind kind) {
    return run_operations[static_cast<unsigned>(kind)];
}

// The operation for the run that begins with the field; null also for a run of one.
inline kel_marshal_run marshal_run_at(const Field &field) {
    return field.run > 1 ? run_operations_of(field.kind).marshal : nullptr;
}
inline kel_unmarshal_run unmarshal_run_at(const Field &field) {
    return field.run > 1 ? run_operations_of(field.kind).unmarshal : nullptr;
}
inline kel_print_run print_run_at(const Field &field) {
    return field.run > 1 ? run_operations_of(field.kind).print : nullptr;
}
inline kel_to_xml_run to_xml_run_at(const Field &field) {
    return field.run > 1 ? run_operations_of(field.kind).to_xml : nullptr;
}

}  // namespace tarnbase::object

#endif
