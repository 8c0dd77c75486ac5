/* SPDX-License-Identifier: Apache-2.0 */
// Elements as documents of their own.
#ifndef TARNBASE_RUNTIME_XML_EACH_H
#define TARNBASE_RUNTIME_XML_EACH_H

#include <cstdint>

#include "tarnbase/embedded.h"

namespace tarnbase::runtime {

using ElementFunction = std::uint32_t (*)(kel_xml_document *element, void *context);

// Calls `function` with each element that `path` selects, in document order, until it
// returns nonzero. Stores the last result, or 0, through `result`, which may be null.
// Returns 0, EINVAL for an invalid selection, or ENOMEM.
std::uint32_t for_each_element(kel_xml_document *document, const char *path,
                               ElementFunction function, void *context, std::uint32_t *result);

}  // namespace tarnbase::runtime

#endif
