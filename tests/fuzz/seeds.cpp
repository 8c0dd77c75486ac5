// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/seeds.h"

#include <set>
#include <sstream>
#include <vector>

#include "object/fields.h"
#include "object/object.h"
#include "table/table.h"
#include "tests/fuzz/exercise.h"
#include "tests/fuzz/fill.h"
#include "tests/fuzz/forms.h"
#include "tests/fuzz/json_seeds.h"
#include "tests/fuzz/mutate.h"
#include "tests/fuzz/store_changes.h"
#include "tests/fuzz/store_pieces.h"
#include "tests/support/module.h"

namespace tarnbase::fuzz {

namespace {

constexpr u8 half = 128;

const char *const mode_names[mode_count] = {"plain", "tracking", "store_types", "old"};

void add_seed(const TakeSeed &take, const std::string &name, std::vector<u8> bytes, Bytes form) {
    bytes.insert(bytes.end(), form.begin(), form.end());
    take(name, bytes);
}

std::string named(const char *item, u32 mode) { return std::string(item) + "." + mode_names[mode]; }

// `item` selects it in an input; `mode` is the mode in which it was written, and it is
// read in all modes in turn.
u8 conditions_of(u32 item, u32 mode) {
    return static_cast<u8>((mode + item) % mode_count | (item % 2) << 2 | (item % 4) << 4);
}

void object_seeds(const TakeSeed &take) {
    u32 item = 0;
    for (const Structure *type : all_structures()) {
        for (u32 mode = 0; mode < 2; ++mode) {
            const Round round(Conditions(static_cast<u8>(mode)));
            Random random(item);
            void *object = make_object(*type, round, random);
            add_seed(take, named(type->name, mode),
                     {static_cast<u8>(item), conditions_of(item, mode), half},
                     wire(*type, round, object));
            object::destroy(*type, round.call(), object);
        }
        ++item;
    }
    for (const Enumeration *type : all_enumerations()) {
        const u8 last[] = {0, static_cast<u8>(type->count - 1), 0, 0, 0};
        add_seed(take, type->name, {static_cast<u8>(item), conditions_of(item, 0), half}, last);
        ++item;
    }
}

std::vector<u8> key_form(const Table &model, const Round &round, const kel_record *record) {
    u32 err = 0;
    const u32 length = table::pkey_len(model, round.call(), record);
    std::vector<u8> bytes(length + 1);
    table::pkey_marshal(model, round.call(err), {bytes.data(), length}, record);
    require(err == 0, "a key can be marshalled");
    bytes.resize(length);
    return bytes;
}

void record_seeds(const TakeSeed &take) {
    constexpr u8 key = 0x80;
    u8 item = 0;
    for (const Table *model : all_tables()) {
        for (u32 mode = 0; mode < 2; ++mode) {
            const Round round(Conditions(static_cast<u8>(mode)));
            Random random(item);
            kel_record *record = make_record(*model, round, random);
            const u8 conditions = conditions_of(item, mode);
            add_seed(take, named(model->name, mode), {item, conditions, half},
                     frame(*model, round, record));
            add_seed(take, named(model->name, mode) + ".key",
                     {static_cast<u8>(key | item), conditions, half},
                     key_form(*model, round, record));
            u32 err = 0;
            table::destroy_record(*model, round.call(err), record);
        }
        ++item;
    }
}

Bytes bytes_of(const std::string &text) {
    return {reinterpret_cast<const u8 *>(text.data()), text.size()};
}

// At most three elements of a kind in sequence: a whole array is too long for a fuzzer.
std::string with_few_elements(const std::string &text) {
    constexpr u32 few = 3;
    std::istringstream lines(text);
    std::string shortened, last;
    u32 in_a_row = 0;
    for (std::string line; std::getline(lines, line);) {
        const std::string tag = line.substr(0, line.find_first_of(" >"));
        in_a_row = tag == last ? in_a_row + 1 : 1;
        last = tag;
        if (in_a_row <= few) shortened += line + "\n";
    }
    return shortened;
}

void add_xml_seed(const TakeSeed &take, const std::string &name, u32 item,
                  const std::string &text) {
    const std::vector<u8> start = {static_cast<u8>(item), conditions_of(item, 0), half};
    add_seed(take, name, start, bytes_of(text));
    const std::string shortened = with_few_elements(text);
    if (shortened != text) add_seed(take, name + ".few", start, bytes_of(shortened));
}

void xml_seeds(const TakeSeed &take) {
    u32 item = 0;
    for (const Structure *type : all_structures()) {
        const Round round(Conditions(static_cast<u8>(item % 2)));
        Random random(item);
        void *object = make_object(*type, round, random);
        add_xml_seed(take, type->name, item, xml_of(*type, round, object, half));
        object::destroy(*type, round.call(), object);
        ++item;
    }
    for (const Enumeration *type : all_enumerations()) {
        const std::string text = std::string("<") + type->name + "><" + type->enumerators->name +
                                 "/></" + type->name + ">\n";
        add_xml_seed(take, type->name, item, text);
        ++item;
    }
    for (const Table *model : all_tables()) {
        const Round round(Conditions(0));
        Random random(item);
        kel_record *record = make_record(*model, round, random);
        const auto text =
            text_form(half, [&](char *buffer, u32 length, u32 *err) {
                return table::record_to_xml(*model, round.call(*err), {buffer, length}, record);
            }).first;
        add_xml_seed(take, model->name, item, text);
        u32 err = 0;
        table::destroy_record(*model, round.call(err), record);
        ++item;
    }
}

void frame_seeds(const TakeSeed &take) {
    constexpr u32 streams = 64;
    for (u32 i = 0; i < streams; ++i) {
        Random random(i);
        take("stream_" + std::to_string(i), new_stream(random));
    }
}

// ---- Dictionaries ----------------------------------------------------------------

std::string entry(Bytes bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string line = "\"";
    for (const u8 byte : bytes) {
        line += "\\x";
        line += digits[byte >> 4];
        line += digits[byte & 15];
    }
    return line + "\"\n";
}

std::string wire_words() {
    std::string words;
    for (const Table *model : all_tables()) words += entry({model->luid, 16});
    constexpr u32 numbers[] = {0, 1, 1440, 0x7fffffff, 0x80000000, 0xffffffff, 0x7ffffff0};
    for (const u32 number : numbers) words += entry({reinterpret_cast<const u8 *>(&number), 4});
    // Beginnings of objects: each variant and each flag, with a jump.
    constexpr u8 starts[][6] = {{0, 0, 10, 0, 0, 0},      {1, 0, 10, 0, 0, 0}, {255, 0, 4, 0, 0, 0},
                                {0, 8, 12, 0, 0, 0},      {0, 32, 0, 0, 0, 0}, {3, 40, 0, 0, 0, 0},
                                {127, 8, 255, 255, 0, 0}, {128, 0, 4, 0, 0, 0}};
    for (const auto &start : starts) words += entry(start);
    constexpr u8 header[] = {188, 255, 255, 255, 255, 255, 255, 0};
    return words + entry(header);
}

void add_tags(std::set<std::string> &words, const std::string &name) {
    words.insert("<" + name + ">");
    words.insert("</" + name + ">");
}

std::string xml_words() {
    std::set<std::string> words = {
        "<!--",      "-->",      "<![CDATA[",    "]]>",   "<?xml version='1.0'?>",
        "&amp;",     "&lt;",     "&#0;",         "&#10;", "&#x10ffff;",
        "<!DOCTYPE", "<!ENTITY", " state=\"2\"", "/>",    "xmlns='a'"};
    for (const Structure *type : all_structures()) {
        add_tags(words, type->name);
        for (const Field &field : object::fields_of(*type)) add_tags(words, field.name);
    }
    for (const Enumeration *type : all_enumerations()) {
        add_tags(words, type->name);
        for (u32 i = 0; i < type->count; ++i) {
            words.insert(std::string("<") + type->enumerators[i].name + "/>");
        }
    }
    for (const Table *model : all_tables()) add_tags(words, model->name);
    std::string lines;
    for (const std::string &word : words) lines += entry(bytes_of(word));
    return lines;
}

std::string json_entries() {
    std::string lines;
    for (const std::string &word : json_words()) lines += entry(bytes_of(word));
    return lines;
}

std::string store_entries() {
    std::string lines;
    for (const std::vector<u8> &word : store_words()) lines += entry(word);
    return lines;
}

}  // namespace

void make_seeds(const Target &target, const TakeSeed &take) {
    if (target.run == fuzz_object) return object_seeds(take);
    if (target.run == fuzz_record) return record_seeds(take);
    if (target.run == fuzz_xml) return xml_seeds(take);
    if (target.run == fuzz_checkpoint) return checkpoint_seeds(take);
    if (target.run == fuzz_log) return log_seeds(take);
    if (target.run == fuzz_segment) return segment_seeds(take);
    if (target.run == fuzz_store) return change_seeds(take);
    if (target.run == fuzz_json) return json_seeds(take);
    frame_seeds(take);
}

std::string make_dictionary(const Target &target) {
    if (target.run == fuzz_checkpoint || target.run == fuzz_log) return store_entries();
    if (target.run == fuzz_json) return json_entries();
    return target.run == fuzz_xml ? xml_words() : wire_words();
}

}  // namespace tarnbase::fuzz
