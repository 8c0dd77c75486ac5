/* SPDX-License-Identifier: Apache-2.0 */
// The log of a store: checksums, frames as small commits have them, appending and reading. The
// files are in TMPDIR, else in /dev/shm.
#include <benchmark/benchmark.h>
#include <fcntl.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/folder.h"
#include "runtime/base/file.h"
#include "runtime/log/crc32c.h"
#include "runtime/log/frame.h"
#include "runtime/log/log.h"
#include "runtime/log/segment_files.h"

namespace {

using namespace tarnbase::runtime;

constexpr StoreId id{1};

class Folder {
 public:
    int descriptor() const { return file_.descriptor(); }

 private:
    bench::Folder folder_;
    File file_{::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
};

// A commit of so many operations: one allocation of 128 bytes, and writes of 8 to 64 bytes.
void build(FrameBuilder &builder, std::int64_t operations) {
    static const std::vector<char> content(128, 'x');
    const std::span<const char> bytes(content);
    builder.clear();
    builder.allocate(1 << 20, 128, bytes);
    for (std::int64_t i = 1; i < operations; ++i) {
        const auto offset = static_cast<std::uint64_t>(4096 + 256 * i);
        builder.write(offset, bytes.first(std::size_t{8} << i % 4));
    }
}

void set_bytes(benchmark::State &state, std::uint64_t each) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(each));
    state.counters["frame"] = static_cast<double>(each);
}

void crc32c_of(benchmark::State &state) {
    const std::vector<char> bytes(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) benchmark::DoNotOptimize(crc32c(bytes));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(crc32c_of)->Arg(64)->Arg(600)->Arg(1500)->Arg(65536);

void crc32c_by_table_of(benchmark::State &state) {
    const std::vector<char> bytes(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) benchmark::DoNotOptimize(crc32c_by_table(bytes));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(crc32c_by_table_of)->Arg(1500)->Arg(65536);

void build_frame(benchmark::State &state) {
    FrameBuilder builder;
    for (auto _ : state) {
        build(builder, state.range(0));
        benchmark::DoNotOptimize(builder.finish(1).data());
    }
    set_bytes(state, builder.length());
}
BENCHMARK(build_frame)->Arg(10)->Arg(30);

// A floor for `append`: the copy alone, to memory that is used again.
void copy_frame(benchmark::State &state) {
    FrameBuilder builder;
    build(builder, state.range(0));
    const auto frame = builder.finish(1);
    std::vector<char> memory(most_of_large_store);
    std::size_t at = 0;
    for (auto _ : state) {
        if (at + frame.size() > memory.size()) at = 0;
        std::memcpy(memory.data() + at, frame.data(), frame.size());
        at += frame.size();
        benchmark::ClobberMemory();
    }
    set_bytes(state, frame.size());
}
BENCHMARK(copy_frame)->Arg(10)->Arg(30);

// Starts a log in a folder. Returns whether that worked.
bool start(benchmark::State &state, const Folder &folder, LogWriter &writer) {
    Segment first;
    if (first.create(folder.descriptor(), id, 0) == 0 &&
        writer.open(folder.descriptor(), id, 0, 0) == 0) {
        return true;
    }
    state.SkipWithError("no log");
    return false;
}

// Includes new segments, but not the removal of old ones.
void append(benchmark::State &state) {
    const Folder folder;
    LogWriter writer;
    if (!start(state, folder, writer)) return;
    FrameBuilder builder;
    build(builder, state.range(0));
    const auto frame = builder.finish(1);
    std::uint64_t removed = 0;
    for (auto _ : state) {
        if (writer.append(frame) != 0) return state.SkipWithError("no space");
        if (writer.segment() - removed < 64 * most_of_large_store) continue;
        state.PauseTiming();
        removed = writer.segment();
        remove_segments(folder.descriptor(), writer.position(), removed);
        state.ResumeTiming();
    }
    set_bytes(state, frame.size());
}
BENCHMARK(append)->Arg(10)->Arg(30);

void create_segment(benchmark::State &state) {
    const Folder folder;
    for (auto _ : state) {
        Segment segment;
        const auto bytes = static_cast<std::uint64_t>(state.range(0));
        if (segment.create(folder.descriptor(), id, 0, bytes) != 0) {
            return state.SkipWithError("no space");
        }
    }
}
BENCHMARK(create_segment)->Arg(first_segment_bytes)->Arg(most_of_large_store);

// Checks each frame of a log of 64 MiB and visits its operations.
void read_frames(benchmark::State &state) {
    const Folder folder;
    LogWriter writer;
    if (!start(state, folder, writer)) return;
    FrameBuilder builder;
    std::uint64_t sequence = 1;
    while (writer.position() < 64 << 20) {
        build(builder, state.range(0));
        if (writer.append(builder.finish(sequence++)) != 0) return state.SkipWithError("no space");
    }
    LogReader reader;
    std::span<const char> frame;
    Operation operation;
    for (auto _ : state) {
        if (reader.position() == writer.position() || reader.position() == 0) {
            if (reader.open(folder.descriptor(), id, 0, 0, 1) != 0) {
                return state.SkipWithError("no log");
            }
        }
        if (reader.next(writer.position(), frame) != 0) return state.SkipWithError(reader.what());
        OperationReader operations(frame);
        while (operations.next(operation)) benchmark::DoNotOptimize(operation);
    }
    set_bytes(state, builder.length());
}
BENCHMARK(read_frames)->Arg(10)->Arg(30);

// A refresh without changes.
void read_nothing(benchmark::State &state) {
    const Folder folder;
    LogWriter writer;
    if (!start(state, folder, writer)) return;
    LogReader reader;
    if (reader.open(folder.descriptor(), id, 0, 0, 1) != 0) return state.SkipWithError("no log");
    std::span<const char> frame;
    for (auto _ : state) benchmark::DoNotOptimize(reader.next(writer.position(), frame));
}
BENCHMARK(read_nothing);

}  // namespace
