// SPDX-License-Identifier: Apache-2.0
#include "library/manifest.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <map>

#include "base/failure.h"
#include "base/schema.h"
#include "library/section.h"

namespace tarnctl {
namespace {

constexpr uint32_t build_note_record = 1;
constexpr uint32_t manifest_record = 2;
constexpr std::size_t record_header = 8;
constexpr std::size_t identity_width = 32;
constexpr std::size_t line_width = 79;
constexpr std::string_view first_line_begin = "# ";
constexpr std::string_view first_line_end = ".minime";

[[noreturn]] void broken(const std::string &path, const std::string &what) {
    throw Failure(Exit::data, fmt::format("{}: the schema manifest can't be read: {}", path, what));
}

uint32_t number_at(std::string_view bytes, std::size_t at) {
    uint32_t number = 0;
    for (std::size_t i = 4; i-- > 0;) number = number << 8 | static_cast<uint8_t>(bytes[at + i]);
    return number;
}

std::vector<std::string> lines_of(std::string_view text) {
    std::vector<std::string> lines;
    for (std::size_t end = 0; !text.empty(); text.remove_prefix(std::min(end + 1, text.size()))) {
        end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
    }
    return lines;
}

// The payloads by type, without their closing NULs.
std::map<uint32_t, std::string_view> records_of(const std::string &path, std::string_view section) {
    std::map<uint32_t, std::string_view> records;
    for (std::size_t at = 0; at < section.size();) {
        const std::size_t remaining = section.size() - at;
        const std::size_t length = remaining < record_header ? 0 : number_at(section, at);
        if (length == 0 || length > remaining - record_header)
            broken(path, fmt::format("the record at byte {} is cut short", at));
        const std::string_view payload = section.substr(at + record_header, length);
        if (payload.find('\0') != length - 1)
            broken(path, fmt::format("the record at byte {} is no text", at));
        if (!records.emplace(number_at(section, at + 4), payload.substr(0, length - 1)).second)
            broken(path, fmt::format("the record at byte {} is a second one of its type", at));
        at += (record_header + length + 3) / 4 * 4;
    }
    return records;
}

bool is_identity(std::string_view text) {
    return text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

bool parse(std::string_view digits, uint32_t &number) {
    const char *end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    return error == std::errc() && stop == end;
}

bool parse_item(std::string_view line, ManifestItem &item) {
    if (line.size() != line_width || line[32] != ':' || line[72] != ':' || line[78] != 'N')
        return false;
    item.luid = line.substr(0, identity_width);
    item.digest = line.substr(33, identity_width);
    item.kind = line.substr(65, 4);
    return is_identity(item.luid) && is_identity(item.digest) && !kind_name(item.kind).empty() &&
           parse(line.substr(69, 3), item.variant) && parse(line.substr(73, 5), item.size);
}

std::string luid_of(const kel_type_info &descriptor) { return descriptor.luid_text; }

std::string_view name_of(const ManifestItem &item) {
    static const std::map<std::string, std::string_view> names = [] {
        std::map<std::string, std::string_view> all;
        const auto add = [&](const kel_type_info &each) { all.emplace(luid_of(each), each.name); };
        for (const Structure *each : catalogue.structures) add(*each->descriptor);
        for (const Enumeration *each : catalogue.enumerations) add(*each->descriptor);
        for (const Table *each : catalogue.tables) {
            add(*each->descriptor);
            add(*each->record_descriptor);
        }
        return all;
    }();
    const auto found = names.find(item.luid);
    return found == names.end() ? std::string_view() : found->second;
}

std::string difference(const ManifestItem &there, const ManifestItem &here) {
    std::string text;
    const auto add = [&](const char *what, const auto &a, const auto &b) {
        if (a != b) text += fmt::format("{}{} {}, here {}", text.empty() ? "" : "; ", what, a, b);
    };
    add("kind", kind_name(there.kind), kind_name(here.kind));
    add("highest variant", there.variant, here.variant);
    add("size", there.size, here.size);
    add("digest", there.digest, here.digest);
    return text;
}

}  // namespace

std::string_view kind_name(std::string_view kind) {
    if (kind == "enum") return "enum";
    if (kind == "type") return "type";
    if (kind == "tabl") return "table";
    return kind == "trec" ? "table_record" : "";
}

Manifest parse_manifest(const std::string &path, std::string_view section) {
    const auto records = records_of(path, section);
    const auto found = records.find(manifest_record);
    if (found == records.end()) broken(path, "the section holds none");
    Manifest manifest;
    std::size_t number = 0;
    for (const std::string &line : lines_of(found->second)) {
        if (++number == 1) {
            if (!line.starts_with(first_line_begin) || !line.ends_with(first_line_end))
                broken(path, "line 1: expected `# MODULE.minime`");
            manifest.module =
                line.substr(first_line_begin.size(),
                            line.size() - first_line_begin.size() - first_line_end.size());
        } else if (!parse_item(line, manifest.items.emplace_back())) {
            broken(path,
                   fmt::format("line {}: expected an item of {} characters", number, line_width));
        }
    }
    if (number == 0) broken(path, "line 1: expected `# MODULE.minime`");
    const auto note = records.find(build_note_record);
    if (note != records.end()) manifest.build = lines_of(note->second);
    return manifest;
}

Manifest read_manifest(const std::string &path) {
    return parse_manifest(path, read_section(path, ".orvan"));
}

Manifest own_manifest() {
    Manifest own{std::string(catalogue.module), {}, {}};
    const auto add = [&](const kel_type_info &descriptor, std::string_view digest, const char *kind,
                         uint32_t variant, uint32_t size) {
        own.items.push_back({luid_of(descriptor), std::string(digest), kind, variant, size});
    };
    for (const Structure *each : catalogue.structures) {
        const kel_variant_info &info = *each->descriptor->variant_info;
        const int top = info.variant_count - 1;
        add(*each->descriptor, each->digest, "type", static_cast<uint32_t>(top),
            (info.variants[top].used_length + 7) / 8 * 8);
    }
    for (const Enumeration *each : catalogue.enumerations)
        add(*each->descriptor, each->digest, "enum", 0, sizeof(kel_enum_object));
    for (const Table *each : catalogue.tables) {
        add(*each->descriptor, each->digest, "tabl", 0, 0);
        add(*each->record_descriptor, each->record_digest, "trec", 0, 0);
    }
    return own;
}

std::vector<Comparison> compare_with_own(const Manifest &manifest) {
    const Manifest own = own_manifest();
    std::map<std::string, const ManifestItem *> missing;
    for (const ManifestItem &item : own.items) missing.emplace(item.luid, &item);
    std::vector<Comparison> compared;
    for (const ManifestItem &item : manifest.items) {
        const auto here = missing.find(item.luid);
        const bool is_known = here != missing.end();
        // Not among the missing: the file has it twice.
        const std::string_view name = name_of(item);
        const char *other = name.empty() ? "new" : "there twice";
        compared.push_back({item, name, is_known ? difference(item, *here->second) : other});
        if (is_known) missing.erase(here);
    }
    for (const ManifestItem &item : own.items) {
        if (missing.count(item.luid) != 0) compared.push_back({item, name_of(item), "gone"});
    }
    return compared;
}

}  // namespace tarnctl
