#include "host/picture/before_after.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "host/picture/metrics.h"

namespace eishost {

namespace {

constexpr int kCropWidth = 480;
constexpr int kCropHeight = 320;
constexpr int kGap = 8;
constexpr int kTextRow = 28;
constexpr double kDifferenceGain = 4;

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

void write(cv::Mat& sheet, const std::string& text, cv::Point at) {
    cv::putText(sheet, text, at, cv::FONT_HERSHEY_DUPLEX, 0.55, cv::Scalar::all(230), 1, cv::LINE_AA);
}

std::string figures(const Picture& before, const Picture& after, const Picture* truth, const cv::Rect& place) {
    char text[120];
    const std::string at = "at " + std::to_string(place.x) + ", " + std::to_string(place.y) + ": ";
    if (truth != nullptr) {
        const double from = planePsnr(before.mat(0), truth->mat(0), place);
        return at + "luma PSNR " + gainText(from, planePsnr(after.mat(0), truth->mat(0), place)) + " dB";
    }
    const double squares = cv::norm(after.mat(0)(place), before.mat(0)(place), cv::NORM_L2SQR);
    std::snprintf(text, sizeof text, "luma changed by %.2f levels (root mean square)",
                  std::sqrt(squares / static_cast<double>(place.area())));
    return at + text;
}

}  // namespace

cv::Mat beforeAfterSheet(const Picture& before, const Picture& after, const Picture* truth, const Caption& caption) {
    struct Column {
        std::string heading;
        cv::Mat picture;
    };
    std::vector<Column> columns{{"input", bgrFromPicture(before)}, {"output", bgrFromPicture(after)}};
    cv::Mat difference;
    cv::addWeighted(columns[1].picture, kDifferenceGain, columns[0].picture, -kDifferenceGain, 128, difference);
    if (truth != nullptr) columns.push_back({"truth", bgrFromPicture(*truth)});
    columns.push_back({"output - input, x4", difference});

    const std::vector<cv::Rect> places = pickPlaces(after.mat(0));
    const cv::Size crop = places.front().size();
    const int rowHeight = crop.height + kTextRow;
    const int count = static_cast<int>(columns.size());
    cv::Mat sheet(kTextRow + static_cast<int>(places.size()) * rowHeight, count * (crop.width + kGap) - kGap, CV_8UC3,
                  cv::Scalar::all(32));
    int x = 0;
    for (const Column& column : columns) {
        write(sheet, column.heading, {x + kGap, kTextRow - kGap});
        int y = kTextRow;
        for (const cv::Rect& place : places) {
            column.picture(place).copyTo(sheet({x, y, crop.width, crop.height}));
            if (x == 0) write(sheet, figures(before, after, truth, place), {kGap, y + rowHeight - kGap});
            y += rowHeight;
        }
        x += crop.width + kGap;
    }
    return withCaption(sheet, caption);
}

}  // namespace eishost
