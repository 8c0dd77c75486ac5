// SPDX-License-Identifier: Apache-2.0
// Acts as a receiver of a stream of frames: finds each frame's table by the LUID, reads the
// record, inserts it in the table, and continues after the frame.
#include <algorithm>
#include <vector>

#include "table/table.h"
#include "tests/fuzz/fill.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/tabled.h"
#include "tests/fuzz/wire_items.h"

namespace tarnbase::fuzz {

namespace {

constexpr std::size_t max_frames = 64;

struct Received {
    const Table *model;
    kel_record *record;
    bool inserted;
};

// Reads one frame. Returns the number of its bytes, or 0 at the end of the stream.
u32 receive(const Round &round, const Buffer &stream, u32 cursor, std::vector<Received> &records) {
    const Table *model = table_of_frame({stream.data() + cursor, stream.size() - cursor});
    if (model == nullptr) return 0;
    kel_record *record = nullptr;
    u32 err = 0;
    const u32 taken = table::record_unmarshal(*model, round.call(err),
                                              {stream.data() + cursor, stream.size() - cursor},
                                              &record, InPlace::no);
    const bool inserted = err == 0 && is_whole(*model, record) && insert(*model, round, record);
    records.push_back({model, record, inserted});
    return err == 0 ? taken : 0;
}

std::vector<Received> receive_all(const Round &round, const Buffer &stream) {
    std::vector<Received> records;
    for (u32 cursor = 0; cursor < stream.size() && records.size() < max_frames;) {
        const u32 taken = receive(round, stream, cursor, records);
        // A jump can point anywhere: a receiver must not leave the received bytes.
        if (taken == 0 || taken > stream.size() - cursor) break;
        cursor += taken;
    }
    return records;
}

}  // namespace

void fuzz_frame(Bytes bytes) {
    Input input(bytes);
    const u8 flags = input.byte();
    const Conditions conditions(flags);
    const Buffer stream = input.rest();
    const Round round(conditions);
    const std::vector<Received> records = receive_all(round, stream);
    for (const Received &each : records) {
        if (!is_whole(*each.model, each.record)) continue;
        use_forms(*each.model, round, each.record, flags);
        if (!each.inserted) continue;
        find(*each.model, round, each.record);
        walk(*each.model, round);
    }
    // The rollback removes the transaction's records.
    if (conditions.memory == Memory::transaction && conditions.used) return;
    for (const Received &each : records) destroy(*each.model, round, each.record);
}

}  // namespace tarnbase::fuzz
