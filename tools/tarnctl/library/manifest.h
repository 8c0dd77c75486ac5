// SPDX-License-Identifier: Apache-2.0
//
// The schema manifest of a library file, and how it differs from this program's schema. Its layout
// is described in tools/tarnc/manifest.h.
#ifndef TARNCTL_LIBRARY_MANIFEST_H
#define TARNCTL_LIBRARY_MANIFEST_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnctl {

struct ManifestItem {
    std::string luid;
    std::string digest;
    std::string kind;  // "enum", "type", "tabl" or "trec"
    uint32_t variant;  // the highest
    uint32_t size;
};

struct Manifest {
    std::string module;
    std::vector<ManifestItem> items;
    std::vector<std::string> build;  // the lines of the build note
};

// Failure `data` that names the file, and the line in the manifest, if it can't be read.
Manifest read_manifest(const std::string &path);
Manifest parse_manifest(const std::string &path, std::string_view section);
// The manifest of this program's schema.
Manifest own_manifest();

// An item of a file's manifest or of this program's schema, and their difference.
struct Comparison {
    ManifestItem item;       // of the file, or of this program if the file lacks it
    std::string_view name;   // empty if this program doesn't have the item
    std::string difference;  // "new", "gone", "size 64, here 56"; empty if there is none
};
// The file's items in its order, then those that only this program has.
std::vector<Comparison> compare_with_own(const Manifest &manifest);

// A manifest's kind as in a descriptor: "table_record" for trec.
std::string_view kind_name(std::string_view kind);

}  // namespace tarnctl

#endif
