/* SPDX-License-Identifier: Apache-2.0 */
// Functions of this program that stand in front of the runtime's services: they
// note each call and hand it on, unless a test wants another answer.
#ifndef TARNBASE_TESTS_BEHAVIOUR_OBJECT_SPIES_H
#define TARNBASE_TESTS_BEHAVIOUR_OBJECT_SPIES_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tarnbase/runtime.h"

namespace tarn::test {

struct Call {
    std::string service;
    const void *subject = nullptr;  // the object or value that the call is about
    std::vector<std::uint64_t> arguments;
    std::string text;  // a name, path or text that it was given
};

// What a test wants a service to answer in place of the runtime.
struct Wishes {
    std::uint32_t domain_error = 0;              // kel_domain_lookup_variant, in *err
    std::optional<std::uint32_t> unmapping;      // kel_request_oid_mapping_destroy
    std::uint32_t unmapping_error = 0;           // the same, in *err
    std::vector<std::uint64_t> references;       // held by every string
    std::uint32_t references_error = 0;          // on fetching them, in *err
    std::uint64_t lost_reference = 0;            // the OID whose count can't be found
    const void *hd_mapping_failure = nullptr;    // the object that can't leave it
    bool null_access = false;                    // u_int32_get and u_int8_get answer null
    std::uint32_t set_error = 0;                 // u_int32_set_value, in *err
    std::optional<std::uint32_t> ra_data_error;  // kellib_get_ra_data
    bool ra_data_ignored = false;                // kellib_update_ra_all does nothing
    bool distances_recorded = false;             // kellib_update_sttr_offset does no more
    std::optional<std::uint32_t> element_value;  // xml_get_element_value
    std::uint32_t from_xml_error = 0;            // u_int32_from_xml, in *err
};

class Spies {
 public:
    std::vector<Call> calls;
    Wishes wishes;
    std::map<const void *, std::uint32_t> distances;  // with that wish

    void reset();
    void clear() { calls.clear(); }
    Call &note(const char *service, const void *subject);
    std::vector<Call> of(const std::string &service) const;
    // The calls about one object or value.
    std::vector<Call> of(const std::string &service, const void *subject) const;
    std::size_t count(const std::string &service) const { return of(service).size(); }
    // The services called, in order, of those named; joined by blanks.
    std::string order(const std::vector<std::string> &services) const;
};

extern Spies spies;

}  // namespace tarn::test

#endif
