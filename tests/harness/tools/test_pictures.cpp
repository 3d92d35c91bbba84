#include "tests/harness/tools/test_pictures.h"

#include <filesystem>
#include <fstream>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "host/picture/image_codecs.h"
#include "tests/harness/files.h"

namespace eishost {

cv::Mat collage(int width, int height) {
    cv::RNG random(7);
    cv::Mat picture(height, width, CV_8UC3, cv::Scalar(90, 110, 120));
    for (int i = 0; i < width * height / 300; ++i) {
        const cv::Point at(random.uniform(0, width), random.uniform(0, height));
        const cv::Scalar colour(random.uniform(20, 235), random.uniform(20, 235), random.uniform(20, 235));
        const int side = random.uniform(4, 40);
        if (random.uniform(0, 3) == 0) {
            cv::circle(picture, at, side / 2, colour, cv::FILLED);
        } else {
            cv::rectangle(picture, cv::Rect(at, cv::Size(side, random.uniform(4, 40))), colour, cv::FILLED);
        }
    }
    cv::GaussianBlur(picture, picture, {0, 0}, 1.0);
    return picture;
}

void writeImage(const std::string& path, const cv::Mat& picture) {
    std::vector<std::uint8_t> bytes;
    CV_Assert(encodeImage(std::filesystem::path(path).extension().string(), picture, {}, bytes));
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
}

cv::Mat readImage(const std::string& path, int mode) {
    std::string bytes = eis::test::readFile(path);
    if (bytes.empty()) return {};
    return decodeImage(cv::Mat(1, static_cast<int>(bytes.size()), CV_8UC1, bytes.data()), mode);
}

}  // namespace eishost
