// SPDX-License-Identifier: Apache-2.0
// Plain paths, such as "//a/b[3]", select what XPath selects for the same path written out,
// in whatever order they come.
#include <array>
#include <cerrno>
#include <random>
#include <string>
#include <vector>

#include "tests/unit/runtime_value/support.h"

namespace tarn::test {
namespace {

class XmlSearch : public ValueTest {
 protected:
    static constexpr int deepest = 5;
    static constexpr std::array names = {"a", "b", "item_2", "Name"};

    template <typename Choices>
    auto one_of(const Choices &choices) {
        return choices[random() % std::size(choices)];
    }

    // Elements of few names, in any order and number, with all that may lie between them.
    void grow(std::string &text, int depth) {
        static constexpr std::array contents = {
            "12", " ", "x&amp;y", "<![CDATA[<c>]]>", "<!-- b -->", "<?b ?>", "&#65;", ""};
        static constexpr std::array spaces = {
            "", "", "", " xmlns='space:1'", " xmlns=''", " b='attribute'"};
        for (auto i = random() % 6; i > 0; --i) {
            text += one_of(contents);
            const std::string name =
                random() % 12 == 0 ? std::string("p:") + one_of(names) : one_of(names);
            text.append("<").append(name).append(one_of(spaces)).append(">");
            text += one_of(contents);
            if (depth < deepest) grow(text, depth + 1);
            text.append("</").append(name).append(">");
        }
        text += one_of(contents);
    }

    std::string document_text() {
        std::string text = "<a xmlns:p='space:2'>";
        grow(text, 0);
        return text + "</a>";
    }

    struct Path {
        std::string plain = "/";
        std::string written_out = "/descendant-or-self::node()";
    };

    // Continues the last one, or begins anew.
    Path next_path() {
        if (steps.empty() || random() % 4 == 0) steps.assign(1, one_of(names));
        else if (random() % 3 == 0 && steps.size() < 4) steps.emplace_back(one_of(names));
        else if (steps.size() > 1) steps.back() = one_of(names);
        Path path;
        for (const std::string &step : steps) {
            path.plain += "/" + step;
            path.written_out += "/child::" + step;
        }
        if (random() % 3 == 0) {
            const std::string index = std::to_string(random() % 5);
            path.plain += "[" + index + "]";
            path.written_out += "[position()=" + index + "]";
        }
        return path;
    }

    // All that the services tell about a path.
    struct Selected {
        std::uint32_t status = 0;
        std::uint32_t count = 0;
        std::uint32_t value_status = 0;
        std::string value;
        std::uint32_t string_error = 0;
        std::string string;
        bool operator==(const Selected &) const = default;
    };

    Selected select(kel_xml_document *document, const std::string &path) {
        Selected selected;
        selected.status = xml_get_element_nodecount(document, path.c_str(), &selected.count);
        char area[128] = "untouched";
        selected.value_status = xml_get_element_value(document, path.c_str(), area, sizeof area, 0);
        selected.value = area;
        assign(string, "untouched");
        kel_vstring_from_xml(handle, tx, path.c_str(), document, string, &selected.string_error,
                             nullptr, 0);
        selected.string = text_of(string);
        return selected;
    }

    void expect_same(kel_xml_document *document) {
        for (int i = 0; i < 30; ++i) {
            const Path path = next_path();
            const Selected plain = select(document, path.plain);
            const Selected reference = select(document, path.written_out);
            EXPECT_EQ(plain, reference)
                << path.plain << ": " << plain.count << " \"" << plain.value << "\", not "
                << reference.count << " \"" << reference.value << "\"";
        }
    }

    static std::uint32_t compare_element(kel_xml_document *element, void *context) {
        auto &test = *static_cast<XmlSearch *>(context);
        test.expect_same(element);
        if (++test.elements_seen % 3 == 0) {
            EXPECT_EQ(kel_xml_for_each(element, "//b", compare_element, context, nullptr), 0U);
        }
        return HasFailure() ? 1 : 0;
    }

