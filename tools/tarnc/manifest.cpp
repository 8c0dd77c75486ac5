// SPDX-License-Identifier: Apache-2.0
#include "manifest.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>
#include <vector>

namespace tarnc {
namespace {

constexpr std::uint32_t manifest_record = 2;
constexpr std::uint32_t build_note_record = 1;
constexpr unsigned enumeration_size = 16;

// Lines under the key that orders them.
using Lines = std::vector<std::pair<std::string, std::string>>;

std::string line(const Identity &identity, const char *kind, int version, unsigned size) {
    char tail[32];
    std::snprintf(tail, sizeof tail, "%s%03d:%05uN\n", kind, version, size);
    return identity.luid + ":" + identity.digest + tail;
}

std::string in_order(Lines lines) {
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const auto &[key, each] : lines) text += each;
    return text;
}

std::string types_and_enumerations(const Schema &schema) {
    Lines lines;
    for (const Enumeration &each : schema.enumerations)
        lines.emplace_back(each.name, line(each.identity, "enum", 0, enumeration_size));
    for (const Structure &each : schema.structures) {
        const unsigned size = (each.variants.back().used + 7) / 8 * 8;
        lines.emplace_back(each.name, line(each.identity, "type", each.top_variant(), size));
    }
    return in_order(std::move(lines));
}

std::string tables_and_records(const Schema &schema) {
    Lines lines;
    for (const Table &each : schema.tables) {
        lines.emplace_back(each.identity.luid, line(each.identity, "tabl", 0, 0));
        lines.emplace_back(each.record_identity.luid, line(each.record_identity, "trec", 0, 0));
    }
    return in_order(std::move(lines));
}

std::string user_name() {
    const passwd *user = getpwuid(geteuid());
    return user != nullptr ? user->pw_name : std::to_string(geteuid());
}

std::string host_name() {
    char name[256] = {};
    return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

// "Sat Nov 21 05:36:01.123456789 2026"
std::string time_text(const std::tm &time, long nanoseconds) {
    char clock[64];
    char fraction[32];
    char year[32];
    std::strftime(clock, sizeof clock, "%a %b %e %H:%M:%S", &time);
    std::snprintf(fraction, sizeof fraction, ".%09ld", nanoseconds);
    std::strftime(year, sizeof year, " %Y", &time);
    return std::string(clock) + fraction + year;
}

std::string now() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    std::tm parts{};
    localtime_r(&time.tv_sec, &parts);
    return time_text(parts, time.tv_nsec);
}

std::string at_epoch(const char *seconds) {
    const std::time_t time = std::strtoll(seconds, nullptr, 10);
    std::tm parts{};
    gmtime_r(&time, &parts);
    return time_text(parts, 0);
}

void append_number(std::string &bytes, std::uint32_t number) {
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(number >> shift & 0xff);
}

void append_record(std::string &bytes, std::uint32_t type, const std::string &text) {
    append_number(bytes, static_cast<std::uint32_t>(text.size() + 1));
    append_number(bytes, type);
    bytes += text;
    bytes += '\0';
    bytes.resize((bytes.size() + 3) / 4 * 4, '\0');
}

}  // namespace

std::string manifest(const Schema &schema) {
    return "# " + schema.module + ".minime\n" + types_and_enumerations(schema) +
           tables_and_records(schema);
}

std::string build_note(const Schema &schema, const Build &build) {
    const char *epoch = std::getenv("SOURCE_DATE_EPOCH");
    const bool varies = epoch == nullptr;
    std::string text = schema.module + "\n";
    text += "built by: " + (varies ? user_name() : "") + "\n";
    text += "on host: " + (varies ? host_name() : "") + "\n";
    text += "pid: " + (varies ? std::to_string(getpid()) : "0") + "\n";
    text += "at: " + (varies ? now() : at_epoch(epoch)) + "\n";
    text +=
        "comment: " + (varies ? build.output : build.target) + "   _KEL_  " + build.target + "\n";
    return text;
}

std::string manifest_section(const Schema &schema, const Build &build) {
    std::string bytes;
    append_record(bytes, manifest_record, manifest(schema));
    append_record(bytes, build_note_record, build_note(schema, build));
    return bytes;
}

}  // namespace tarnc
