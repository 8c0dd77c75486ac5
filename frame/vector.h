/* SPDX-License-Identifier: Apache-2.0 */
// TARN_DESIGNATED precedes the definition of an array whose initializer names each
// entry's slot, as a table's vector does: `[KEL_SLOT_INSERT] = ...`. Array designators
// are a feature of C that g++ and clang have in C++ too; g++ rejects a list that isn't
// in order or leaves out a slot.
#ifndef TARNBASE_FRAME_VECTOR_H
#define TARNBASE_FRAME_VECTOR_H

#define TARN_DESIGNATED __extension__
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wc99-designator"
#endif

#endif