    TraceCapture trace;
    std::mt19937 random;
    std::vector<std::string> steps;
    std::uint32_t elements_seen = 0;
    kel_vstring *string = make_string();
};

TEST_F(XmlSearch, APlainPathSelectsWhatXPathSelects) {
    for (std::uint32_t seed = 1; seed <= 30 && !HasFailure(); ++seed) {
        random.seed(seed);
        const std::string text = document_text();
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text);
        expect_same(parse(text).get());
    }
}

TEST_F(XmlSearch, AnElementIsSearchedAsADocumentOfItsOwn) {
    for (std::uint32_t seed = 1; seed <= 3 && !HasFailure(); ++seed) {
        random.seed(seed);
        const std::string text = document_text();
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text);
        const Document document = parse(text);
        for (const char *path : {"//b", "//a/b", "/descendant::b[1]"}) {
            EXPECT_EQ(kel_xml_for_each(document.get(), path, compare_element, this, nullptr), 0U);
        }
    }
    EXPECT_GT(elements_seen, 20U);
}

std::uint32_t append_text(kel_xml_document *element, void *context) {
    char text[16] = "";
    xml_get_element_value(element, "/*", text, sizeof text, 0);
    static_cast<std::string *>(context)->append(text).append(",");
    return 0;
}

TEST_F(XmlSearch, ElementsOfAPlainPathComeInDocumentOrder) {
    const Document document = parse("<a>1<a>2<a>3</a><b>4</b></a><b>5</b><b>6</b></a>");
    for (const auto &[path, expected] :
         {std::pair("//a", "1,2,3,"), std::pair("//a/b", "4,5,6,"), std::pair("//a/b[1]", "4,5,"),
          std::pair("//a/b[2]", "6,"), std::pair("//c", "")}) {
        std::string seen;
        EXPECT_EQ(kel_xml_for_each(document.get(), path, append_text, &seen, nullptr), 0U);
        EXPECT_EQ(seen, expected) << path;
    }
}

TEST_F(XmlSearch, ManyNamesAreFoundInAnyOrder) {
    std::string text = "<a>";
    for (int i = 0; i < 500; ++i) {
        const std::string name = "n" + std::to_string(i * 7 % 500);
        text.append("<").append(name).append(">").append(name).append("</").append(name).append(
            ">");
    }
    const Document document = parse(text + "</a>");
    for (int i = 499; i >= 0; --i) {
        const std::string name = "n" + std::to_string(i);
        EXPECT_EQ(select(document.get(), "//a/" + name).string, name);
    }
    EXPECT_EQ(select(document.get(), "//a/n500").count, 0U);
}

TEST_F(XmlSearch, APathOfAnotherFormIsXPath) {
    const Document document = parse("<a><b>1</b><c><b>2</b></c></a>");
    struct Case {
        const char *path;
        std::uint32_t status;
        std::uint32_t count;
    };
    for (const auto &[path, status, count] :
         {Case{"/a/b", 0, 1}, Case{"//a//b", 0, 2}, Case{"//a/b[01]", 0, 1}, Case{"//a/b[0]", 0, 0},
          Case{"//a/b[ 1 ]", 0, 1}, Case{"//a/*", 0, 2}, Case{"//a/b[1]/..", 0, 1},
          Case{"//a/", EINVAL, 0}, Case{"//", EINVAL, 0}, Case{"", EINVAL, 0},
          Case{"//3", EINVAL, 0}, Case{"//a/b[1", EINVAL, 0}, Case{"//a/b[]", EINVAL, 0},
          Case{"//a/b[1]c", EINVAL, 0}}) {
        const Selected selected = select(document.get(), path);
        EXPECT_EQ(selected.status, status) << path;
        EXPECT_EQ(selected.count, count) << path;
    }
}

}  // namespace
}  // namespace tarn::test
