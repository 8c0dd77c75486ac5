// SPDX-License-Identifier: Apache-2.0
// Documents that are parsed and searched while there is no memory.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "tarnbase/embedded.h"
#include "tarnbase/runtime.h"

namespace {

// How many allocations there is memory for. Negative: for all.
long allocations_left = -1;

}  // namespace

// They replace the C++ library's, in this program.
void *operator new(std::size_t size) {
    if (allocations_left == 0) throw std::bad_alloc();
    if (allocations_left > 0) --allocations_left;
    if (void *memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    return allocations_left < 0 ? std::malloc(size) : nullptr;
}
void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, std::size_t) noexcept { std::free(memory); }

namespace tarn::test {
namespace {

constexpr std::string_view text =
    "<records><record><name>a name that needs an "
    "allocation</name><port>1</port></record></records>";
// The first one is found without XPath.
constexpr const char *paths[] = {"//record/name", "//records/*/name"};

struct Free {
    void operator()(kel_xml_document *document) const { kel_xml_free(document); }
};
using Document = std::unique_ptr<kel_xml_document, Free>;

Document parse() { return Document(kel_xml_parse(text.data(), text.size())); }

// Calls `run` on a new document with memory for no allocation, for one, and so on, until it
// returns 0. Before, each call must return ENOMEM; `check_failure` is called after it,
// with memory.
template <typename Run, typename Check>
void run_with_more_and_more_memory(Run run, Check check_failure) {
    std::uint32_t failures = 0;
    for (long left = 0; left < 100; ++left) {
        const Document document = parse();
        allocations_left = left;
        const std::uint32_t error = run(document.get());
        allocations_left = -1;
        if (error == 0) break;
        EXPECT_EQ(error, std::uint32_t{ENOMEM});
        check_failure(document.get());
        ++failures;
    }
    EXPECT_GT(failures, 0U);
    EXPECT_LT(failures, 100U);
}

TEST(XmlWithoutMemory, ADocumentIsNotParsed) {
    std::uint32_t failures = 0;
    Document document;
    for (long left = 0; document == nullptr && left < 100; ++left) {
        allocations_left = left;
        document = parse();
        allocations_left = -1;
        if (document != nullptr) break;
        EXPECT_NE(std::string(kel_error_text()).find("no memory"), std::string::npos);
        ++failures;
    }
    EXPECT_NE(document, nullptr);
    EXPECT_GT(failures, 0U);
}

TEST(XmlWithoutMemory, ElementsAreNotCounted) {
    for (const char *path : paths) {
        SCOPED_TRACE(path);
        std::uint32_t count = 0;
        run_with_more_and_more_memory(
            [&](kel_xml_document *document) {
                return xml_get_element_nodecount(document, path, &count);
            },
            [&](kel_xml_document *) { EXPECT_EQ(count, 0U); });
        EXPECT_EQ(count, 1U);
    }
}

TEST(XmlWithoutMemory, ASearchThatFailedCanBeRepeated) {
    for (const char *path : paths) {
        SCOPED_TRACE(path);
        std::uint32_t count = 0;
        const auto search = [&](kel_xml_document *document) {
            return xml_get_element_nodecount(document, path, &count);
        };
        run_with_more_and_more_memory(search, [&](kel_xml_document *document) {
            EXPECT_EQ(search(document), 0U);
            EXPECT_EQ(count, 1U);
        });
    }
}

TEST(XmlWithoutMemory, ATextIsNotCopied) {
    for (const char *path : paths) {
        SCOPED_TRACE(path);
        char area[64] = "";
        run_with_more_and_more_memory(
            [&](kel_xml_document *document) {
                return xml_get_element_value(document, path, area, sizeof area, 0);
            },
            [&](kel_xml_document *) { EXPECT_STREQ(area, ""); });
        EXPECT_STREQ(area, "a name that needs an allocation");
    }
}

std::uint32_t count_call(kel_xml_document *, void *context) {
    ++*static_cast<std::uint32_t *>(context);
    return 0;
}

TEST(XmlWithoutMemory, NoElementIsVisited) {
    for (const char *path : paths) {
        SCOPED_TRACE(path);
        std::uint32_t calls = 0;
        run_with_more_and_more_memory(
            [&](kel_xml_document *document) {
                return kel_xml_for_each(document, path, count_call, &calls, nullptr);
            },
            [&](kel_xml_document *) {
                EXPECT_EQ(calls, 0U);
                EXPECT_EQ(kel_error_text(),
                          "XML: no memory for an element of \"" + std::string(path) + "\"");
            });
        EXPECT_EQ(calls, 1U);
    }
}

}  // namespace
}  // namespace tarn::test
