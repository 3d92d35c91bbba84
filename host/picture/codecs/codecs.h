// What the library of the codecs gives the tools, which are built with it: cv::imdecode and cv::imencode.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

extern "C" {
[[gnu::visibility("default")]] void eisDecodeImage(const cv::Mat& bytes, int mode, cv::Mat& picture);
[[gnu::visibility("default")]] bool eisEncodeImage(const std::string& extension, const cv::Mat& picture,
                                                   const std::vector<int>& options, std::vector<std::uint8_t>& bytes);
}
