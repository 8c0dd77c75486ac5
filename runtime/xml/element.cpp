// SPDX-License-Identifier: Apache-2.0
#include "runtime/xml/element.h"

#include <cerrno>
#include <cstdio>

#include "runtime/base/error_text.h"
#include "runtime/base/errors.h"
#include "runtime/xml/search.h"

namespace tarnbase::runtime {

namespace {

// Reports EINVAL, and sets and traces its text.
void report_bad_element(kel_handle *handle, std::uint32_t *err, const char *where,
                        const char *message) {
    fail(EINVAL, "XML: %s: %s", where, message);
    ptrail_wrapper(0, KEL_TRACE_ERROR, 0, "(ERR): XML: %s: %s", where, message);
    report_error(handle, err, EINVAL);
}

void report_bad_element(const ElementSource &source, const std::string &message) {
    report_bad_element(source.handle, source.err, source.path, message.c_str());
}

}  // namespace

void report_unrepresentable(kel_handle *handle, const char *name, std::size_t offset,
                            std::uint32_t *err) {
    char message[96];
    std::snprintf(message, sizeof message,
                  "expected text that XML can carry, found another byte at offset %zu", offset);
    report_bad_element(handle, err, name, message);
}

bool read_element(const ElementSource &source, std::string &text) {
    if (*source.err != 0) return false;
    const FirstMatch match(static_cast<kel_xml_document *>(source.document), source.path);
    if (!match.valid()) {
        report_bad_element(source, "expected a document, and a path that selects elements");
        return false;
    }
    if (match.count() == 0) {
        report_error(source.handle, source.err, ENOENT);
        return false;
    }
    if (match.append_text(text) == Content::text) return true;
    report_bad_element(source, "expected text, found an element");
    return false;
}

void report_content(const ElementSource &source, const std::string &text,
                    const std::string &expected) {
    report_bad_element(source, "expected " + expected + ", found \"" + text + "\"");
}

}  // namespace tarnbase::runtime
