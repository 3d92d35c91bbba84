// Which encoding the head of a file speaks for, and what a load makes of it.
#include <gtest/gtest.h>

#include <string>

#include "config/xml_encoding.h"
#include "config/xml_file.h"
#include "tests/config/tree_text.h"
#include "tests/harness/calls.h"
#include "tests/harness/files.h"

namespace eis::test {
namespace {

using namespace std::string_literals;

TEST(XmlEncoding, Detection) {
    const struct {
        std::string head;
        int32_t encoding;
    } cases[] = {
        {"\xE9t\xE9", kXmlSingleByte},
        {"\xC3\0\xC3"s, kXmlSingleByte},
        {"\xF4ttt", kXmlSingleByte},
        {"encoding=\"utf-8\" \xE9t", 0},
        {"encoding=\"BIG5-HKSCS\"", kXmlBig5},
        {"encoding=\"iso-8859-1\"", kXmlSingleByte},
        {"Encoding='GBK'", kXmlUtf8},
        {"a\0encoding='GBK'"s, kXmlGbk},
        {std::string(186, ' ') + "encoding='Big5'", kXmlBig5},
        {std::string(187, ' ') + "encoding='Big5'", kXmlSingleByte},
        {std::string(193, ' ') + "encoding='Big5'", kXmlUtf8},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(DetectXmlEncoding(c.head.data(), c.head.size()), c.encoding) << c.head;
    }
}

std::string padded(std::string text, size_t bytes = 200) {
    text.insert(text.find('>') + 1, "<!--" + std::string(bytes - text.size() - 7, '.') + "-->");
    return text;
}

class XmlFile : public testing::Test {
  protected:
    void TearDown() override { setXmlEncoding(kXmlUtf8); }

    XmlNode load(const std::string& content) {
        writeFile(path_, content);
        return LoadXmlFile(path_.c_str(), &report_);
    }

    TempFolder folder_;
    std::string path_ = folder_.path("file.xml");
    XmlFileReport report_;
};

TEST_F(XmlFile, Outcomes) {
    using enum XmlFileOutcome;
    const std::string whole = padded("<?xml?><a>1</a>");
    const struct {
        std::string content;
        XmlFileOutcome outcome;
        std::string tree;
        bool asked = true;  // whether the head is looked at for wide text
    } cases[] = {
        {whole, loaded, "?xml?{" + whole.substr(7, 185) + " a{'1'}}"},
        {padded("<?xml?><a>1</a>", 199), tooShort, "null"},
        {padded("<?xml?><a>1</b>"), parseError, "null"},
        {std::string(200, 'x'), loaded, ""},
        {"\xEF\xBB\xBF" + whole, loaded, "?xml?{" + whole.substr(7, 185) + " a{'1'}}"},
        // A mark of wide text is skipped where nobody asks for it, else it is a text at the root.
        {"\xFF\xFE" + whole, loaded, "?xml?{" + whole.substr(7, 185) + " a{'1'}}", false},
        {"\xFF\xFE" + whole, loaded, "{'\xFF\xFE' ?xml?{" + whole.substr(7, 185) + " a{'1'}}}"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.content);
        checkWideText = c.asked ? 1 : 0;
        EXPECT_EQ(treeText(load(c.content)), c.tree);
        EXPECT_EQ(report_.outcome, c.outcome);
    }
    checkWideText = 1;
    EXPECT_TRUE(IsNull(LoadXmlFile(folder_.path("absent").c_str(), &report_)));
    EXPECT_EQ(report_.outcome, cannotOpen);
    EXPECT_FALSE(report_.wideText) << "of the file before";
    EXPECT_TRUE(IsNull(LoadXmlFile(folder_.path("").c_str(), &report_))) << "a folder";
}

// What a head says about the encoding holds until another one says something.
TEST_F(XmlFile, EncodingPersists) {
    const auto words = [](int below256, int zeros) {
        std::string text;
        for (int i = 0; i < 50; ++i) {
            text += i < below256 ? "a\0\0\0"s : i < below256 + zeros ? "\0\0\0\0"s : "abcd"s;
        }
        return text;
    };
    const struct {
        const char* name;
        std::string content;
        bool wide;
        int32_t encoding;
    } steps[] = {
        {"named", padded("<?xml encoding='sjis'?><a>\x83&</a>"), false, kXmlShiftJis},
        {"contradicts itself", padded("<?xml encoding='utf-8'?><a>\xE9t</a>"), false, kXmlShiftJis},
        {"wide by its mark", "\xFF\xFE" + std::string(198, 'x'), true, kXmlShiftJis},
        {"wide by its other mark", "\xFE\xFF" + std::string(198, 'x'), true, kXmlShiftJis},
        {"wide by its words", words(26, 0), true, kXmlShiftJis},
        {"wide by one zero", words(0, 1), true, kXmlShiftJis},
        {"half of the words", words(25, 0), false, kXmlUtf8},
        {"not valid", padded("<?xml?><a>\xE9t</a>"), false, kXmlSingleByte},
        {"the mark wins", "\xEF\xBB\xBF" + padded("<?xml encoding='GBK'?><a>1</a>"), false, kXmlUtf8},
    };
    for (const auto& step : steps) {
        (void)load(step.content);
        EXPECT_EQ(report_.wideText, step.wide) << step.name;
        EXPECT_EQ(g_xmlEncoding, step.encoding) << step.name;
    }
}

// The first opening is for the head, the second for the text.
TEST_F(XmlFile, ReadFailures) {
    writeFile(path_, padded("<?xml?><a>1</a>"));
    const struct {
        Call call;
        int nth;
        XmlFileOutcome outcome;
    } cases[] = {{kFopen, 1, XmlFileOutcome::loaded},
                 {kFopen, 2, XmlFileOutcome::cannotOpen},
                 {kFread, 1, XmlFileOutcome::tooShort},
                 {kFread, 2, XmlFileOutcome::cannotRead}};
    for (const auto& c : cases) {
        const ResourceWatch watch;
        const FailNth failure(c.call, c.nth);
        EXPECT_EQ(IsNull(LoadXmlFile(path_.c_str(), &report_)), c.outcome != XmlFileOutcome::loaded);
        EXPECT_EQ(report_.outcome, c.outcome);
        EXPECT_TRUE(watch.nothingLeft());
    }
}

}  // namespace
}  // namespace eis::test
