// eis-host --record and replay, end to end.
#include <gtest/gtest.h>

#include "host/dsp/call_record.h"
#include "host/picture/picture.h"
#include "host/program/exit_codes.h"
#include "tests/harness/tools/cli.h"
#include "tests/harness/tools/test_pictures.h"

namespace eishost {
namespace {

Picture flatPicture() {
    Picture picture(256, 192);
    for (int plane = 0; plane < 3; ++plane) std::fill(picture.planes[plane].begin(), picture.planes[plane].end(), 90);
    return picture;
}

std::string recordedScale(const TempFolder& folder) {
    savePicture(folder.path("in.y4m"), flatPicture());
    runCli("scale in.y4m out.y4m --size 128x96 --record call.eisc", folder.path(""));
    return folder.read("call.eisc");
}

TEST(Replay, FindsEachCallOfACommandTheSame) {
    const TempFolder folder;
    recordedScale(folder);
    writeImage(folder.path("photo.png"), collage(900, 700));
    ASSERT_EQ(runCli("synth photo.png --frames 2 --size 320x240 --out burst", folder.path("")).exitCode, kExitOk);
    for (const std::string command :
         {"denoise in.y4m out.png lumaLF=-60", "denoise in.y4m out.png --chroma-only low --iso-row 3",
          "denoise in.y4m out.png --chroma-only high chromaS=-60", "tables fast nrTH=40",
          "register burst/frame_00.png burst/frame_01.png --out aligned.png", "tables shrink shrinkRatio1=-40",
          "tuning show " EIS_TUNING_FILE}) {
        ASSERT_EQ(runCli(command + " --record more.eisc", folder.path("")).exitCode, kExitOk) << command;
        folder.write("call.eisc", folder.read("call.eisc") + folder.read("more.eisc"));
    }
    const CliResult result = runCli("replay call.eisc", folder.path(""));
    EXPECT_EQ(result.exitCode, kExitOk) << result.out << result.err;
    EXPECT_NE(result.out.find("call 9: ParseXML_AcoreAPI_EIS"), std::string::npos) << result.out;
    for (int call = 1; call <= 9; ++call) {
        const CliResult block = runCli(
            "--version && '" EIS_LAB_PROGRAM "' block call.eisc --call " + std::to_string(call), folder.path(""));
        EXPECT_EQ(block.exitCode, kExitOk) << "what a tool hands over cannot be: " << block.out << block.err;
    }
}

TEST(Replay, TellsWhatAnotherLibraryMakesOfACall) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "its runtime lets no library be preloaded";
#endif
    const TempFolder folder;
    recordedScale(folder);
    const CliResult result = runCli("replay call.eisc --library " EIS_OTHER_LIBRARY, folder.path(""));
    EXPECT_EQ(result.exitCode, kExitFindings) << result.err;
    for (const char* line :
         {"status: 0 was, -998 is\n", ": 1 of 12288 bytes differ, the first at 128: 90 was, 91 is\n",
          "  callback is missing: flush Uvout", "  log is missing: I EIS_AP:  [EIS_TIME][SCALE_C]"}) {
        EXPECT_NE(result.out.find(line), std::string::npos) << line << result.out;
    }
    EXPECT_EQ(result.out.find("callback is missing: flush Yout"), std::string::npos);
    runCli("tables fast --record fast.eisc", folder.path(""));
    const CliResult lacking = runCli("replay fast.eisc --library " EIS_OTHER_LIBRARY, folder.path(""));
    EXPECT_EQ(lacking.exitCode, kExitUnsuitable);
    EXPECT_NE(lacking.err.find("has no export CalcFastDn2dControl_AcoreAPI"), std::string::npos) << lacking.err;
}

// Cut anywhere and with any byte changed, a record is refused, with a place in it.
TEST(Replay, RefusesADamagedRecordByItsOffset) {
    const TempFolder folder;
    const std::string whole = recordedScale(folder);
    const std::size_t unfinished = whole.find("STAT");
    for (std::size_t at = 1; at < whole.size(); at += at < 300 ? 1 : 1999) {
        for (const bool cut : {true, false}) {
            std::string damaged = whole;
            if (cut) damaged.resize(at);
            if (!cut) damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
            if (cut && at == unfinished) continue;
            const std::string name = folder.write("damaged.eisc", damaged);
            try {
                CallReader(name).next();
                ADD_FAILURE() << "taken, though damaged at " << at;
            } catch (const HostError& error) {
                EXPECT_EQ(error.code, kExitUnreadable) << error.what();
                EXPECT_NE(std::string(error.what()).find("byte"), std::string::npos) << error.what();
            }
        }
    }
    folder.write("unfinished.eisc", whole.substr(0, unfinished));
    const CliResult result = runCli("replay unfinished.eisc", folder.path(""));
    EXPECT_NE(result.out.find("it never returned; now it does, with 0"), std::string::npos) << result.out << result.err;
    folder.write("later.eisc", whole.substr(0, 8) + '\2' + whole.substr(9));
    EXPECT_NE(runCli("replay later.eisc", folder.path("")).err.find("a record of version 2"), std::string::npos);
}

}  // namespace
}  // namespace eishost
