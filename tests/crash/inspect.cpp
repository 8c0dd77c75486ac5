// SPDX-License-Identifier: Apache-2.0
#include "tests/crash/inspect.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "tarnbase/module.h"

namespace crash {

namespace {

// The frames that are still in the ring can be read, and the newest has the
// expected position.
void read_ring(tarn::session &session, State &state) {
    kel_handle *const handle = session.c_handle();
    kel_replication_reader reader;
    if (kel_replication_reader_open(handle, KEL_REPLICATION_NEWEST, &reader) != 0) return;
    state.has_ring = true;
    state.replicated = reader.position;
    if (kel_replication_reader_open(handle, KEL_REPLICATION_OLDEST, &reader) != 0) {
        throw std::runtime_error("the oldest frame can't be read");
    }
    std::vector<char> buffer(1 << 16);
    for (std::uint64_t position = reader.position; position < state.replicated; ++position) {
        kel_replication_frame frame;
        const std::uint32_t error = kel_replication_next(
            handle, &reader, buffer.data(), static_cast<std::uint32_t>(buffer.size()), &frame);
        if (error != 0 || frame.position != position || frame.length == 0) {
            throw std::runtime_error("frame " + std::to_string(position) + " of " +
                                     std::to_string(state.replicated) + ": error " +
                                     std::to_string(error));
        }
    }
}

}  // namespace

State inspect(const tarn::store &store) {
    // This changes nothing in the store.
    tarn::session session(store, tarn::descriptors::of_library);
    State state;
    for (std::size_t i = 0; i < subject_count; ++i) {
        const auto table = open_existing(session, static_cast<Subject>(i));
        if (table == nullptr) continue;
        state.is_open[i] = true;
        state.rows[i] = table->read();
        if (i == groups) state.is_marked = table->c_table()->replication_marked != 0;
    }
    state.has_extra = has_extra(session);
    read_ring(session, state);
    return state;
}

void check_sound(const tarn::store &store) {
    std::string found;
    const std::uint32_t error = kel_store_check(
        store.c_store(), tarnbase_table_get_vft,
        [](const char *text, void *context) {
            static_cast<std::string *>(context)->append(text).append("; ");
        },
        nullptr, &found);
    if (error != 0) throw std::runtime_error(found.empty() ? kel_error_text() : found);
    tarn::session session(store, tarn::descriptors::of_library);
    for (std::size_t i = 0; i < subject_count; ++i) {
        const auto table = open_existing(session, static_cast<Subject>(i));
        if (table != nullptr) table->print();
    }
}

}  // namespace crash
