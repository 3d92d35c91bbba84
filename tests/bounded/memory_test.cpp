// The memory routines: every status, and what it leaves in the destination.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "bounded/bounded_memory.h"

namespace eis {
namespace {

constexpr size_t kTooLarge = kMaxBoundedSize + 1;

struct CopyCase {
    const char* name;
    int destAt;  // indices into one area of 16 bytes "0123456789abcdef"; -1 is a null pointer
    size_t destMax;
    int srcAt;
    size_t count;
    BoundedStatus copied;  // of memcpy_s
    BoundedStatus moved;   // of memmove_s
    const char* afterCopy;
    const char* afterMove;
};

constexpr char kArea[] = "0123456789abcdef";

const CopyCase kCopyCases[] = {
    {"less than fits", 0, 8, 8, 2, 0, 0, "8923456789abcdef", "8923456789abcdef"},
    {"nothing", 0, 4, 8, 0, 0, 0, kArea, kArea},
    {"no size comes before all else", -1, 0, -1, 9, 34, 34, kArea, kArea},
    {"size beyond the largest", 0, kTooLarge, 8, 4, 34, 34, kArea, kArea},
    {"null destination", -1, 4, -1, 4, 22, 22, kArea, kArea},
    {"null source, even of nothing", 0, 4, -1, 0, 150, 150, "....456789abcdef", "....456789abcdef"},
    {"count too large clears all of it", 0, 8, 8, 9, 162, 162, "........89abcdef", "........89abcdef"},
    {"onto itself", 4, 4, 4, 4, 0, 0, kArea, kArea},
    {"source begins inside", 0, 6, 3, 4, 182, 0, "......6789abcdef", "3456456789abcdef"},
    {"destination begins inside", 3, 6, 0, 4, 182, 0, "012......9abcdef", "0120123789abcdef"},
};

TEST(BoundedMemory, CopiesAndMoves) {
    for (const CopyCase& c : kCopyCases) {
        SCOPED_TRACE(c.name);
        for (const bool move : {false, true}) {
            char area[sizeof kArea];
            std::memcpy(area, kArea, sizeof area);
            char* dest = c.destAt < 0 ? nullptr : area + c.destAt;
            const char* src = c.srcAt < 0 ? nullptr : area + c.srcAt;
            EXPECT_EQ((move ? memmove_s : memcpy_s)(dest, c.destMax, src, c.count), move ? c.moved : c.copied);
            std::string seen(area, 16);
            std::replace(seen.begin(), seen.end(), '\0', '.');
            EXPECT_EQ(seen, move ? c.afterMove : c.afterCopy);
        }
    }
}

TEST(BoundedMemory, Fills) {
    const struct {
        size_t destMax, count, filled;
        bool isNull;
        BoundedStatus status;
    } cases[] = {
        {8, 8, 8, false, 0},  {kMaxBoundedSize, 3, 3, false, 0}, {8, 0, 0, false, 0}, {8, 9, 8, false, 162},
        {0, 0, 0, false, 34}, {kTooLarge, 1, 0, false, 34},      {0, 1, 0, true, 34}, {8, 1, 0, true, 22},
        {8, 9, 0, true, 22},  {8, SIZE_MAX, 8, false, 162},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.destMax << " " << c.count);
        std::array<unsigned char, 10> area{};
        EXPECT_EQ(memset_s(c.isNull ? nullptr : area.data(), c.destMax, 0x155, c.count), c.status);
        for (size_t i = 0; i < area.size(); ++i) EXPECT_EQ(area[i], i < c.filled ? 0x55 : 0) << i;
    }
}

// Beyond what is filled through the caches.
TEST(BoundedMemory, FillsLargeBlocksAtAnyAlignment) {
    for (const size_t offset : {size_t{0}, size_t{1}, size_t{63}}) {
        const size_t count = (size_t{5} << 20) + 13 * offset;
        std::vector<unsigned char> area(count + 128);
        EXPECT_EQ(memset_s(area.data() + offset, count, 0x1AB, count), errNone);
        std::vector<unsigned char> expected(area.size());
        std::fill_n(expected.begin() + static_cast<ptrdiff_t>(offset), count, 0xAB);
        EXPECT_TRUE(area == expected) << offset;
    }
}

TEST(BoundedMemory, VersionText) {
    char text[32] = "left";
    uint16_t number = 0;
    getBoundedLibVersion(text, sizeof text, &number);
    EXPECT_STREQ(text, "Orvanta Secure C 1.8");
    EXPECT_EQ(number, 264);
    getBoundedLibVersion(text, 20, nullptr);
    EXPECT_STREQ(text, "") << "one character too small";
    text[0] = 'x';
    getBoundedLibVersion(text, 0, &number);
    getBoundedLibVersion(nullptr, 5, nullptr);
    EXPECT_EQ(text[0], 'x');
}

}  // namespace
}  // namespace eis
