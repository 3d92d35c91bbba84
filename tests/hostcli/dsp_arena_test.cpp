#include "host/dsp_arena.h"

#include <gtest/gtest.h>

#include <sstream>

#include "host/scale_call.h"

namespace eishost {
namespace {

TEST(DspArena, MovesNothingBetweenTheSidesByItself) {
    DspArena arena;
    const DeviceAddress address = arena.allocate(8, "list");
    std::memset(arena.dspSide(address), 1, 8);
    EXPECT_NE(*arena.cpuSide(address), 1);
    arena.syncToCpu(address + 3);  // any address of the buffer stands for all of it
    EXPECT_EQ(*arena.cpuSide(address), 1);
    EXPECT_EQ(*arena.cpuSide(address + 7), 1);
    std::memset(arena.cpuSide(address), 2, 8);
    EXPECT_EQ(*arena.dspSide(address), 1);
    arena.syncToDsp(address);
    EXPECT_EQ(*arena.dspSide(address + 7), 2);
}

TEST(DspArena, ConvertsOnlyWhatLiesInABuffer) {
    DspArena arena;
    const DeviceAddress first = arena.allocate(4096, "first");
    const DeviceAddress second = arena.allocate(10, "second");
    EXPECT_EQ(arena.cpuSide(first + 4095), arena.cpuSide(first) + 4095);
    for (const DeviceAddress nobody : {DeviceAddress{0}, first - 1, first + 4096, second - 1, second + 10, ~0u}) {
        EXPECT_EQ(arena.cpuSide(nobody), nullptr) << nobody;
        EXPECT_EQ(arena.dspSide(nobody), nullptr) << nobody;
    }
    EXPECT_THROW(arena.allocate(std::size_t{1} << 32, "too large"), std::bad_alloc);
}

TEST(DspArena, RefusesAddressesThatAreNotItsOwn) {
    std::ostringstream trace;
    DspArena arena(&trace);
    ST_SCALE_BLOCK block{};
    block.Yin = arena.allocate(16, "Yin");
    EXPECT_EQ(Scale_Bilinear_AcoreAPI(&block), retStsBadAddress);
    EXPECT_NE(trace.str().find("trace: convert Yin (0x"), std::string::npos) << trace.str();
    EXPECT_NE(trace.str().find("trace: convert unknown address 0x00000000"), std::string::npos) << trace.str();
    EXPECT_EQ(trace.str().find("invalidate"), std::string::npos) << trace.str();
}

TEST(ScaleCall, TracesTheCropStartAndTheOrder) {
    std::ostringstream trace;
    const Picture picture(64, 48);
    scalePicture(picture, {16, 8, 32, 32}, {16, 16}, &trace, nullptr);
    std::istringstream lines(trace.str());
    std::string seen;
    for (std::string line; std::getline(lines, line);) seen += line.substr(7, line.find(" (0x") - 7) + '\n';
    EXPECT_EQ(seen,
              "convert Yin + 1040\nconvert Uvin\nconvert Yout\nconvert Uvout\n"  // row 8 of 128 bytes, column 16
              "invalidate Yin + 1040\ninvalidate Yout\ninvalidate Uvin\ninvalidate Uvout\n"
              "flush Yout\nflush Uvout\n");
}

}  // namespace
}  // namespace eishost
