/* SPDX-License-Identifier: Apache-2.0 */
// The schemas of the libraries that a process has loaded, which a journal notes with each session
// (log/notes.h): what reads records of its frames needs the same ones. The note is a text:
// "MODULE:DIGEST" of each module, with a blank between. The digest, 16 hexadecimal digits, covers
// the identity, the name and the kind of each item, and its length in each variant.
#ifndef TARNBASE_RUNTIME_STORE_SCHEMA_NOTE_H
#define TARNBASE_RUNTIME_STORE_SCHEMA_NOTE_H

#include <span>
#include <string>

#include "runtime/log/frame.h"

namespace tarnbase::runtime {

// Notes the schemas of this process in a frame.
void add_schemas(FrameBuilder &frame);

// The name of a module with another digest in the note of a frame, which was checked, than in this
// process; "" if there is none.
std::string other_schema(std::span<const char> frame);

}  // namespace tarnbase::runtime

#endif
