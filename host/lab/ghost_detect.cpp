#include "host/lab/ghost_detect.h"

#include <chrono>
#include <string>

#include "host/program/exit_codes.h"
#include "libCore/core/source/neon/GhostDetection_Multithread.h"

namespace eislab {

namespace {

using eishost::Picture;

constexpr int roundUp(int value, int multiple) {
    return (value + multiple - 1) / multiple * multiple;
}

cv::Size detectorSize(const Picture& picture) {
    const int width = roundUp(picture.width, 4);
    return {width % 128 == 0 ? width + 4 : width, roundUp(picture.height, 8)};
}

// A picture's planes, mirrored up to a size, as the detector wants them: rows at multiples of 128 bytes.
struct PaddedPlanes {
    PaddedPlanes(const Picture& picture, cv::Size size) : record{size.width, size.height, 0, {}, 0} {
        for (int plane = 0; plane < 3; ++plane) {
            const cv::Mat from = picture.mat(plane);
            const cv::Size to = plane == 0 ? size : size / 2;
            padded[plane].create(to.height, roundUp(to.width, 128), CV_8U);
            cv::copyMakeBorder(from, padded[plane].colRange(0, to.width), 0, to.height - from.rows, 0,
                               to.width - from.cols, cv::BORDER_REFLECT);
            record.pData[plane] = padded[plane].data;
        }
    }
    cv::Mat padded[3];
    eis::ST_PICTURE record;
};

}  // namespace

GhostResult detectGhosts(const Picture& frame, const Picture& reference, const GhostSettings& settings) {
    const cv::Size size = detectorSize(frame);
    const PaddedPlanes framePlanes(frame, size);
    const PaddedPlanes referencePlanes(reference, size);
    eis::ST_GHOSTDETECTION_PARAMS_IN in{};
    in.img = framePlanes.record;
    in.imgRef = referencePlanes.record;
    in.ghostEnable = 1;
    in.lumaTH_Low = settings.lumaLow;
    in.lumaTH_High = settings.lumaHigh;
    in.lumaNoiseTH = settings.lumaNoise;
    in.chromaTH_Low = settings.chromaLow;
    in.chromaTH_High = settings.chromaHigh;
    in.chromaNoiseTH = settings.chromaNoise;
    cv::Mat mask(size.height, roundUp(size.width, 128), CV_8U, cv::Scalar(0));
    GhostResult result;
    eis::ST_GHOSTDETECTION_PARAMS_OUT out{mask.data, {}, &result.pixels};
    const auto start = std::chrono::steady_clock::now();
    const ret_status status = eis::GhostDetection_Multithread_Maincall(&in, &out);
    result.milliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    if (status != retStsOK) {
        throw eishost::HostError(eishost::kExitLibrary, "ghost detection failed with status " + std::to_string(status));
    }
    result.share = static_cast<double>(result.pixels) / size.area();
    result.mask = mask(cv::Rect(0, 0, frame.width, frame.height)).clone();
    return result;
}

}  // namespace eislab
