// SPDX-License-Identifier: Apache-2.0
// Reads a document of JSON as an import of tarnctl does: in pieces, and its outer objects and
// arrays one by one. What is read is what another reader of JSON reads.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "exchange/json_parser.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/round.h"

namespace tarnbase::fuzz {

namespace {

using Document = nlohmann::ordered_json;

// The reader refuses the document.
struct Refused {};

// Puts the values together again.
class Assembler : public tarnctl::JsonEvents {
 public:
    Assembler(std::size_t most_opened, u64 lines) : most_opened_(most_opened), lines_(lines) {}

    bool opens(bool array) override {
        if (open_.size() == most_opened_) return false;
        open_.push_back({array ? Document::array() : Document::object(), ""});
        return true;
    }
    void closes() override {
        Document closed = std::move(open_.back().value);
        open_.pop_back();
        add(std::move(closed));
    }
    void member(const std::string &name) override { open_.back().name = name; }
    void value(tarnctl::JsonView json, const tarnctl::JsonLines &lines) override {
        require(is_line(lines.begin), "a value begins in a line of the document");
        for (const auto &[path, line] : lines.members)
            require(line > lines.begin && is_line(line), "a member is in a line after its object");
        add(Document::parse(json.dump()));
    }
    [[noreturn]] void fail(const std::string &) const override { throw Refused{}; }

    const Document &whole() const { return whole_; }

 private:
    struct Open {
        Document value;
        std::string name;  // of the next member
    };

    bool is_line(u64 line) const { return line > 0 && line <= lines_; }

    void add(Document value) {
        if (open_.empty()) whole_ = std::move(value);
        else if (open_.back().value.is_array()) open_.back().value.push_back(std::move(value));
        else open_.back().value[open_.back().name] = std::move(value);
    }

    const std::size_t most_opened_;
    const u64 lines_;
    std::vector<Open> open_;
    Document whole_;
};

// A pipe from which each read gets at most one piece.
class Pipe {
 public:
    Pipe(std::string_view text, std::size_t piece) {
        int ends[2];
        require(pipe2(ends, O_CLOEXEC | O_DIRECT) == 0, "there is a pipe");
        reading_ = ends[0];
        // A pipe has 16 places.
        piece = std::max(piece, text.size() / 15 + 1);
        for (; !text.empty(); text.remove_prefix(std::min(piece, text.size()))) {
            const std::string_view next = text.substr(0, piece);
            require(write(ends[1], next.data(), next.size()) == static_cast<ssize_t>(next.size()),
                    "a piece is in the pipe");
        }
        close(ends[1]);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    ~Pipe() { close(reading_); }

    std::string path() const { return "/proc/self/fd/" + std::to_string(reading_); }

 private:
    int reading_;
};

}  // namespace

void fuzz_json(Bytes bytes) {
    constexpr std::size_t most_opened = 8;
    constexpr std::size_t longest = 8192;
    Input start(bytes);
    const std::size_t opened = start.byte() % most_opened;
    const std::size_t piece = std::size_t{start.byte()} + 1;
    const Buffer rest = start.rest();
    const std::string_view text(reinterpret_cast<const char *>(rest.data()),
                                std::min<std::size_t>(rest.size(), longest));
    const u64 lines = 1 + static_cast<u64>(std::ranges::count(text, '\n'));
    const Pipe pipe(text, piece);
    tarnctl::Input input(pipe.path());
    Assembler assembler(opened, lines);
    try {
        tarnctl::parse_json(input, assembler);
    } catch (const Refused &) {
        require(input.line() <= lines, "an error is in a line of the document");
        return;
    }
    require(input.line() == lines, "the lines are counted");
    require(assembler.whole().dump() == Document::parse(text).dump(),
            "a document has the values that it has to another reader");
}

}  // namespace tarnbase::fuzz
