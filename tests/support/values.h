/* SPDX-License-Identifier: Apache-2.0 */
// Texts, addresses and documents, to set values from and to read them.
#ifndef TARNBASE_TESTS_SUPPORT_VALUES_H
#define TARNBASE_TESTS_SUPPORT_VALUES_H

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "tarnbase/embedded.h"

namespace tarn::test {

// A string that refers to its own text.
class Text {
 public:
    explicit Text(std::string text) : text_(std::move(text)) {
        kel_vstring_refer(&string_, text_.data(), static_cast<std::uint32_t>(text_.size()));
    }
    Text(const Text &) = delete;
    Text &operator=(const Text &) = delete;
    const kel_vstring *get() const { return &string_; }
    operator const kel_vstring *() const { return &string_; }

 private:
    std::string text_;
    kel_vstring string_;
};

inline std::string text_of(const kel_vstring *string) {
    std::uint32_t length = 0;
    const char *bytes = kel_vstring_bytes(string, &length);
    return {bytes, length};
}

inline std::string text_of(const ip_address *address) {
    char text[64];
    return ip_address_text(address, text, sizeof text);
}

struct FreeDocument {
    void operator()(kel_xml_document *document) const { kel_xml_free(document); }
};
using Document = std::unique_ptr<kel_xml_document, FreeDocument>;

// Expects well-formed XML.
inline Document parse(std::string_view text) {
    Document document(kel_xml_parse(text.data(), text.size()));
    EXPECT_NE(document, nullptr) << kel_error_text() << "\n" << text;
    return document;
}

}  // namespace tarn::test

#endif
