// SPDX-License-Identifier: Apache-2.0
/// @file
/// XML documents from which objects and records are read.
#ifndef TARNBASE_TARN_XML_HPP
#define TARNBASE_TARN_XML_HPP

#include <string>
#include <string_view>
#include <utility>

#include "tarnbase/tarn/callback.hpp"
#include "tarnbase/tarn/result.hpp"

namespace tarn {

/// An element of a document, as a document of its own.
/// Lifetime: the call of the function that xml_document::for_each passes it to.
class xml_element {
 public:
    explicit xml_element(kel_xml_document *element) noexcept : element_(element) {}
    /// Returns: the element, for calls of the C interface.
    kel_xml_document *c_document() const noexcept { return element_; }

 private:
    kel_xml_document *element_;
};

/// Owns a parsed document. Move-only.
class xml_document {
 public:
    xml_document(xml_document &&other) noexcept
        : document_(std::exchange(other.document_, nullptr)) {}
    xml_document &operator=(xml_document &&other) noexcept {
        std::swap(document_, other.document_);
        return *this;
    }
    ~xml_document() { kel_xml_free(document_); }

    /// Parses a document. Error: EINVAL; the message names the line.
    static result<xml_document> try_parse(std::string_view text) {
        kel_xml_document *document = kel_xml_parse(text.data(), text.size());
        if (document == nullptr) return detail::last_failure(EINVAL);
        return xml_document(document);
    }

    /// Calls `function` with each xml_element that the XPath `path` selects, in document
    /// order. An exception that it throws ends the walk and is rethrown. Error: EINVAL a
    /// bad path.
    template <typename Function>
    result<void> try_for_each(const char *path, Function &&function) const {
        auto each = [&](kel_xml_document *element) { return function(xml_element(element)); };
        callback visit(each);
        const std::uint32_t status = kel_xml_for_each(
            document_, path, visit.template run<kel_xml_document *>, &visit, nullptr);
        visit.finish();
        if (status != 0) return detail::last_failure(status);
        return {};
    }

#if TARN_EXCEPTIONS
    /// As try_parse; throws.
    static xml_document parse(std::string_view text) { return try_parse(text).value(); }
    /// As try_for_each; throws.
    template <typename Function>
    void for_each(const char *path, Function &&function) const {
        try_for_each(path, std::forward<Function>(function)).value();
    }
#endif

    /// Returns: the document, for calls of the C interface.
    kel_xml_document *c_document() const noexcept { return document_; }

 private:
    explicit xml_document(kel_xml_document *document) noexcept : document_(document) {}

    kel_xml_document *document_;
};

}  // namespace tarn

#endif
