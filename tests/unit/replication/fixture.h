/* SPDX-License-Identifier: Apache-2.0 */
// A replicated table of numbers, and the steps that all replication tests share.
#ifndef TARNBASE_TESTS_UNIT_REPLICATION_FIXTURE_H
#define TARNBASE_TESTS_UNIT_REPLICATION_FIXTURE_H

#include <cstdint>
#include <string>
#include <vector>

#include "tarnbase/runtime.h"
#include "tarnbase/tarnbase.h"
#include "tests/support/fixture.h"

namespace tarn::test {

using Bytes = std::vector<std::uint8_t>;

// tbl_test_number of a handle's store, marked and armed, the engine attached.
class Numbers {
 public:
    explicit Numbers(kel_handle *handle, const char *name = "numbers");

    // A record with this key and label, not in the index.
    kel_record *make(std::uint32_t key, const std::string &label = "");
    // The same, inserted.
    kel_record *put(std::uint32_t key, const std::string &label = "");
    // Inserts, and returns the error.
    std::uint32_t insert(kel_record *record);
    kel_record *find(std::uint32_t key);
    // A record as the table's own marshal writes it.
    Bytes marshalled(kel_record *record);

    void begin();
    void commit();
    void rollback();

    kel_handle *handle;
    kel_table *table = nullptr;
    std::uint32_t tx = KEL_TX_NONE;
    std::uint32_t err = 0;
};

// One result of kel_replication_next.
struct Read {
    std::uint32_t status = 0;
    kel_replication_frame frame = {};
    Bytes bytes;
};

kel_replication_reader open_reader(kel_handle *handle,
                                   std::uint64_t position = KEL_REPLICATION_OLDEST);
Read read_next(kel_handle *handle, kel_replication_reader &reader);
// The marshalled records from the reader's position on, until there is none.
std::vector<Bytes> read_all(kel_handle *handle, kel_replication_reader &reader);
// The same from the oldest frame on.
std::vector<Bytes> read_all(kel_handle *handle);

// A private store with a replicated table.
class ReplicationTest : public PlainTest {
 protected:
    Numbers numbers{handle};
};

}  // namespace tarn::test

#endif
