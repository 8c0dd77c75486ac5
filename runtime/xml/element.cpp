// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/element.h"

#include <cerrno>
#include <cstdio>

#include "runtime/base/error_text.h"
#include "runtime/base/errors.h"
#include "runtime/xml/search.h"

namespace tarn::runtime {

namespace {

// Says what was wrong in kel_error_text and in the trace.
void complain(kel_handle *handle, std::uint32_t *err, const char *where, const char *complaint) {
    fail(EINVAL, "XML: %s: %s", where, complaint);
    ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): XML: %s: %s", where, complaint);
    report(handle, err, EINVAL);
}

void complain(const ElementSource &source, const std::string &complaint) {
    complain(source.handle, source.err, source.path, complaint.c_str());
}

}  // namespace

void report_unfit(kel_handle *handle, const char *name, std::size_t offset, std::uint32_t *err) {
    char complaint[96];
    std::snprintf(complaint, sizeof complaint,
                  "expected text that XML can carry, found another byte at offset %zu", offset);
    complain(handle, err, name, complaint);
}

bool read_element(const ElementSource &source, std::string &text) {
    if (*source.err != 0) return false;
    const Selection nodes(static_cast<kel_xml_document *>(source.document), source.path);
    if (!nodes.valid()) {
        complain(source, "expected a document, and a path that selects elements");
        return false;
    }
    if (nodes.count() == 0) {
        report(source.handle, source.err, ENOENT);
        return false;
    }
    if (element_text(nodes[0], text) == Content::text) return true;
    complain(source, "expected text, found an element");
    return false;
}

void report_content(const ElementSource &source, const std::string &text,
                    const std::string &expected) {
    complain(source, "expected " + expected + ", found \"" + text + "\"");
}

}  // namespace tarn::runtime
