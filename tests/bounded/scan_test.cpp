// The scan engine: beside the platform's own where both are defined, and alone where they differ.
#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>

#include "bounded/bounded_scan.h"
#include "tests/harness/calls.h"

namespace eis {
namespace {

// Left out: "0x" without a digit, which the platform takes for a zero and this engine for a zero ahead of an x.
TEST(BoundedScan, IntegersAsThePlatform) {
    const char* texts[] = {"12",   "  -7x", "+5",  "0x1F", "017", "-",  "+-1",   "abc", "0",       "00012",
                           "12.5", "\t\n3", "1 2", "08",   "1e3", "  ", "\v\f9", "-0",  "7fffffff"};
    for (const char letter : std::string("dioux")) {
        for (const char* prefix : {"%", "%3", "%*", "%1"}) {
            const std::string format = std::string(prefix) + letter + "%n";
            for (const char* text : texts) {
                SCOPED_TRACE(format + " of '" + text + "'");
                int ours[2] = {-99, -99};
                int theirs[2] = {-99, -99};
                // A skipped number takes no argument, so that the end comes first.
                EXPECT_EQ(sscanf_s(text, format.c_str(), &ours[0], &ours[1]),
                          std::sscanf(text, format.c_str(), &theirs[0], &theirs[1]));
                EXPECT_EQ(ours[0], theirs[0]);
                EXPECT_EQ(ours[1], theirs[1]);
            }
        }
    }
}

TEST(BoundedScan, FloatsAsThePlatform) {
    // One line holds the texts, a bar between each two.
    std::istringstream texts(
        "0.2|-100|.5|5.|.|-.|1e|1e+|1e-3x|1.5e2e3|e5|0x1p4|0x|0x1.8|inf|-INF|infi|Infinity|nan|na|nan(1)|1e40|-1e40|"
        "1e-60|  7|abc|1,5|1..2|0.1.2|+3|--3|16777217.0000001|"
        // As long as a copy on the stack holds, and one more.
        "0.1234567890123456789012345678901234567890123456789012345678901|"
        "0.12345678901234567890123456789012345678901234567890123456789012|"
        "0.333333333333333333333333333333333333333333333333333333333333333333333");
    for (std::string text; std::getline(texts, text, '|');) {
        for (const char* format : {"%f%n", "%3f%n", "%1f%n"}) {
            SCOPED_TRACE(std::string(format) + " of '" + text + "'");
            float ours = -99;
            float theirs = -99;
            int ourEnd = -99;
            int theirEnd = -99;
            EXPECT_EQ(sscanf_s(text.c_str(), format, &ours, &ourEnd),
                      std::sscanf(text.c_str(), format, &theirs, &theirEnd));
            EXPECT_EQ(std::bit_cast<uint32_t>(ours), std::bit_cast<uint32_t>(theirs)) << ours << " " << theirs;
            EXPECT_EQ(ourEnd, theirEnd);
        }
    }
    double wide = 0;
    EXPECT_EQ(sscanf_s("0.1", "%lf", &wide), 1);
    EXPECT_EQ(wide, 0.1);
    // The copy on the stack has room for 63 characters and a terminator.
    for (const int length : {62, 63, 64, 65}) {
        const std::string digits(length, '1');
        const test::ResourceWatch watch;
        EXPECT_EQ(sscanf_s(digits.c_str(), "%lf", &wide), 1);
        EXPECT_EQ(watch.count(test::kAllocation), length < 64 ? 0 : 1) << length;
    }
}

TEST(BoundedScan, LimitsOfEachLength) {
    signed char c[2] = {0, 7};
    short h = 0;
    int i = 0;
    long long q = 0;
    unsigned char uc = 0;
    unsigned u = 0;
    unsigned long long uq = 0;
    EXPECT_EQ(sscanf_s("-999 99999 -2147483649 -99999999999999999999", "%hhd%hd%d%lld", &c[0], &h, &i, &q), 4);
    EXPECT_EQ(c[0], SCHAR_MIN);
    EXPECT_EQ(sscanf_s("12", "%*d%hhn", &c[0]), 0);
    EXPECT_EQ(c[0], 2);
    EXPECT_EQ(c[1], 7) << "its neighbour";
    EXPECT_EQ(h, SHRT_MAX);
    EXPECT_EQ(i, INT_MIN);
    EXPECT_EQ(q, LLONG_MIN);
    EXPECT_EQ(sscanf_s("256 -1 -18446744073709551616", "%hhu%u%llu", &uc, &u, &uq), 3);
    EXPECT_EQ(uc, 255);
    EXPECT_EQ(u, 4294967295u) << "a negative number wraps";
    EXPECT_EQ(uq, ULLONG_MAX) << "unless its magnitude does not fit";
    EXPECT_EQ(sscanf_s("0xg", "%i%hn", &i, &h), 1);
    EXPECT_EQ(i, 0);
    EXPECT_EQ(h, 1) << "no digit behind the x";
}

// Each string is followed by its size.
TEST(BoundedScan, Strings) {
    const struct {
        const char* format;
        const char* text;
        size_t size;
        int result;
        const char* held;  // a dot where nothing was stored
    } cases[] = {
        {"%s", "  word next", 5, 1, "word"}, {"%s", "words", 5, 0, ""},
        {"%s", "word", 0, 0, "...."},        {"%3s", "words", 4, 1, "wor"},
        {"%3s", "words", 3, 0, ""},          {"%s", "   ", 8, -1, "...."},
        {"%2c", "ab", 2, 1, "ab.."},         {"%2c", "ab", 1, 0, ""},
        {"%2c", "a", 4, -1, "...."},         {"%[a-c]", "abcd", 4, 1, "abc"},
        {"%[a-c]", "abcd", 3, 0, ""},        {"%[a-c]", "xabc", 4, 0, "...."},
        {"%[^ ]", "a-b c", 4, 1, "a-b"},     {"%[]x-]", "]-xa", 4, 1, "]-x"},
        {"%[^]x]", "ab]", 4, 1, "ab"},       {"%99999999999999999999s", "ab", 4, 1, "ab"},
        {"%[a", "aab", 4, 1, "aa"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.format) + " of '" + c.text + "'");
        char dest[9] = "....";
        EXPECT_EQ(sscanf_s(c.text, c.format, dest, c.size), c.result);
        EXPECT_STREQ(dest, c.held);
    }
    char first[4] = "...";
    char second[4] = "...";
    int number = 0;
    EXPECT_EQ(sscanf_s("ab:toolong 7", "%[^:]:%s %d", first, sizeof first, second, sizeof second, &number), 1);
    EXPECT_STREQ(first, "ab");
    EXPECT_STREQ(second, "") << "a string that does not fit ends the scan";
    EXPECT_EQ(sscanf_s("xy", "%c", first, sizeof first), 1);
    EXPECT_STREQ(first, "xb");
    EXPECT_EQ(sscanf_s("x", "%s", static_cast<char*>(nullptr), size_t{4}), 0);
}

TEST(BoundedScan, Sequences) {
    const struct {
        const char* text;
        const char* format;
        int result, first, second;
    } cases[] = {
        {"ISO8 = 40%", "ISO%d =%d%%", 2, 8, 40},
        {"1 2", "%*d %d", 1, 2, 7},
        {"1", "%d%d", 1, 1, 7},
        {"1", "%z", 0, 7, 7},
        {nullptr, "%d", -1, 7, 7},
        {"1", nullptr, -1, 7, 7},
        {"", "%d", -1, 7, 7},
    };
    for (const auto& c : cases) {
        int first = 7;
        int second = 7;
        EXPECT_EQ(sscanf_s(c.text, c.format, &first, &second), c.result) << c.text;
        EXPECT_EQ(first, c.first);
        EXPECT_EQ(second, c.second);
    }
}

}  // namespace
}  // namespace eis
