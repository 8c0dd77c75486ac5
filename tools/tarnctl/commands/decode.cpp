// SPDX-License-Identifier: Apache-2.0
//
// tarnctl decode: wire bytes with their meaning.
#include <fmt/core.h>

#include <cctype>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string_view>

#include "base/hex.h"
#include "base/options.h"
#include "commands/command.h"
#include "decode/pieces.h"
#include "exchange/format.h"
#include "exchange/input.h"
#include "json/document.h"
#include "model/instance.h"
#include "tarnbase/runtime.h"
#include "terminal/screen.h"
#include "terminal/style.h"

namespace tarnctl {
namespace {

constexpr const char *footer = R"(
The input is one or more records as a table's record marshal writes them, one
after the other; with --as objects of a structure, or with --key keys of a
table. A document that export writes as frames is decoded too. Hexadecimal input
may have blanks, line ends, colons, commas, 0x and comments from # to the end of
a line. Without --hex and --binary, input that starts like a record is binary;
other input is hexadecimal if all of it is.

Bytes without a known meaning, such as the fields of a newer writer, are shown as
unknown; malformed bytes are marked with a !, and the exit status is 3.

Examples:
  tarnctl export ldap_conn --format frames --store net.store | tarnctl decode
  echo '0000 11000000 05000000 6c64617031 07000000' |
      tarnctl decode --as st_ldap_conn
  tarnctl decode --as ldap_conn --key key.bin)";

struct Options {
    std::string file = "-";
    std::string as;
    bool key = false;
    bool hex = false;
    bool binary = false;
    bool json = false;
};

bool is_separator(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0 || c == ':' || c == ',';
}

// Hexadecimal text as bytes. `line` counts up as it is read.
std::vector<uint8_t> from_hex(const std::string &file, const std::string &text) {
    std::vector<uint8_t> bytes;
    std::size_t line = 1;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n') ++line;
        if (is_separator(text[i])) continue;
        if (text[i] == '#') {
            i = std::min(text.find('\n', i), text.size()) - 1;
            continue;
        }
        const bool prefix =
            text[i] == '0' && i + 1 < text.size() && (text[i + 1] == 'x' || text[i + 1] == 'X');
        if (prefix) {
            ++i;
            continue;
        }
        const int high = hex_digit_value(text[i]);
        const int low = i + 1 < text.size() ? hex_digit_value(text[i + 1]) : -1;
        if (high < 0 || low < 0)
            throw Failure(Exit::data, fmt::format("{}:{}: expected pairs of hexadecimal digits, at "
                                                  "`{}`",
                                                  file, line, text.substr(i, 2)));
        bytes.push_back(static_cast<uint8_t>(high << 4 | low));
        ++i;
    }
    return bytes;
}

// The form of an exported JSON or XML document, recognised by its root.
std::optional<Format> export_form(std::string_view bytes) {
    const std::optional<Format> format = format_of_content(bytes);
    if (!format || *format == Format::frames) return std::nullopt;
    const std::string_view root = *format == Format::json        ? "\"tarnbase\""
                                  : *format == Format::yang_json ? "\"tarnbase:tables\""
                                                                 : "<tarnbase";
    const bool has_root = bytes.substr(0, 256).find(root) != std::string_view::npos;
    return has_root ? format : std::nullopt;
}

void refuse_store(const std::string &path) {
    std::error_code ignored;
    if (!std::filesystem::exists(std::filesystem::path(path) / "control", ignored)) return;
    throw Failure(Exit::data, fmt::format("{}: this is a tarnbase store, not a frame; use tarnctl "
                                          "show --store {}",
                                          path, path));
}

// Refuses input that isn't wire bytes and would be shown as malformed.
void check_input(const Options &options, std::string_view bytes) {
    const std::string name = options.file == "-" ? "standard input" : options.file;
    const auto refuse = [&](std::string_view what) {
        throw Failure(Exit::data, fmt::format("{}: {}", name, what));
    };
    if (bytes.empty()) refuse("empty; expected wire bytes");
    if (const std::optional<Format> format = export_form(bytes))
        refuse(fmt::format("this is {} export, not a frame; tarnctl import and diff read it",
                           *format == Format::xml ? "an XML" : "a JSON"));
}

bool looks_like_hex(const std::string &text) {
    if (text.empty() || static_cast<uint8_t>(text[0]) == KEL_MESSAGE_MARKER) return false;
    bool comment = false;
    for (const char c : text) {
        if (c == '#') comment = true;
        if (c == '\n') comment = false;
        if (!comment && !is_separator(c) && hex_digit_value(c) < 0 && c != 'x' && c != 'X')
            return false;
    }
    return true;
}

