// Documents far beyond any tuning file: deep, wide, and in time.
#include <gtest/gtest.h>

#include <pthread.h>

#include <string>

#include "config/xml_parser.h"
#include "tests/config/tree_text.h"
#include "tests/harness/calls.h"
#include "tests/harness/watchdog.h"

namespace eis::test {
namespace {

constexpr int kDepth = 100000;
constexpr int kWidth = 10000;

std::string repeated(const std::string& piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) text += piece;
    return text;
}

// On a thread with a stack of 64 KiB, so that a recursion would show.
void* parseDeep(void* failure) {
    const struct {
        std::string source;
        int depth;
        int code;
    } cases[] = {
        {repeated("<a>", kDepth) + repeated("</a>", kDepth), kDepth - 1, 0},
        {"<b>" + repeated("<a>", kDepth) + "</b>", kDepth, 1},
        {repeated("<a>", kDepth / 10), kDepth / 10 - 1, 1},
        {repeated("<?a?>", kDepth / 10), kDepth / 10 - 1, 0},
    };
    for (const auto& c : cases) {
        XmlResults results;
        XmlNode root = ParseXmlText(c.source.c_str(), &results);
        if (IsNull(root) || results.code != c.code) return failure;
        // The tree dies from its middle, while its lower half is held.
        XmlNode half;
        int depth = 0;
        for (const XmlNodeBody* body = root.body(); body->childCount > 0; body = body->children[0].body()) {
            if (++depth == c.depth / 2) half = body->children[0];
        }
        if (depth != c.depth) return failure;
        root = XmlNode();
        if (half.body()->parent != nullptr) return failure;
    }
    XmlResults results;
    const std::string unmatched = repeated("<a>", kDepth) + "</b>";
    if (!IsNull(ParseXmlText(unmatched.c_str(), &results)) || results.code != kXmlUnmatchedEndTag) return failure;
    return nullptr;
}

TEST(XmlSize, Nesting) {
    const ResourceWatch watch;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 65536 + PTHREAD_STACK_MIN);
    pthread_t thread{};
    int failure = 0;
    void* outcome = &failure;
    ASSERT_EQ(pthread_create(&thread, &attributes, parseDeep, &failure), 0);
    pthread_join(thread, &outcome);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(outcome, nullptr);
    EXPECT_TRUE(watch.nothingLeft());
}

TEST(XmlSize, ManyItems) {
    const Deadline deadline(60);
    const ResourceWatch watch;
    {
        std::string attributes;
        std::string children;
        for (int i = 0; i < kWidth; ++i) {
            const std::string number = std::to_string(i);
            attributes.append(" n").append(number).append("=").append(number);
            children.append("t").append(number).append("<c").append(number).append("/><!--x-->");
        }
        const XmlNode root = ParseXmlText(("<a" + attributes + ">" + children + "</a>").c_str(), nullptr);
        ASSERT_FALSE(IsNull(root));
        const XmlNodeBody& body = *root.body();
        EXPECT_EQ(body.attributeCount, kWidth);
        EXPECT_EQ(body.textCount, kWidth);
        EXPECT_EQ(body.childCount, kWidth);
        EXPECT_EQ(body.clearCount, kWidth);
        EXPECT_STREQ(body.attributes[kWidth - 1].value.get(), "9999");
        EXPECT_STREQ(body.texts[kWidth - 1].text.get(), "t9999");
        EXPECT_EQ(FindXmlNode(root, "/C9999").body(), body.children[kWidth - 1].body());
    }
    EXPECT_TRUE(watch.nothingLeft());
}

// Work that would be quadratic if each step began from the start: seconds then, not milliseconds.
TEST(XmlSize, LinearTime) {
    const Deadline deadline(60);
    const int times = 100000;
    const std::string merged = "<a>" + repeated("1<!--x-->", times) + "</a>";
    const XmlNode root = ParseXmlText(merged.c_str(), nullptr);
    ASSERT_EQ(root.body()->textCount, 1);
    EXPECT_EQ(root.body()->texts[0].length, static_cast<size_t>(times));
    EXPECT_EQ(root.body()->clearCount, 1);

    EXPECT_NE(ParseXmlText(repeated("<b '\n>", times).c_str(), nullptr).body(), nullptr);
    EXPECT_NE(ParseXmlText(repeated("<b x='\n>", times).c_str(), nullptr).body(), nullptr);
    EXPECT_NE(ParseXmlText(repeated("<b\n><c></b>", times).c_str(), nullptr).body(), nullptr);
}

}  // namespace
}  // namespace eis::test
