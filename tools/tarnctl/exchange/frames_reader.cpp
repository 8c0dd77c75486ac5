// SPDX-License-Identifier: Apache-2.0
#include <fmt/core.h>

#include <algorithm>
#include <cstring>

#include "exchange/frames.h"
#include "exchange/sink.h"

namespace tarnctl {
namespace {

constexpr std::size_t largest_frame = std::size_t{1} << 30U;
// The longest name that a table can have.
constexpr std::size_t longest_name = 255;

class FramesReader {
 public:
    FramesReader(Input &input, const ReadOptions &options, Sink &sink)
        : input_(input), options_(options), sink_(sink) {}

    void read() {
        if (exactly(frames_magic.size(), "the beginning") != frames_magic)
            throw wrong(place(), fmt::format("expected `{}` at byte 0", frames_magic));
        const uint64_t version = number(4, "the version");
        if (version != format_version)
            throw wrong(place(), fmt::format("expected version {}, not {}{}", format_version,
                                             version, advice_on_version(std::to_string(version))));
        number(4, "the head's end");
        while (read_block()) {
        }
        if (input_.peek() != Input::end) throw wrong(place(), "expected the end of the file");
    }

 private:
    std::string place() const {
        return fmt::format("{}: frame {} at byte {}", input_.name(), records_ + 1, block_);
    }

    // Valid until the next call.
    std::string_view exactly(std::size_t count, std::string_view what) {
        const std::string_view rest = input_.rest();
        if (rest.size() >= count) {
            input_.pass(count);
            return rest.substr(0, count);
        }
        const uint64_t begin = input_.offset();
        bytes_ = input_.take(count);
        if (bytes_.size() == count) return bytes_;
        throw wrong(place(),
                    fmt::format("{} is cut off: expected {} bytes from byte {} on, found {}", what,
                                count, begin, bytes_.size()));
    }
    uint64_t number(std::size_t size, std::string_view what) {
        return frames::number_at(exactly(size, what), 0, size);
    }

    // False at the end.
    bool read_block() {
        block_ = input_.offset();
        const char mark = exactly(1, "the file").front();
        if (mark == frames::table_mark) {
            read_table();
            return true;
        }
        if (mark == frames::record_mark) {
            read_record();
            return true;
        }
        if (mark != frames::end_mark)
            throw wrong(place(), fmt::format("expected `T`, `R` or `E`, not the byte 0x{:02x}",
                                             static_cast<unsigned char>(mark)));
        const uint64_t records = number(8, "the end");
        if (records != records_)
            throw wrong(place(),
                        fmt::format("the file declares {} records, but has {}", records, records_));
        return false;
    }

    void read_table() {
        const std::string_view luid = exactly(frames::luid_size, "the table's LUID");
        const auto found =
            std::find_if(catalogue.tables.begin(), catalogue.tables.end(), [&](const Table *table) {
                return std::memcmp(table->luid, luid.data(), luid.size()) == 0;
            });
        if (found == catalogue.tables.end()) throw wrong(place(), "no table has this LUID");
        const uint64_t by_id = number(1, "the table");
        const uint64_t length = number(4, "the table");
        TableHead head{*found, {}, {}};
        if (by_id > 1 || (by_id == 1 && length != 8) || length > longest_name)
            throw wrong(place(),
                        fmt::format("{}: expected a name of at most {} bytes, or an id of 8",
                                    head.table->name, longest_name));
        if (by_id == 1) head.id = number(8, "the table's id");
        else head.name = exactly(length, "the table's name");
        sink_.begin_table(head);
        table_begun_ = true;
    }

    void read_record() {
        if (!table_begun_) throw wrong(place(), "expected a table before the first record");
        RecordHead head;
        head.tenant = static_cast<uint16_t>(number(2, "the record"));
        head.source = static_cast<uint8_t>(number(1, "the record"));
        head.pending = number(1, "the record") != 0;
        const uint64_t length = number(4, "the record");
        if (length > largest_frame)
            throw wrong(place(), fmt::format("a frame of {} bytes; expected {} at most", length,
                                             largest_frame));
        const std::string_view frame = exactly(length, "the frame");
        sink_.take(
            [this] { return place(); },
            [&](Draft &draft, Sink::Place &) { draft.take_frame(head, frame, options_.lenient); });
        ++records_;
    }

    Input &input_;
    std::string bytes_;  // that aren't together in the input
    const ReadOptions &options_;
    Sink &sink_;
    uint64_t records_ = 0;
    uint64_t block_ = 0;
    bool table_begun_ = false;
};

}  // namespace

void read_frames(Input &input, const ReadOptions &options, Sink &sink) {
    FramesReader(input, options, sink).read();
}

}  // namespace tarnctl
