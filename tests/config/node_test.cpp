// Handles, lookups and the life of a tree.
#include <gtest/gtest.h>

#include <string>

#include "config/xml_parser.h"
#include "tests/config/tree_text.h"
#include "tests/harness/calls.h"

namespace eis::test {
namespace {

int references(const XmlNode& node) {
    return node.body()->refCount;
}

TEST(XmlNode, HandlesCount) {
    const ResourceWatch watch;
    {
        XmlNode root = ParseXmlText("<r><a>1<b/></a></r>", nullptr);
        XmlNode a = FindChild(root, "a");
        XmlNode& same = a;
        a = same;
        EXPECT_EQ(references(a), 2) << "the tree's and this one";
        XmlNode other = root;
        other = a;
        EXPECT_EQ(references(root), 1);
        EXPECT_EQ(references(a), 3);
        other = g_emptyXmlNode;
        EXPECT_TRUE(IsNull(other));

        root = XmlNode();
        EXPECT_EQ(references(a), 1) << "a subtree lives while its handle does";
        EXPECT_EQ(a.body()->parent, nullptr);
        EXPECT_EQ(treeText(a), "a{'1' b}");

        // The new body hangs in an array of the old one.
        a = a.body()->children[0];
        EXPECT_EQ(treeText(a), "b");
        EXPECT_EQ(references(a), 1);
    }
    EXPECT_TRUE(watch.nothingLeft());
}

// A child whose last reference goes leaves its parent's arrays.
TEST(XmlNode, FreedChildLeavesItsParent) {
    const char* left[] = {"r{'1' b <!--x--> c '2'}", "r{'1' a <!--x--> c '2'}", "r{'1' a b <!--x--> '2'}"};
    const ResourceWatch watch;
    for (int child = 0; child < 3; ++child) {
        const XmlNode root = ParseXmlText("<r>1<a/><b/><!--x--><c/>2</r>", nullptr);
        releaseXmlBody(root.body()->children[child].body());
        EXPECT_EQ(treeText(root), left[child]);
    }
    EXPECT_TRUE(watch.nothingLeft());
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
        {root, "/Config/A", "1"},
        {root, "/config/a", "1"},
        {root, "/CONFIG/A/B", "2"},
        {root, "/Config/A/b/", "2"},
        {config, "/a", "1"},
        {root, "/Config//A", nullptr},
        {root, "//Config", nullptr},
        {root, "/Config/A/x/b", nullptr},
        {root, "/Configs", nullptr},
        {root, "Config/A", nullptr},
        {root, "", nullptr},
        {root, "/A", nullptr},
        {XmlNode(), "/Config", nullptr},
        {config, longest, "6"},
        {config, longest + "/", nullptr},
        {config, longest + "/xx", nullptr},
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
