/* SPDX-License-Identifier: Apache-2.0 */
// The nodes that a path selects, grouped by parent: a path with an index selects one node of
// each group. Kept with the document until another path is searched: an array is read
// index by index, and a search for each index would walk the whole document.
#ifndef TARNBASE_RUNTIME_XML_SIBLINGS_H
#define TARNBASE_RUNTIME_XML_SIBLINGS_H

#include <libxml/xpath.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnbase::runtime {

struct Siblings {
    // Sets the nodes that `path` selects. Throws std::bad_alloc.
    void assign(std::string_view path, const xmlNodeSet *nodes);

    std::string path;
    std::vector<std::vector<xmlNode *>> families;  // in document order of their first nodes
};

// A path of names that ends in an index counted from 1, such as "//a/b[3]". Any other
// one has an empty `path` here.
struct IndexedPath {
    explicit IndexedPath(std::string_view text);

    std::string_view path;
    std::uint32_t index = 0;
};

}  // namespace tarnbase::runtime

#endif
