/* SPDX-License-Identifier: Apache-2.0 */
// Functions of this program that stand in front of the runtime's services: they
// note each call and hand it on, unless a test wants another answer.
#ifndef TARNBASE_TESTS_BEHAVIOUR_TABLE_SPIES_H
#define TARNBASE_TESTS_BEHAVIOUR_TABLE_SPIES_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tarnbase/runtime.h"
#include "tests/support/hooks.h"

namespace tarn::test {

struct Call {
    std::string service;
    std::uint32_t tx_id = 0;
    const void *subject = nullptr;  // record, table, object or node: what it is about
    std::vector<std::uint64_t> arguments;
    std::string text;             // key of the keyed store
    const void *extra = nullptr;  // vector of the cache call
    std::size_t hooks = 0;        // hook events noted before this call
};

// What a test wants a service to answer in place of the runtime.
struct Wishes {
    std::optional<std::uint32_t> set_key;            // loam_set_key's answer
    std::optional<std::uint32_t> set_range;          // loam_set_range's answer
    std::optional<std::uint64_t> range_word;         // what loam_set_range leaves there
    std::optional<std::uint32_t> request_unmapping;  // its answer
    std::optional<std::uint32_t> validation;         // kellib_validate_object_flags' answer
    std::uint32_t toc_error = 0;                     // in *err
    std::uint32_t mapping_error = 0;                 // in *err
    bool no_mapping = false;                         // null without an error
    std::uint32_t unmapping_error = 0;               // in *err
    std::uint32_t hd_mapping_error = 0;              // in *err
    std::uint32_t cache_error = 0;                   // in *err
    std::uint32_t tenant_counter_error = 0;          // in *err
    std::uint32_t cursor_error = 0;                  // in *err
    std::uint32_t request_destroy_error = 0;         // in *err
    // What xml_get_element_value answers for paths that begin so.
    std::string element_path;
    std::uint32_t element_answer = 0;
    // The descriptor that a handle with per-store descriptors gets.
    const kel_type_info *descriptor = nullptr;
    std::optional<std::uint64_t> correlation;  // uuid of the thread
    std::uint8_t correlation_mark = 0;
};

class Spies {
 public:
    std::vector<Call> calls;
    Wishes wishes;
    kel_message_header last_header = {};
    // Whose events to count in `Call::hooks`; may be null.
    const HookRecorder *hooks = nullptr;
    // Looks at the state of things as each service is reached, before it is noted.
    std::function<void(const std::string &service)> at_each;

    void clear() { calls.clear(); }
    void reset();
    std::vector<Call> of(const std::string &service) const;
    std::size_t count(const std::string &service) const { return of(service).size(); }
    // Services called, in order, of those named; joined by blanks.
    std::string order(const std::vector<std::string> &services) const;

    Call &note(const char *service);
};

extern Spies spies;

}  // namespace tarn::test

#endif
