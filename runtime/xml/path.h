/* SPDX-License-Identifier: Apache-2.0 */
// The paths of the library: names, and maybe an index counted from 1, as "//a/b" and
// "//a/b[3]". They need no XPath.
#ifndef TARNBASE_RUNTIME_XML_PATH_H
#define TARNBASE_RUNTIME_XML_PATH_H

#include <cstdint>
#include <string_view>

namespace tarnbase::runtime {

struct PlainPath {
    // All empty for a path of another form. The first `known` bytes of `text` are a plain
    // path without an index, or there are none.
    explicit PlainPath(std::string_view text, std::size_t known = 0);

    bool is_plain() const { return !elements.empty(); }

    std::string_view elements;  // "//a/b", without the index
    std::string_view parent;    // "//a"; empty for one name
    std::string_view name;      // "b"
    std::uint32_t index = 0;    // 0: none
};

}  // namespace tarnbase::runtime

#endif
