// SPDX-License-Identifier: Apache-2.0
//
// The document of frames, which exchange/frames.h describes: a head, tables with their records,
// and an end.
#include <fmt/core.h>

#include <algorithm>

#include "decode/decoder.h"
#include "exchange/frames.h"

namespace tarnctl {

void Decoder::document() {
    in_.heading("document of frames", "");
    in_.peek(16, "head");
    in_.take(8, "mark", "TARNFRAM");
    in_.take(4, "version", std::to_string(in_.peek_number(4, "version")));
    in_.take(4, "zero", "");
    for (;;) {
        const uint64_t mark = in_.peek_number(1, "mark");
        if (mark == frames::table_mark) {
            document_table();
        } else if (mark == frames::record_mark) {
            document_record();
        } else if (mark == frames::end_mark) {
            in_.take(1, "end", "E");
            in_.take(8, "records", std::to_string(in_.peek_number(8, "records")));
            return in_.take_unknown(SIZE_MAX, "after the end", true);
        } else {
            in_.problem("mark", fmt::format("is {}: no table, record or end starts here", mark));
            throw Stuck{};
        }
    }
}

void Decoder::document_table() {
    in_.take(1, "table of the document", "T");
    in_.descend();
    luid(nullptr);
    const bool by_id = in_.peek_number(1, "opened by") != 0;
    in_.take(1, "opened by", by_id ? "id" : "name");
    const auto length = static_cast<std::size_t>(in_.peek_number(4, "length"));
    in_.take(4, "length", std::to_string(length));
    const Bytes bytes = in_.peek(length, "name");
    if (by_id)
        in_.take(length, "id",
                 std::to_string(in_.peek_number(std::min<std::size_t>(length, 8), "id")));
    else in_.take(length, "name", std::string(bytes.begin(), bytes.end()));
    in_.ascend();
}

void Decoder::document_record() {
    in_.take(1, "record of the document", "R");
    in_.descend();
    const auto number = [&](const char *name, std::size_t size) {
        in_.take(size, name, std::to_string(in_.peek_number(size, name)));
    };
    number("tenant", 2);
    number("source", 1);
    number("pending", 1);
    number("length", 4);
    in_.ascend();
    frame(nullptr);
}

}  // namespace tarnctl
