// PNG, JPEG and WebP, by OpenCV's codecs. These stand in a library of their own, loaded when the first picture needs
// it: with all that is behind them they take longer to load than most commands run. HostError(kExitInternal) where it
// is missing.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace eishost {

// cv::imdecode: `mode` is one of cv::ImreadModes, and the picture is empty where the bytes are none.
cv::Mat decodeImage(const cv::Mat& bytes, int mode);

// cv::imencode: by the extension, with its dot; false where that fails.
[[nodiscard]] bool encodeImage(const std::string& extension, const cv::Mat& picture, const std::vector<int>& options,
                               std::vector<std::uint8_t>& bytes);

}  // namespace eishost
