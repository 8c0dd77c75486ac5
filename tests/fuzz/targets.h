/* SPDX-License-Identifier: Apache-2.0 */
// The fuzz targets. Each accepts any bytes and ends the process if a promise is broken;
// the sanitizers check memory accesses.
#ifndef TARNBASE_TESTS_FUZZ_TARGETS_H
#define TARNBASE_TESTS_FUZZ_TARGETS_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace tarnbase::fuzz {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using Bytes = std::span<const u8>;

// The wire form of an object: item, conditions, portion, then the bytes to read.
void fuzz_object(Bytes input);
// A record's frame or a key: table, conditions, portion, then the bytes to read.
void fuzz_record(Bytes input);
// A document: item, conditions, portion, then its text.
void fuzz_xml(Bytes input);
// A document of JSON as an import reads it: objects that are opened, length of pieces, then its
// text.
void fuzz_json(Bytes input);
// A stream of frames, identified by their LUIDs: conditions, then the frames.
void fuzz_frame(Bytes input);
// A checkpoint of a store: checksums that are made right, then pieces of the file.
void fuzz_checkpoint(Bytes input);
// The log of a store: whether checksums are made right, then its frames.
void fuzz_log(Bytes input);
// A compressed segment of a log: whether checksums are made right, then the file.
void fuzz_segment(Bytes input);
// A store whose image is changed: conditions, then changes (store_changes.h).
void fuzz_store(Bytes input);

struct Target {
    std::string_view name;
    void (*run)(Bytes input);
};
inline constexpr Target targets[] = {
    {"object", fuzz_object}, {"record", fuzz_record},         {"xml", fuzz_xml},
    {"frame", fuzz_frame},   {"checkpoint", fuzz_checkpoint}, {"log", fuzz_log},
    {"store", fuzz_store},   {"segment", fuzz_segment},       {"json", fuzz_json},
};

}  // namespace tarnbase::fuzz

#endif
