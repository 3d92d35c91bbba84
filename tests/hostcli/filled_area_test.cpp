// The filled rectangle, which the tool reads off the picture.
#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include "host/match/filled_area.h"
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

}  // namespace
}  // namespace eishost
