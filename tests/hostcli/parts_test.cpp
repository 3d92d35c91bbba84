// What the commands stand on: device memory, the filled rectangle that is read off a picture, the guess at a name.
#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>
#include <sstream>

#include "host/dsp/dsp_arena.h"
#include "host/dsp/registration_call.h"
#include "host/dsp/scale_call.h"
#include "host/match/filled_area.h"
#include "host/program/exit_codes.h"
#include "host/program/key_value.h"
#include "host/program/nearest_name.h"
#include "tests/harness/tools/test_pictures.h"

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
    EXPECT_NE(arena.findCpu(arena.cpuSide(address + 7)).buffer, nullptr);
    EXPECT_EQ(arena.findCpu(arena.cpuSide(address) + 8).buffer, nullptr);
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

// The library builds pairs of five entries and more.
TEST(RegistrationCall, TellsThePairsThatItHas) {
    for (const auto& [entries, kept] : {std::pair{4, 0}, {5, 5}, {6, 6}}) {
        MatchTables matches;
        for (int i = 0; i < entries; ++i) {
            const KeypointRow row = keypointRow(cv::Point2d(10 + i * i % 7 * 50, 10 + i * 40));
            for (auto* table : {&matches.refKeypoints, &matches.curKeypoints}) {
                table->insert(table->end(), row.begin(), row.end());
            }
            for (auto* list : {&matches.refIndex, &matches.curIndex}) list->push_back(static_cast<std::int16_t>(i));
            matches.distance.push_back(1);
        }
        const Picture picture(384, 256);
        EXPECT_EQ(registerFrame(picture, picture, matches, {}).keptRef.size(), static_cast<std::size_t>(kept));
    }
}

// The margins as the library makes them: left and top about the first column and row, right and bottom about the edge.
Picture mirrorAround(const cv::Mat& luma, const cv::Rect& area) {
    const int right = luma.cols - area.br().x;
    const int bottom = luma.rows - area.br().y;
    const cv::Mat inside = luma(area).clone();
    cv::Mat wide;
    cv::copyMakeBorder(inside, wide, 0, bottom, 0, right, cv::BORDER_REFLECT);
    cv::copyMakeBorder(wide.clone(), wide, area.y, 0, area.x, 0, cv::BORDER_REFLECT_101);
    Picture picture(luma.cols, luma.rows);
    wide.copyTo(picture.mat(0));
    return picture;
}

TEST(FilledArea, IsReadOffTheMirroredMargin) {
    cv::Mat luma;
    cv::cvtColor(collage(320, 240), luma, cv::COLOR_BGR2GRAY);
    for (const cv::Rect& area :
         {cv::Rect(0, 0, 312, 232), cv::Rect(10, 0, 304, 240), cv::Rect(0, 2, 320, 232), cv::Rect(84, 60, 168, 128)}) {
        // A fit is off by some pixels at most, but here by far.
        EXPECT_EQ(findFilledArea(mirrorAround(luma, area), cv::Rect(40, 40, 200, 160)), area) << area;
    }
}

TEST(FilledArea, FollowsTheFitWhereThePictureIsFlat) {
    cv::Mat luma;
    cv::cvtColor(collage(320, 240), luma, cv::COLOR_BGR2GRAY);
    luma.rowRange(0, 60).setTo(255);
    const Picture picture = mirrorAround(luma, cv::Rect(6, 4, 304, 232));
    EXPECT_EQ(findFilledArea(picture, cv::Rect(6, 4, 304, 232)), cv::Rect(6, 4, 304, 232));
    EXPECT_EQ(findFilledArea(picture, cv::Rect(6, 0, 304, 236)), cv::Rect(6, 0, 304, 236));
}

TEST(NearestName, IsTheFirstOfTheNearestUpToAThirdOfItsLetters) {
    const std::string known[] = {"lumaHF1", "lumaHF2", "detail"};
    EXPECT_EQ(nearestName("LUMAHF3", known), "lumaHF1");
    EXPECT_EQ(nearestName("dteial", known), "detail");
    EXPECT_EQ(nearestName("tail", known), "");
}

TEST(KeyValue, HoldsWholeNumbersToTheirEnds) {
    EXPECT_EQ(KeyValue("a=2147483647").wholeNumber("a"), INT32_MAX);
    EXPECT_EQ(KeyValue("a=-3").wholeNumber("a", -3, 5), -3);
    for (const char* word : {"a=-4", "a=6", "a=", "a= 5 "}) {
        EXPECT_THROW(KeyValue(word).wholeNumber("a", -3, 5), HostError) << word;
    }
}

}  // namespace
}  // namespace eishost
