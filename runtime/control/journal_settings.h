/* SPDX-License-Identifier: Apache-2.0 */
// The file `journal` of a store, with the settings of its journal and of durability. It is replaced
// by another one when they change, which `ControlPage::journal_changes` counts.
//
//   offset  size  member
//        0     8  magic "TARNJRNL"
//        8     4  format version: 2 if the log is compressed, else 1
//       12     4  0x01020304: byte order
//       16    16  id of the store
//       32    32  the settings, as kel_journal_settings
//       64     4  CRC32C of the 64 bytes before
//       68     4  zero
#ifndef TARNBASE_RUNTIME_CONTROL_JOURNAL_SETTINGS_H
#define TARNBASE_RUNTIME_CONTROL_JOURNAL_SETTINGS_H

#include <cstdint>

#include "runtime/log/store_id.h"
#include "tarnbase/journal.h"

namespace tarnbase::runtime {

inline constexpr const char *journal_name = "journal";
// Releases that read version 1 alone refuse a store whose log they can't read.
inline constexpr std::uint32_t journal_format_version = 2;

// Whether each member has a value that it may have.
bool is_valid(const kel_journal_settings &settings);

// Reads the settings. Without a file all are 0. Returns 0; EBADMSG the file is damaged or of
// another store; EINVAL it is of another format version; or an errno number.
std::uint32_t load_journal_settings(int folder, const StoreId &id, kel_journal_settings &settings);
// Replaces the file, on the disk too. Returns 0 or an errno number: the file is as it was. The
// caller has the writer's lock.
std::uint32_t store_journal_settings(int folder, const StoreId &id,
                                     const kel_journal_settings &settings);

// Removes what a process was making of it when it ended. A living one begins again.
void remove_working_settings(int folder);

}  // namespace tarnbase::runtime

#endif