Form form_of(const Options &options) {
    if (options.as.empty()) {
        if (options.key) throw Failure(Exit::usage, "--key needs a table, named with --as");
        return {};
    }
    const Structure *structure = catalogue.structure(options.as);
    if (structure != nullptr && !options.key) return {Form::Kind::objects, nullptr, structure};
    const Table &table = table_named(options.as);
    return {options.key ? Form::Kind::keys : Form::Kind::frames, &table, nullptr};
}

std::string hexadecimal(Bytes bytes) {
    std::string text;
    for (const uint8_t byte : bytes) text += fmt::format("{}{:02x}", text.empty() ? "" : " ", byte);
    return text;
}

// Prints a piece: its bytes in rows, with the name and the value after the first.
void print_piece(const Piece &piece, Bytes bytes, std::size_t row) {
    const Screen &screen = output_screen();
    const std::string name = fmt::format("{:{}}{}", "", 2 * piece.depth, piece.name);
    const std::string value = shown(piece.value, screen);
    const std::string note = piece.problem ? red(fmt::format("! {}", value), screen) : value;
    std::size_t done = 0;
    do {
        const std::size_t length = std::min(row, piece.length - done);
        const std::string text = hexadecimal(bytes.subspan(piece.offset + done, length));
        const std::string offset =
            piece.length == 0 ? "" : fmt::format("{:06x}", piece.offset + done);
        std::string line = fmt::format("{:6}  {:{}}", offset, text, 3 * row - 1);
        if (done == 0)
            line += note.empty() ? fmt::format("  {}", name) : fmt::format("  {}: {}", name, note);
        line.erase(line.find_last_not_of(' ') + 1);
        std::cout << line << '\n';
        done += length;
    } while (done < piece.length);
}

Json json_of(const Piece &piece, Bytes bytes) {
    const Bytes own = bytes.subspan(piece.offset, piece.length);
    const std::string_view text(reinterpret_cast<const char *>(own.data()), own.size());
    return {{"offset", piece.offset}, {"bytes", hex_of(text)}, {"depth", piece.depth},
            {"name", piece.name},     {"value", piece.value},  {"problem", piece.problem}};
}

void print_json(const std::vector<Piece> &pieces, Bytes bytes) {
    Json all = Json::array();
    for (const Piece &piece : pieces) all.add(json_of(piece, bytes));
    // A string's own bytes are in `bytes`; in `value` bytes that aren't UTF-8 are replaced.
    std::cout << all.dump(2) << '\n';
}

void run(const Options &options, Exit &status) {
    Form form = form_of(options);
    refuse_store(options.file);
    const std::string text = Input(options.file).take(SIZE_MAX);
    const bool hex = options.hex || (!options.binary && looks_like_hex(text));
    const std::vector<uint8_t> bytes =
        hex ? from_hex(options.file, text) : std::vector<uint8_t>(text.begin(), text.end());
    const std::string_view content(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    check_input(options, content);
    if (options.as.empty() && content.starts_with(frames_magic)) form.kind = Form::Kind::document;
    // Short enough for the names to fit on a terminal of 80 columns.
    const std::size_t width = output_screen().width;
    const std::size_t row = width != 0 && width < 100 ? 8 : 16;
    const std::vector<Piece> pieces = take_apart(bytes, form, row);
    if (options.json) print_json(pieces, bytes);
    else
        for (const Piece &piece : pieces) print_piece(piece, bytes, row);
    for (const Piece &piece : pieces) {
        if (piece.problem) status = Exit::data;
    }
}

}  // namespace

void declare_decode(cli::Command &program, Exit &status) {
    const auto options = std::make_shared<Options>();
    cli::Command &command = program.command("decode", "Show wire bytes with their meaning");
    command.argument("FILE", cli::into(options->file),
                     "File of wire bytes; standard input by default");
    command.option("--as", "TABLE|TYPE", cli::into(options->as),
                   "What the bytes are: records of this table whatever LUID they carry, or "
                   "objects of this structure");
    command.flag("--key", options->key, "The bytes are keys of the table named with --as");
    command.flag("--hex", options->hex, "The input is hexadecimal text");
    command.flag("--binary", options->binary, "The input is bytes").excludes("hex");
    add_json_option(command, options->json);
    command.notes = footer;
    command.action = [options, &status] { run(*options, status); };
}

}  // namespace tarnctl
