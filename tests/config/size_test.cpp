// Documents far beyond any tuning file: deep, wide, and in time.
#include <gtest/gtest.h>

#include <pthread.h>

#include <string>
#include <utility>

#include "config/xml_parser.h"
#include "tests/config/tree_text.h"
#include "tests/harness/calls.h"

namespace eis::test {
namespace {

constexpr int kDepth = 100000;

std::string repeated(const std::string& piece, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) text += piece;
    return text;
}

// On a thread with a stack of 64 KiB, so that a recursion would show. The tree dies from its middle, while its lower
// half is held.
void* parseDeep(void* failure) {
    for (const auto& [source, expectedCode] : {std::pair{repeated("<a>", kDepth) + repeated("</a>", kDepth), 0},
                                               {"<b>" + repeated("<a>", kDepth) + "</b>", 1},
                                               {repeated("<?a?>", kDepth / 10), 0},
                                               {repeated("<a>", kDepth) + "</b>", int{kXmlUnmatchedEndTag}}}) {
        XmlResults results;
        XmlNode root = ParseXmlText(source.c_str(), &results);
        if (results.code != expectedCode || IsNull(root) != (expectedCode > 1)) return failure;
        XmlNode half;
        int depth = 0;
        for (const XmlNodeBody* body = root.body(); body != nullptr && body->childCount > 0;
             body = body->children[0].body()) {
            if (++depth == kDepth / 2) half = body->children[0];
        }
        if (expectedCode < 2 && depth < kDepth / 10 - 1) return failure;
        root = XmlNode();
        if (!IsNull(half) && half.body()->parent != nullptr) return failure;
    }
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

// Work that would be quadratic if each step began from the start: seconds then, not milliseconds.
TEST(XmlSize, ManyItemsInLinearTime) {
    constexpr int kWidth = 10000;
    constexpr int kTimes = 100000;
    const std::string attributes = repeated(" n=9", kWidth);
    const XmlNode wide =
        ParseXmlText(("<a" + attributes + ">" + repeated("t<c/><!--x-->", kWidth) + "</a>").c_str(), nullptr);
    ASSERT_FALSE(IsNull(wide));
    const XmlNodeBody& body = *wide.body();
    EXPECT_EQ(body.attributeCount, kWidth);
    EXPECT_EQ(body.textCount, kWidth);
    EXPECT_EQ(body.childCount, kWidth);
    EXPECT_EQ(body.clearCount, kWidth);

    const XmlNode merged = ParseXmlText(("<a>" + repeated("1<!--x-->", kTimes) + "</a>").c_str(), nullptr);
    ASSERT_EQ(merged.body()->textCount, 1);
    EXPECT_EQ(merged.body()->texts[0].length, static_cast<size_t>(kTimes));
    for (const char* piece : {"<b '\n>", "<b x='\n>", "<b\n><c></b>"}) {
        EXPECT_FALSE(IsNull(ParseXmlText(repeated(piece, kTimes).c_str(), nullptr))) << piece;
    }
}

}  // namespace
}  // namespace eis::test
