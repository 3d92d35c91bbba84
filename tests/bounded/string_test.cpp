// The string copies: every status, termination, and texts that run into each other.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "bounded/bounded_string.h"

namespace eis {
namespace {

constexpr size_t kWholeText = SIZE_MAX - 1;  // strcpy_s in place of strncpy_s

struct StringCase {
    const char* name;
    int destAt;  // indices into one area that holds "abcd", "XY" and "0123456789"; -1 is a null pointer
    size_t destMax;
    int srcAt;
    size_t count;
    BoundedStatus status;
    const char* after;  // a dot for each zero byte
};

constexpr char kTextArea[] =
    "abcd\0XY\0"
    "0123456789";
constexpr char kUntouched[] = "abcd.XY.0123456789.";

const StringCase kCases[] = {
    {"fits exactly", 8, 5, 0, kWholeText, 0, "abcd.XY.abcd.56789."},
    {"largest size", 8, kMaxBoundedSize, 0, kWholeText, 0, "abcd.XY.abcd.56789."},
    {"one too small", 8, 4, 0, kWholeText, 162, "abcd.XY..123456789."},
    {"no size", 8, 0, 0, kWholeText, 34, kUntouched},
    {"no destination", -1, 5, -1, kWholeText, 22, kUntouched},
    {"no source", 8, 5, -1, kWholeText, 150, "abcd.XY..123456789."},
    {"onto itself, even when too long", 8, 3, 8, kWholeText, 0, kUntouched},
    {"runs into the source", 8, 9, 11, kWholeText, 182, "abcd.XY..123456789."},
    {"runs into the destination", 2, 9, 0, kWholeText, 182, "ab.d.XY.0123456789."},
    {"touches the source's end", 5, 9, 0, kWholeText, 0, "abcd.abcd.23456789."},
    {"cut at the count", 8, 5, 0, 2, 0, "abcd.XY.ab.3456789."},
    {"count of the whole destination", 8, 4, 0, 4, 162, "abcd.XY..123456789."},
    {"nothing", 8, 4, 0, 0, 0, "abcd.XY..123456789."},
    {"nothing from nowhere", 8, 4, -1, 0, 150, "abcd.XY..123456789."},
    {"count beyond the largest", 8, 5, 0, kMaxBoundedSize + 1, 162, "abcd.XY..123456789."},
    {"largest count", 8, 5, 0, kMaxBoundedSize, 0, "abcd.XY.abcd.56789."},
    {"the part copied does not overlap", 8, 4, 11, 2, 0, "abcd.XY.34.3456789."},
    {"the terminator overlaps", 8, 4, 10, 2, 182, "abcd.XY..123456789."},
};

TEST(BoundedString, Copies) {
    for (const StringCase& c : kCases) {
        SCOPED_TRACE(c.name);
        char area[sizeof kTextArea];
        std::memcpy(area, kTextArea, sizeof area);
        char* dest = c.destAt < 0 ? nullptr : area + c.destAt;
        const char* src = c.srcAt < 0 ? nullptr : area + c.srcAt;
        EXPECT_EQ(c.count == kWholeText ? strcpy_s(dest, c.destMax, src) : strncpy_s(dest, c.destMax, src, c.count),
                  c.status);
        std::string seen(area, sizeof area);
        for (char& byte : seen) byte = byte == '\0' ? '.' : byte;
        EXPECT_EQ(seen, c.after);
    }
}

}  // namespace
}  // namespace eis
