#include "host/dsp/dsp_arena.h"

#include <gtest/gtest.h>

#include <sstream>

#include "host/dsp/scale_call.h"

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
    for (const DeviceAddress nobody : {DeviceAddress{0}, address - 1, address + 8, ~0u}) {
        EXPECT_EQ(arena.cpuSide(nobody), nullptr) << nobody;
    }
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
