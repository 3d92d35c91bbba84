#include "host/before_after.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace eishost {

namespace {

constexpr int kCropWidth = 480;
constexpr int kCropHeight = 320;
constexpr int kGap = 8;
constexpr int kHeading = 28;
constexpr double kDifferenceGain = 4;
constexpr const char* kHeadings[] = {"input", "output", "difference x4"};

struct Place {
    double contrast;
    cv::Rect area;
};

// The flattest tile, the middle one and the most textured, judged without the noise; fewer if there are fewer.
std::vector<cv::Rect> pickPlaces(const cv::Mat& luma) {
    const cv::Size crop(std::min(kCropWidth, luma.cols), std::min(kCropHeight, luma.rows));
    std::vector<Place> tiles;
    for (int y = 0; y + crop.height <= luma.rows; y += crop.height) {
        for (int x = 0; x + crop.width <= luma.cols; x += crop.width) {
            const cv::Rect area(cv::Point(x, y), crop);
            cv::Mat gradient;
            cv::Laplacian(luma(area), gradient, CV_16S, 3);
            tiles.push_back({cv::norm(gradient, cv::NORM_L1), area});
        }
    }
    std::sort(tiles.begin(), tiles.end(), [](const Place& a, const Place& b) { return a.contrast < b.contrast; });
    std::vector<cv::Rect> places{tiles.front().area};
    if (tiles.size() > 2) places.push_back(tiles[tiles.size() / 2].area);
    if (tiles.size() > 1) places.push_back(tiles.back().area);
    return places;
}

}  // namespace

cv::Mat beforeAfterSheet(const Picture& before, const Picture& after) {
    const cv::Mat input = bgrFromPicture(before);
    const cv::Mat output = bgrFromPicture(after);
    const std::vector<cv::Rect> places = pickPlaces(after.mat(0));
    const cv::Size crop = places.front().size();
    const int rows = static_cast<int>(places.size());
    cv::Mat sheet(kHeading + rows * (crop.height + kGap), 3 * (crop.width + kGap) - kGap, CV_8UC3, cv::Scalar::all(32));
    for (int column = 0; column < 3; ++column) {
        const int x = column * (crop.width + kGap);
        cv::putText(sheet, kHeadings[column], {x + kGap, kHeading - kGap}, cv::FONT_HERSHEY_SIMPLEX, 0.6,
                    cv::Scalar::all(230), 1, cv::LINE_AA);
        for (int row = 0; row < rows; ++row) {
            cv::Mat to = sheet({x, kHeading + row * (crop.height + kGap), crop.width, crop.height});
            const cv::Mat in = input(places[row]);
            const cv::Mat out = output(places[row]);
            if (column == 0) in.copyTo(to);
            if (column == 1) out.copyTo(to);
            if (column == 2) cv::addWeighted(out, kDifferenceGain, in, -kDifferenceGain, 128, to);
        }
    }
    return sheet;
}

}  // namespace eishost
