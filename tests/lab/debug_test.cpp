// What eis-lab block and log make of dumps from a phone.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "host/lab/block_planes.h"
#include "host/lab/log_calls.h"
#include "host/program/exit_codes.h"
#include "tests/harness/tools/cli.h"

namespace eislab {
namespace {

using eishost::TempFolder;
using Strings = std::vector<std::string>;

TEST(Block, NamesWhatCannotBe) {
    const ST_SCALE_BLOCK sound{320, 240, 320, 640, 480, 640, 2, 0x1000000, 0x2000000, 0x3000000, 0x4000000};
    const struct {
        std::function<void(ST_SCALE_BLOCK&)> spoil;
        Strings faults;
    } cases[] = {
        {[](auto&) {}, {}},
        {[](auto& block) { block.border = 1; }, {"border is 1: must be 2"}},
        {[](auto& block) { block.dstStride = 300; }, {"dstStride is 300: below the width of 320"}},
        {[](auto& block) { block.srcHeight = 0; }, {"srcHeight is 0: there is nothing to scale"}},
        {[](auto& block) { block.Uvout = 0; }, {"Uvout is 0"}},
        {[](auto& block) { block.Uvout = block.Yout + 239 * 320 + 319; }, {"Uvout overlaps Yout"}},
        {[](auto& block) { block.Uvout = block.Yout + 240 * 320; }, {}},
        {[](auto& block) { block.Yout = block.Yin; }, {}},  // it works on a copy then
    };
    for (const auto& [spoil, faults] : cases) {
        ST_SCALE_BLOCK block = sound;
        spoil(block);
        const auto memory = [](DeviceAddress) { return std::span<const std::uint8_t>(); };
        const auto values = eishost::readBlock("Scale_Bilinear_AcoreAPI",
                                               {reinterpret_cast<const std::uint8_t*>(&block), sizeof block}, memory);
        EXPECT_EQ(blockFaults("Scale_Bilinear_AcoreAPI", values, memory, false), faults);
    }
}

// A block of two words, and what stands at their addresses.
TEST(Block, FollowsAddressesIntoDumpedMemory) {
    const TempFolder folder;
    ST_MULTIDENOISE_PARAMS_OUT_DEV out{};
    out.stPicOut = {1280, 126, 1280, {0x9000, 0x1000, 0x1000}, 2};
    const auto bytes = [](const auto& value) {
        return std::string(reinterpret_cast<const char*>(&value), sizeof value);
    };
    folder.write("block", bytes(ST_SPATIAL_NR_CALL_BLOCK{0x5000, 0x2000}));
    folder.write("out", bytes(out));
    folder.write("plane", std::string(640 * 63, 'x'));
    const eishost::CliResult result = eishost::runCli(
        "block block --entry SpatialNrHLMain_ACoreApi --memory 0x2000=out --memory 0x1000=plane", folder.path(""));
    EXPECT_EQ(result.exitCode, eishost::kExitFindings) << result.err;
    for (const char* line : {"0x00002000 +4    0x0000007e   outPara.stPicOut.height ", "-> plane, 40320 bytes\n",
                             "cannot be: inPara does not convert: it is in no buffer\n",
                             "cannot be: outPara.stPicOut.height is 126: denoising starts at 128\n",
                             "cannot be: outPara.stPicOut.pData[0] does not convert: it is in no buffer\n",
                             "cannot be: outPara.stPicOut.pData[2] overlaps outPara.stPicOut.pData[1]\n"}) {
        EXPECT_NE(result.out.find(line), std::string::npos) << line << result.out;
    }
}

// Rows of the mask are read at the stride, for it is above the width.
TEST(Block, TheMaskReachesToTheLastRowOfTheStride) {
    const TempFolder folder;
    ST_DN_PARAMS_NEW record{};
    record.pMaskIIR = 0x8000;
    const ST_CHROMA_CALL_BLOCK block{0x1000, 0x2000, 1 << 20, 128, 256, 256, 0x3000, 0x4000};
    folder.write("block", {reinterpret_cast<const char*>(&block), sizeof block});
    folder.write("record", {reinterpret_cast<const char*>(&record), sizeof record});
    folder.write("mask", std::string(256 * 256 - 1, 'x'));
    const std::string call = "block block --entry ChromaLowLevelMainCall_2 --memory 0x1000=record --memory 0x8000=mask";
    const std::string text = eishost::runCli(call, folder.path("")).out;
    EXPECT_NE(text.find("stDNParams.pMaskIIR: the entry takes 65536 bytes, its buffer has 65535"), std::string::npos)
        << text;
}

// One registration that was refused and one that never ended, in each format.
TEST(Log, GroupsCallsInEveryFormat) {
    const struct {
        const char* head;
        bool hasClock;
    } formats[] = {{"I/EIS_AP( 412): ", false},
                   {"11-26 10:00:00.250 E/EIS_AP( 412): ", true},
                   {"11-26 10:00:00.250   412   500 I EIS_AP: ", true},
                   {"EIS_AP I 11-26 10:00:00 412 500 ", false},
                   {"I EIS_AP: ", false}};
    for (const auto& [head, hasClock] : formats) {
        const TempFolder folder;
        std::string text = "--------- beginning of main\nI/Other( 3): aside\n";
        for (const char* line :
             {"Ransac_Regis run idx = 1", "enter func RansacEst_AcoreAPI_EIS",
              "[MFNR_TIME][RansacEst_AcoreAPI_EIS] cost 3 ms", "IMG_REGISTRATION: Incorrect h!",
              "[MFNR_TIME][ImgRegistration] cost 4 ms", "return retStsOK", "Ransac_Regis run idx = 2"}) {
            text += head + std::string(line) + "\n";
        }
        const std::vector<LoggedCall> calls = groupCalls(readLog(folder.write("log", text)));
        ASSERT_EQ(calls.size(), 2u) << head;
        EXPECT_EQ(calls[0].firstLine, 3u);
        EXPECT_TRUE(calls[0].ended);
        EXPECT_EQ(calls[0].status, 0);
        ASSERT_EQ(calls[0].times.size(), hasClock ? 3u : 2u) << head;
        EXPECT_EQ(calls[0].times[1].milliseconds, 4);
        EXPECT_EQ(calls[0].reasons, Strings{"refused, the frame is copied: the perspective is too strong"});
        EXPECT_FALSE(calls[1].ended);
        const eishost::CliResult whole = eishost::runCli("log log", folder.path(""));
        EXPECT_EQ(whole.exitCode, eishost::kExitFindings);
        for (const char* part : {"line 3: Ransac_Regis_AcoreAPI_EIS", "status 0\n", " 4 ms\n",
                                 "\n    refused, the frame is", "line 9: Ransac_Regis_AcoreAPI_EIS", ", NO END\n",
                                 "milliseconds  ", "\n2 calls, 0 failed, 1 without an end\n"}) {
            EXPECT_NE(whole.out.find(part), std::string::npos) << part << whole.out;
        }
        folder.write("damaged", text + "no line\n");
        const eishost::CliResult damaged = eishost::runCli("log damaged", folder.path(""));
        EXPECT_EQ(damaged.exitCode, eishost::kExitUnreadable);
        EXPECT_NE(damaged.err.find("line 10, at byte " + std::to_string(text.size())), std::string::npos)
            << damaged.err;
    }
}

}  // namespace
}  // namespace eislab
