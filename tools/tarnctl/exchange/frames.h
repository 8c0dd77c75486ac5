// SPDX-License-Identifier: Apache-2.0
//
// The document of frames: records as `<table>_table_record_marshal` writes them, with the
// properties that this form lacks. All numbers are little-endian.
//
//   document  head { table { record } } end
//
//   offset  size  head
//        0     8  "TARNFRAM"
//        8     4  version, 1
//       12     4  zero
//
//   offset  size  table: the following records are of this table
//        0     1  'T'
//        1    16  the table's LUID
//       17     1  0: opened by name; 1: by id
//       18     4  bytes of the name, or 8
//       22        the name, or the id
//
//   offset  size  record
//        0     1  'R'
//        1     2  tenant
//        3     1  source
//        4     1  1: it awaits its destruction; else 0
//        5     4  bytes of the frame
//        9        the frame: message header (27 bytes), LUID (16), data object, key object
//
//   offset  size  end
//        0     1  'E'
//        1     8  records in the document
//
// The objects in a frame carry their state bytes if the record's objects have state flags.
#ifndef TARNCTL_EXCHANGE_FRAMES_H
#define TARNCTL_EXCHANGE_FRAMES_H

#include <cstdint>
#include <string>
#include <string_view>

#include "model/record.h"
#include "tarnbase/runtime.h"

namespace tarnctl {
namespace frames {

inline constexpr char table_mark = 'T';
inline constexpr char record_mark = 'R';
inline constexpr char end_mark = 'E';

inline constexpr std::size_t luid_size = sizeof kel_type_info::luid;
inline constexpr std::size_t frame_header_size = KEL_MESSAGE_HEADER_SIZE + luid_size;
// The offset of the data object's flags in a frame.
inline constexpr std::size_t object_flags_offset = frame_header_size + 1;

// Little-endian numbers of `size` bytes.
void append_number(std::string &bytes, uint64_t number, std::size_t size);
uint64_t number_at(std::string_view bytes, std::size_t offset, std::size_t size);

// A record's frame, with state bytes if its objects have state flags. It is at the start of
// `buffer`, which grows as needed. Failure `data` that names the record.
std::string_view frame_of(const Record &record, std::string_view table, std::string &buffer);

}  // namespace frames
}  // namespace tarnctl

#endif
