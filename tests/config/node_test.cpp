// Handles, lookups and the life of a tree.
#include <gtest/gtest.h>

#include <string>

#include "config/xml_parser.h"
#include "tests/config/tree_text.h"
#include "tests/harness/calls.h"

namespace eis::test {
namespace {

TEST(XmlNode, HandlesCount) {
    const ResourceWatch watch;
    {
        XmlNode root = ParseXmlText("<r><a>1<b/></a></r>", nullptr);
        XmlNode a = FindChild(root, "a");
        XmlNode& same = a;
        a = same;
        EXPECT_EQ(a.body()->refCount, 2) << "the tree's and this one";
        XmlNode other = root;
        other = a;
        EXPECT_EQ(root.body()->refCount, 1);
        EXPECT_EQ(a.body()->refCount, 3);
        other = g_emptyXmlNode;
        EXPECT_TRUE(IsNull(other));
        root = XmlNode();
        EXPECT_EQ(a.body()->refCount, 1) << "a subtree lives while its handle does";
        EXPECT_EQ(a.body()->parent, nullptr);
        // The new body hangs in an array of the old one.
        a = a.body()->children[0];
        EXPECT_EQ(treeText(a), "b");
    }
    // A child whose last reference goes leaves its parent's arrays.
    const XmlNode root = ParseXmlText("<r>1<a/><b/><!--x--><c/>2</r>", nullptr);
    releaseXmlBody(root.body()->children[1].body());
    EXPECT_EQ(treeText(root), "r{'1' a <!--x--> c '2'}");
    releaseXmlBody(root.body()->children[0].body());
    EXPECT_EQ(treeText(root), "r{'1' <!--x--> c '2'}");
}

TEST(XmlNode, NamelessRootStandsNowhere) {
    const XmlNode root = ParseXmlText("x<a/>", nullptr);
    ASSERT_EQ(treeText(root), "{'x' a}");
    EXPECT_EQ(root.body()->line, 0);
    EXPECT_EQ(root.body()->column, 0);
}

TEST(XmlNode, Lookups) {
    const std::string longName(200, 'n');
    const std::string source = "<?xml?><Config><A>1<b>2</b><B>3</B>4</A><a>5</a><c><d/></c><" + longName + "><" +
                               std::string(52, 'm') + ">6</" + std::string(52, 'm') + "></" + longName + "></Config>";
    const XmlNode root = ParseXmlText(source.c_str(), nullptr);
    const std::string longest = "/" + longName + "/" + std::string(52, 'm');
    const XmlNode config = FindXmlNode(root, "/Config");
    ASSERT_EQ(longest.size(), 254u);
    const struct {
        XmlNode start;
        std::string path;
        const char* text;  // null when nothing is found
    } cases[] = {
        {root, "/Config/A", "1"},         {root, "/CONFIG/A/B", "2"},
        {root, "/Config/A/b/", "2"},      {config, "/a", "1"},
        {root, "/Config//A", nullptr},    {root, "/Config/A/x/b", nullptr},
        {root, "Config/A", nullptr},      {root, "", nullptr},
        {XmlNode(), "/Config", nullptr},  {config, longest, "6"},
        {config, longest + "/", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        const XmlNode found = FindXmlNode(c.start, c.path.c_str());
        EXPECT_EQ(IsNull(found), c.text == nullptr);
        EXPECT_STREQ(FirstText(found), c.text);
    }
    EXPECT_EQ(FindXmlNode(root, "/").body(), root.body()) << "no name, no step";
    EXPECT_TRUE(IsNull(FindXmlNode(root, nullptr)));
    EXPECT_EQ(FirstText(FindXmlNode(root, "/Config/c")), nullptr) << "a node without a text";
}

}  // namespace
}  // namespace eis::test
