#include "host/picture/codecs/codecs.h"

#include <opencv2/imgcodecs.hpp>

void eisDecodeImage(const cv::Mat& bytes, int mode, cv::Mat& picture) {
    picture = cv::imdecode(bytes, mode);
}

bool eisEncodeImage(const std::string& extension, const cv::Mat& picture, const std::vector<int>& options,
                    std::vector<std::uint8_t>& bytes) {
    return cv::imencode(extension, picture, bytes, options);
}
