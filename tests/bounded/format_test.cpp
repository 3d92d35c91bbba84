// Formatted output: the count, the cut, and what a failure leaves.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "bounded/bounded_format.h"
#include "bounded/bounded_memory.h"

namespace eis {
namespace {

constexpr size_t kNoCount = SIZE_MAX;  // sprintf_s in place of snprintf_s

TEST(BoundedFormat, CountsAndCuts) {
    const struct {
        size_t destMax, count;
        size_t length;  // of the text to print
        int result;
        size_t kept;
    } cases[] = {
        {256, kNoCount, 256, -1, 0},
        {1, kNoCount, 0, 0, 0},
        {256, 256, 256, -1, 0},
        {256, 10, 300, -1, 10},
        {256, 255, 300, -1, 255},
        {256, 0, 5, -1, 0},
        {16, 200, 16, -1, 0},
        {256, kMaxBoundedSize - 1, 20, 20, 20},
        {256, kMaxBoundedSize, 20, -1, 0},
        {0, 4, 2, -1, SIZE_MAX},
        {kMaxBoundedSize + 1, kNoCount, 2, -1, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.destMax << " " << c.count << " " << c.length);
        const std::string text(c.length, 'x');
        char dest[257];
        std::memset(dest, '#', sizeof dest);
        const int result = c.count == kNoCount ? sprintf_s(dest, c.destMax, "%s", text.c_str())
                                               : snprintf_s(dest, c.destMax, c.count, "%s", text.c_str());
        EXPECT_EQ(result, c.result);
        EXPECT_EQ(dest[256], '#');
        if (c.kept == SIZE_MAX) {
            EXPECT_EQ(dest[0], '#') << "nothing to clear without a size";
        } else {
            EXPECT_STREQ(dest, text.substr(0, c.kept).c_str());
        }
    }
}

// A wide character that has no form in the C locale fails its conversion. A length beyond an int does not: what fits
// stays.
TEST(BoundedFormat, FailuresClear) {
    const struct {
        const char* format;
        const char* kept;
    } cases[] = {{nullptr, ""}, {"ab%lc", ""}, {"ab%2147483648d", "ab"}};
    for (const auto& [format, kept] : cases) {
        char first[32] = "abc";
        char second[32] = "abc";
        EXPECT_EQ(sprintf_s(first, sizeof first, format, static_cast<wint_t>(0x20AC)), -1);
        EXPECT_EQ(snprintf_s(second, sizeof second, 8, format, static_cast<wint_t>(0x20AC)), -1);
        EXPECT_STREQ(first, "");
        EXPECT_STREQ(second, kept);
    }
    EXPECT_EQ(sprintf_s(nullptr, 4, "%d", 1), -1);
    EXPECT_EQ(snprintf_s(nullptr, 4, 4, "%d", 1), -1);
}

}  // namespace
}  // namespace eis
