#include "host/report/burst_denoise.h"

#include <cstdio>

#include "host/picture/metrics.h"

namespace eishost {

namespace {

// Without the last rows and columns that make no group of 8.
cv::Vec3d psnr(const Picture& picture, const Picture& clean, const cv::Rect& area, const cv::Mat& scored) {
    cv::Vec3d values;
    for (int plane = 0; plane < 3; ++plane) {
        const int part = plane == 0 ? 1 : 2;
        const cv::Rect planeArea(area.x / part, area.y / part, (area.width & ~7) / part, (area.height & ~7) / part);
        values[plane] = planePsnr(picture.mat(plane), clean.mat(plane), planeArea, countedInPlane(scored, plane));
    }
    return values;
}

}  // namespace

DenoiseReport BurstDenoiser::run(const Picture& picture, const std::optional<cv::Rect>& area, const cv::Mat& scored,
                                 const std::string& file) const {
    DenoiseOutcome outcome = denoisePicture(picture, settings_, options_);
    savePicture(file, outcome.picture);
    DenoiseReport report{file, outcome.milliseconds, std::nullopt, std::nullopt, {}};
    if (clean_ != nullptr) {
        const cv::Rect inside = area.value_or(cv::Rect(0, 0, picture.width, picture.height));
        report.psnrBefore = psnr(picture, *clean_, inside, scored);
        report.psnrAfter = psnr(outcome.picture, *clean_, inside, scored);
    }
    report.picture = std::move(outcome.picture);
    return report;
}

std::string describe(const DenoiseReport& report) {
    std::string all;
    if (report.psnrBefore && report.psnrAfter) {
        for (int plane = 0; plane < 3; ++plane) {
            all += std::string(plane == 0 ? "PSNR " : "") + "YUV"[plane] + " " +
                   gainText((*report.psnrBefore)[plane], (*report.psnrAfter)[plane]) + ", ";
        }
    }
    char time[32];
    std::snprintf(time, sizeof time, "%.0f ms", report.milliseconds);
    return all + time;
}

void to_json(nlohmann::json& json, const DenoiseReport& report) {
    json = {{"file", report.file}, {"milliseconds", report.milliseconds}};
    if (report.psnrBefore) json["psnrBefore"] = threePlanes(*report.psnrBefore);
    if (report.psnrAfter) json["psnrAfter"] = threePlanes(*report.psnrAfter);
}

}  // namespace eishost
