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
        {"", kXmlUtf8},
        {"<?xml version=\"1.0\"?>", kXmlUtf8},
        {"\xC3\xA9", kXmlUtf8},
        {"\xE9t\xE9", kXmlSingleByte},
        {"\xC3\0\xC3"s, kXmlSingleByte},
        {"a\0\xE9t"s, kXmlUtf8},
        {"encoding=\"UTF-8\"", kXmlUtf8},
        {"encoding = ' utf8'", kXmlUtf8},
        {"encoding=\"utf-8\" \xE9t", 0},
        {"encoding=\"Shift-JIS\"", kXmlShiftJis},
        {"encoding=\"ShiftJIS\"", kXmlShiftJis},
        {"encoding=\"gb2312\"", kXmlGb2312},
        {"encoding=\"BIG5-HKSCS\"", kXmlBig5},
        {"encoding=\"gbk\" \xE9t", kXmlGbk},
        {"encoding=\"iso-8859-1\"", kXmlSingleByte},
        {"encoding=\"\"", kXmlSingleByte},
        {"encoding=\"GB", kXmlSingleByte},
        {"encoding=\"", kXmlSingleByte},
        {"encoding=", kXmlUtf8},
        {"encoding=GBK", kXmlUtf8},
        {"encoding 'GBK'", kXmlUtf8},
        {"Encoding='GBK'", kXmlUtf8},
        {"a\0encoding='GBK'"s, kXmlGbk},
        {std::string(183, ' ') + "encoding='Big5'", kXmlBig5},
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

TEST_F(XmlFile, Sizes) {
    const std::string whole = padded("<?xml?><a>1</a>");
    EXPECT_EQ(FirstText(FindXmlNode(load(whole), "/a")), "1"s);
    EXPECT_EQ(report_.outcome, XmlFileOutcome::loaded);
    EXPECT_TRUE(IsNull(load(padded("<?xml?><a>1</a>", 199))));
    EXPECT_EQ(report_.outcome, XmlFileOutcome::tooShort);
    EXPECT_TRUE(IsNull(load("")));
    EXPECT_EQ(report_.outcome, XmlFileOutcome::tooShort);
    EXPECT_TRUE(IsNull(LoadXmlFile(folder_.path("absent").c_str(), &report_)));
    EXPECT_EQ(report_.outcome, XmlFileOutcome::cannotOpen);
    EXPECT_TRUE(IsNull(LoadXmlFile(folder_.path("").c_str(), &report_))) << "a folder";
    EXPECT_TRUE(IsNull(load(padded("<?xml?><a>1</b>"))));
    EXPECT_EQ(report_.outcome, XmlFileOutcome::parseError);
    EXPECT_EQ(report_.results.code, kXmlUnmatchedEndTag);
    EXPECT_EQ(treeText(load(std::string(200, 'x'))), "") << "no element: a root with nothing in it";
    EXPECT_EQ(report_.outcome, XmlFileOutcome::loaded);
}

TEST_F(XmlFile, WideTextLeavesTheEncoding) {
    const auto words = [](int below256, int zeros) {
        std::string text;
        for (int i = 0; i < 50; ++i) {
            text += i < below256 ? "a\0\0\0"s : i < below256 + zeros ? "\0\0\0\0"s : "abcd"s;
        }
        return text;
    };
    const struct {
        std::string head;
        bool wide;
    } cases[] = {
        {"\xFF\xFE" + std::string(198, 'x'), true},
        {"\xFE\xFF" + std::string(198, 'x'), true},
        {words(25, 0), false},
        {words(26, 0), true},
        {words(0, 1), true},
        {"\0\0abc"s + std::string(195, 'x'), false},
    };
    for (const auto& c : cases) {
        setXmlEncoding(kXmlBig5);
        (void)load(c.head);
        EXPECT_EQ(report_.wideText, c.wide);
        EXPECT_EQ(g_xmlEncoding, c.wide ? kXmlBig5 : kXmlUtf8);
        setXmlEncoding(kXmlBig5);
        checkWideText = 0;
        (void)load(c.head);
        checkWideText = 1;
        EXPECT_NE(g_xmlEncoding, kXmlBig5) << "unasked, the head is not looked at for wide text";
    }
}

TEST_F(XmlFile, EncodingPersists) {
    EXPECT_EQ(FirstText(FindXmlNode(load(padded("<?xml encoding='sjis'?><a>\x83&</a>")), "/a")), "\x83&"s);
    EXPECT_EQ(g_xmlEncoding, kXmlShiftJis);
    (void)load(padded("<?xml encoding='utf-8'?><a>\xE9t</a>"));
    EXPECT_EQ(g_xmlEncoding, kXmlShiftJis) << "a head that contradicts itself speaks for none";
    (void)load(padded("<?xml?><a>\xE9t</a>"));
    EXPECT_EQ(g_xmlEncoding, kXmlSingleByte);
    (void)load("\xEF\xBB\xBF" + padded("<?xml encoding='GBK'?><a>1</a>"));
    EXPECT_EQ(g_xmlEncoding, kXmlUtf8) << "the mark wins";
}

TEST_F(XmlFile, Marks) {
    EXPECT_EQ(FirstText(FindXmlNode(load("\xEF\xBB\xBF" + padded("<?xml?><a>1</a>")), "/a")), "1"s);
    for (const char* mark : {"\xFF\xFE", "\xEF\xFF"}) {
        const std::string content = mark + padded("<?xml?><a>1</a>");
        EXPECT_TRUE(IsNull(FindXmlNode(load(content), "/a"))) << "the mark is a text at the root";
        checkWideText = 0;
        EXPECT_EQ(FirstText(FindXmlNode(load(content), "/a")), "1"s);
        checkWideText = 1;
    }
}

TEST_F(XmlFile, ReadFailures) {
    writeFile(path_, padded("<?xml?><a>1</a>"));
    const XmlFileOutcome whenOpening[] = {XmlFileOutcome::loaded, XmlFileOutcome::cannotOpen};
    const XmlFileOutcome whenReading[] = {XmlFileOutcome::tooShort, XmlFileOutcome::cannotRead};
    for (int nth = 1; nth <= 2; ++nth) {
        const ResourceWatch watch;
        {
            const FailNth failure(kFopen, nth);
            EXPECT_EQ(IsNull(LoadXmlFile(path_.c_str(), &report_)), nth == 2);
            EXPECT_EQ(report_.outcome, whenOpening[nth - 1]);
        }
        {
            const FailNth failure(kFread, nth);
            EXPECT_TRUE(IsNull(LoadXmlFile(path_.c_str(), &report_)));
            EXPECT_EQ(report_.outcome, whenReading[nth - 1]);
        }
        EXPECT_TRUE(watch.nothingLeft());
    }
}

}  // namespace
}  // namespace eis::test
