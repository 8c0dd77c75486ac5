// SPDX-License-Identifier: Apache-2.0
#include "identity.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <algorithm>
#include <map>

namespace tarnc {
namespace {

constexpr std::uint64_t luid_seed = 0;
constexpr std::uint64_t digest_seed = 1;

bool is_luid(const std::string &text) {
    return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

std::string take(const std::optional<Name> &given, const std::string &text, std::uint64_t seed,
                 Diagnostics &diagnostics) {
    if (!given) return digest(text, seed);
    if (!is_luid(given->text))
        diagnostics.report(given->place, "'" + given->text + "' is no identity",
                           "32 lower-case hexadecimal digits");
    return given->text;
}

}  // namespace

std::string digest(const std::string &text, std::uint64_t seed) {
    const XXH128_hash_t hash = XXH3_128bits_withSeed(text.data(), text.size(), seed);
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, hash);
    std::string result;
    for (const unsigned char byte : canonical.digest) {
        result += "0123456789abcdef"[byte >> 4];
        result += "0123456789abcdef"[byte & 15];
    }
    return result;
}

std::string schema_text(const Structure &structure) {
    std::string text = "structure " + structure.name + "\n";
    for (const Field &field : structure.fields) {
        text += field.type;
        if (field.kind == FieldKind::array) text += "[" + std::to_string(field.elements) + "]";
        text += " " + field.name + " " + std::to_string(field.first_variant) + "\n";
    }
    return text;
}

std::string schema_text(const Enumeration &enumeration) {
    std::string text = "enumeration " + enumeration.name + "\n";
    for (const Enumerator &each : enumeration.enumerators)
        text += each.name + " " + std::to_string(each.value) + "\n";
    return text;
}

std::string schema_text(const Table &table) {
    return "table " + table.name + " of " + table.type->name + " key " + table.key() + "\n";
}

std::string record_schema_text(const Table &table) { return "record of " + schema_text(table); }

Identity identify(const syntax::Identity &given, const std::string &text,
                  Diagnostics &diagnostics) {
    return {take(given.luid, text, luid_seed, diagnostics),
            take(given.digest, text, digest_seed, diagnostics)};
}

void require_unique_luids(const Schema &schema, Diagnostics &diagnostics) {
    std::map<std::string, std::string> owners;
    const auto enter = [&](const Identity &identity, const std::string &name, const Place &place) {
        const auto [owner, is_new] = owners.emplace(identity.luid, name);
        if (!is_new)
            diagnostics.report(place, name + " has the LUID of " + owner->second,
                               "a LUID of its own");
    };
    for (const Structure &each : schema.structures) enter(each.identity, each.name, each.place);
    for (const Enumeration &each : schema.enumerations) enter(each.identity, each.name, each.place);
    for (const Table &each : schema.tables) {
        enter(each.identity, each.name, each.place);
        enter(each.record_identity, each.name + "_record", each.place);
    }
}

}  // namespace tarnc
