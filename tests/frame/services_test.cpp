// Slots, unaligned words, durations and banners.
#include <gtest/gtest.h>

#include <cstring>

#include "include/acore_api.h"
#include "libCore/core/source/clock.h"
#include "libCore/core/source/slots.h"
#include "libCore/core/source/version.h"
#include "libCore/core/source/wire.h"
#include "tests/harness/events.h"

namespace eis {
namespace {

int g_first;
int g_second;

TEST(Slots, LaterSetterReplaces) {
    setIO2VAConverter([](DeviceAddress) -> void* { return &g_first; });
    EXPECT_EQ(convertTo<int>(7), &g_first);
    setIO2VAConverter([](DeviceAddress address) -> void* { return address == 0xFFFFFFFFu ? &g_second : nullptr; });
    EXPECT_EQ(convertTo<int>(0xFFFFFFFFu), &g_second);

    // Each slot has a callback of its own; a flush by device address hands on whatever the conversion gave.
    setGraphicBufferInvalidater([](void* address) { test::recordCallback(address == &g_first ? "invalidate" : "?"); });
    setGraphicBufferFlusher([](void* address) { test::recordCallback(address == nullptr ? "flush null" : "flush"); });
    FunInvalidBuff(&g_first);
    FunFlushBuff(&g_second);
    flushDeviceAddress(1);
    EXPECT_TRUE(test::callbacksWere({"invalidate", "flush", "flush null"}));
    setIO2VAConverter(nullptr);
    setGraphicBufferInvalidater(nullptr);
    setGraphicBufferFlusher(nullptr);
}

TEST(Wire, WordsAtAnyAddress) {
    uint8_t bytes[24];
    for (int shift = 0; shift < 8; ++shift) {
        std::memset(bytes, 0x11, sizeof bytes);
        storeUnaligned<int64_t>(bytes + shift, -2);
        EXPECT_EQ(loadUnaligned<int64_t>(bytes + shift), -2);
        EXPECT_EQ(loadWord(bytes + shift, 0), 0xFFFFFFFEu);
        EXPECT_EQ(loadWord(bytes + shift, 1), 0xFFFFFFFFu);
        EXPECT_EQ(loadWord(bytes + shift + 4, -1), 0xFFFFFFFEu);
        EXPECT_EQ(bytes[shift + 8], 0x11);
    }
}

TEST(Clock, Durations) {
    const struct {
        int64_t start, end;
        long whole;
        double fraction;
    } cases[] = {
        {0, 999, 0, 0.999},
        {1700000000000000, 1700000000001999, 1, 1.999},
        // A clock set back: truncated toward zero, and cut to 32 bits without a sign.
        {1700000000001999, 1700000000000000, -1, 4294965.297},
        {0, 0x100000000 + 1500, 4294968, 1.5},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(elapsedMilliseconds(c.start, c.end), c.whole);
        EXPECT_DOUBLE_EQ(elapsedMillisecondsFraction(c.start, c.end), c.fraction);
    }
}

TEST(Version, Banners) {
    LogVersion();
    LogPostProcessVersion();
    // Date as "Mmm dd yyyy", time as "hh:mm:ss".
    EXPECT_TRUE(test::logWas(
        {"info MFNR AP Version : __LOG-Zentrix Video 5.2.VVEIS3.B010__* * 20*__*:*:*__\n",
         "info tqlmr: Marquette PostProcess Version : __LOG-Zentrix Video 5.2.VVEIS3.B010__* * 20*__*:*:*__\n"}));
}

}  // namespace
}  // namespace eis
