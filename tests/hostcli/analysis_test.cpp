// The parts of a report that the tool works out itself.
#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "host/filled_area.h"
#include "host/homography_fit.h"
#include "host/keypoints.h"
#include "host/matching.h"
#include "host/refusal.h"
#include "tests/hostcli/test_pictures.h"

namespace eishost {
namespace {

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

TEST(FilledArea, IsExpectedWhereTheFramesOverlap) {
    const cv::Matx33d moved(1, 0, 12, 0, 1, -20, 0, 0, 1);
    EXPECT_EQ(expectedArea(moved, 320, 240), cv::Rect(0, 20, 308, 220));
}

TEST(HomographyFit, FindsAnExactHomographyAndRefusesNone) {
    const cv::Matx33d truth(1.01, -0.02, 30.5, 0.015, 0.99, -12.25, 3e-6, -2e-6, 1);
    std::vector<cv::Point2f> ref;
    std::vector<cv::Point2f> cur;
    for (int i = 0; i < 40; ++i) {
        ref.emplace_back(static_cast<float>(i * 97 % 4000), static_cast<float>(i * 389 % 3000));
        cur.emplace_back(project(truth, ref.back()));
    }
    const auto fit = fitHomography(ref, cur);
    ASSERT_TRUE(fit);
    EXPECT_LT(rmsResidual(*fit, ref, cur), 1e-3);
    EXPECT_LT(cv::norm(project(*fit, {4000, 3000}) - project(truth, {4000, 3000})), 1e-3);
    EXPECT_FALSE(fitHomography({}, {}));
    const std::vector<cv::Point2f> line(10, cv::Point2f(5, 5));
    EXPECT_FALSE(fitHomography(line, line));
}

TEST(Matching, FindsAShiftToATenthOfAPixel) {
    const cv::Mat scene = collage(1300, 1000);
    cv::Mat luma;
    cv::cvtColor(scene, luma, cv::COLOR_BGR2GRAY);
    cv::Mat moved;
    const cv::Matx23d shift(1, 0, 3.25, 0, 1, -7.5);
    cv::warpAffine(luma, moved, shift, luma.size(), cv::INTER_CUBIC, cv::BORDER_REFLECT);
    const MatchTables tables = matchFrames(MatchableFrame(luma), MatchableFrame(moved));
    ASSERT_GT(tables.entries(), 1000);
    ASSERT_LE(tables.curKeypoints.size() / 3, static_cast<std::size_t>(kMaxKeypoints));
    int close = 0;
    int best = 0;
    for (int i = 0; i < tables.entries(); ++i) {
        if (i > 0 && tables.refIndex[i] == tables.refIndex[i - 1]) {
            EXPECT_GE(tables.distance[i], tables.distance[i - 1]) << "the nearest candidate comes first";
            continue;
        }
        ++best;
        const int ref = 3 * tables.refIndex[i];
        const int cur = 3 * tables.curIndex[i];
        const cv::Point2f error((tables.curKeypoints[cur] - tables.refKeypoints[ref]) / kKeypointUnits - 3.25F,
                                (tables.curKeypoints[cur + 1] - tables.refKeypoints[ref + 1]) / kKeypointUnits + 7.5F);
        if (cv::norm(error) < 0.1) ++close;
    }
    EXPECT_GT(close, best * 3 / 4);
}

TEST(Keypoints, CoverWhatHoldsThreeOfThem) {
    std::vector<cv::Point2f> points(3, cv::Point2f(10, 10));
    EXPECT_DOUBLE_EQ(Keypoints::coverage(points, {800, 600}), 1.0 / 48);
    points.insert(points.end(), 2, cv::Point2f(799, 599));
    EXPECT_DOUBLE_EQ(Keypoints::coverage(points, {800, 600}), 1.0 / 48);
    points.emplace_back(800.5F, 600.5F);  // refined past the edge
    EXPECT_DOUBLE_EQ(Keypoints::coverage(points, {800, 600}), 2.0 / 48);
}

TEST(Refusal, IsTheErrorLineThatEndsRegistration) {
    const std::vector<LogLine> log = {{4, "EIS_AP", "Ransac_Regis run idx = 1"},
                                      {6, "EIS_AP", "IMG_REGISTRATION: keypoints 6"},
                                      {6, "EIS_AP", "IMG_REGISTRATION: not enough keypoints 6"},
                                      {4, "EIS_AP", "Enter ImgRegistration imgDataCopy 3"}};
    const auto refusal = findRefusal(log);
    ASSERT_TRUE(refusal);
    EXPECT_EQ(refusal->logLine, "IMG_REGISTRATION: not enough keypoints 6");
    EXPECT_NE(refusal->reason.find("8 matches"), std::string::npos);
    EXPECT_FALSE(findRefusal({log[0], log[1]}));
}

}  // namespace
}  // namespace eishost
