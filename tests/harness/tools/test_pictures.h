// Pictures with something to register by, made here; files of pictures.
#pragma once

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>

namespace eishost {

// Rectangles and discs of all sizes, soft at the edges, the same each time.
cv::Mat collage(int width, int height);

// By the tools' codecs, without what the tools make of a picture. An empty one where there is none.
void writeImage(const std::string& path, const cv::Mat& picture);
cv::Mat readImage(const std::string& path, int mode = cv::IMREAD_COLOR);

}  // namespace eishost
