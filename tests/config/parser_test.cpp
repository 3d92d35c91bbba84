// What the reader makes of a text: the tree, and the error with its place.
#include <gtest/gtest.h>

#include <string>

#include "config/xml_encoding.h"
#include "config/xml_parser.h"
#include "tests/config/tree_text.h"

namespace eis::test {
namespace {

using namespace std::string_literals;

struct ReaderCase {
    std::string source;
    std::string tree;
    int code = 0;
    int line = 0;
    int column = 0;
};

void run(const ReaderCase& c) {
    SCOPED_TRACE(c.source);
    XmlResults results{-1, -1, -1};
    EXPECT_EQ(treeText(ParseXmlText(c.source.c_str(), &results)), c.tree);
    EXPECT_EQ(results.code, c.code);
    EXPECT_EQ(results.line, c.line);
    EXPECT_EQ(results.column, c.column);
}

TEST(XmlParser, Cases) {
    const ReaderCase cases[] = {
        // The nameless root gives way to an only child; an open declaration takes what follows it.
        {"<?xml version=\"1.0\"?>\n<Config><a>1</a></Config>", "?xml(version=1.0){Config{a{'1'}}}"},
        {"junk<Config/>", "{'junk' Config}"},
        {"<?xml?><a></a></xml?><b/>", "{?xml?{a} b}"},
        {"<?xml x='1'/><b/>", "{?xml(x=1) b}"},
        {"  \r\n\t", "", 2, 2, 2},
        {"text alone", "", 2, 1, 11},

        // Tags.
        {"<LUMAMED>5</lumamed>", "LUMAMED{'5'}"},
        {"<\n a  b = 'c' d/>", "a(b=c,d)"},
        {"<a b=\"1 > 0\" c='\"'/>", "a(b=1 > 0,c=\")"},
        {"<a b='open c=d></a>", "a(b='open,c=d)"},
        {"<a><b>1</b><c/>2<b/></a>", "a{b{'1'} c '2' b}"},

        // End tags: forgotten ones are closed by an outer element's.
        {"<a><b>1</a>", "a{b{'1'}}", 1, 1, 8},
        {"<a>\n<b><c>1</a><d/>", "{a{b{c{'1'}}} d}", 1, 2, 8},
        {"<a>1</b>", "null", 6, 1, 5},
        {"<ab>1</a>", "null", 6, 1, 6},
        {"<a>1</a", "null", 6, 1, 5},
        {"<a>1</a b>", "null", 8, 1, 8},
        {"<a>1</a ", "a{'1'}"},
        {"<a><b>1</b\n", "a{b{'1'}}", 1, 2, 1},

        // The end of the text keeps what there is, but not a text that no tag follows.
        {"<a><b>1</b>", "a{b{'1'}}", 1, 1, 12},
        {"<?xml?><a>1</a> 2", "?xml?{a{'1'}}"},
        {"<a", "a", 1, 1, 3},
        {"<a b=", "a", 1, 1, 6},
        {"<a><b c='1' d='2", "a{b(c=1,d='2)}", 1, 1, 17},

        // What does not belong into a tag.
        {"<>", "null", 8, 1, 2},
        {"<a 'b'>", "null", 8, 1, 4},
        {"<a =b>", "null", 8, 1, 4},
        {"<a b=>", "null", 8, 1, 6},
        {"<a /b>", "null", 8, 1, 4},

        // In content these are text.
        {"<a> > = /> / \" ' b=\"c\" </a>", "a{'> = /> / \" ' b=\"c\"'}"},
        {"<a> \n </a>", "a"},

        // Sections that stand raw.
        {"<a><![CDATA[ 1 < 2 & ]] ]]></a>", "a{<![CDATA[ 1 < 2 & ]] ]]>}"},
        {"<!DOCTYPE a [<!ELEMENT a (b)>]><a/>", "{<!DOCTYPE a [<!ELEMENT a (b)>]> a}"},
        {"<!doctype a><a/>", "!doctype(a){a}", 1, 1, 17},
        {"<!DOCTYPE a [<!ELEMENT a>", "null", 7, 1, 1},
        {"<a>\n<!-- b", "null", 7, 2, 1},
        {"<a><!--></a>--></a>", "a{<!--></a>-->}"},

        // A comment between two texts joins them.
        {"<a>1 <!-- x --> 2</a>", "a{'12'}"},
        {"<a>1<!--x--></a>", "a{'1' <!--x-->}"},
        {"<a><!--x-->2</a>", "a{<!--x--> '2'}"},

        // Entities.
        {"<a>&lt;&GT;&Amp;&quot;&apos;&#65;&#x4a;&#X4A;</a>", "a{'<>&\"'AJJ'}"},
        {"<a b='&lt;&#49;'/>", "a(b=<1)"},
        {"<a>&#;&#x;1</a>", "a{'\0\0"s + "1'}"},
        {"<a>&#255;</a>", "a{'\xFF'}"},
        {"<a>1&lt;</a>", "a{'1<'}"},
        {"<a>&#256;</a>", "null", 13, 1, 4},
        {"<a>&#12a;</a>", "null", 12, 1, 4},
        {"<a>&nbsp;</a>", "null", 12, 1, 4},
        {"<a &b='1'/>", "a(&b=1)"},
    };
    for (const ReaderCase& c : cases) run(c);
    // A joined text that just fits leaves what stands behind it in memory: here the order of the items.
    for (int length = 1; length <= 16; ++length) {
        const std::string digits = std::string("1234567890123456").substr(0, length);
        run({"<a><c/><d/>" + digits + "<!--x-->+<b/>-</a>", "a{c d '" + digits + "+' b '-'}"});
    }
    EXPECT_EQ(treeText(ParseXmlText(nullptr, nullptr)), "null");
}

// Each encoding on a two-byte character whose second byte is a piece of markup or a letter, and one cut off at the end.
TEST(XmlParser, CharactersAreWhole) {
    const struct {
        int encoding;
        ReaderCase parse;
    } cases[] = {
        {kXmlUtf8, {"<\xC3\xA9>\xE2\x82\xAC</\xC3\xA9>", "\xC3\xA9{'\xE2\x82\xAC'}"}},
        {kXmlUtf8, {"<a>\xC3</a><b/></a>", "a{'\xC3</a>' b}"}},
        {kXmlUtf8, {"<a b='\xF0", "a(b='\xF0)", 1, 1, 8}},
        {kXmlShiftJis, {"<\x83\x41></\x83\x61>", "null", 6, 1, 5}},
        {kXmlGb2312, {"<a>\xA1\x26\x80</a>", "a{'\xA1&\x80'}"}},
        {kXmlBig5, {"<a>\x81&</a>", "a{'\x81&'}"}},
        {kXmlGbk, {"<!--\x81-->--><a/>", "{<!--\x81-->--> a}"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.encoding);
        setXmlEncoding(c.encoding);
        run(c.parse);
    }
    setXmlEncoding(kXmlUtf8);
}

}  // namespace
}  // namespace eis::test
