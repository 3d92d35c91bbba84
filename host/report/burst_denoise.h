// Denoising of the frames of a burst, after registration.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>

#include "host/dsp/denoise_call.h"
#include "host/dsp/denoise_settings.h"

namespace eishost {

struct DenoiseReport {
    std::string file;
    double milliseconds = 0;
    std::optional<cv::Vec3d> psnrBefore;  // of Y, U, V against the clean reference, dB; only with a truth
    std::optional<cv::Vec3d> psnrAfter;
    Picture picture;
};

class BurstDenoiser {
  public:
    // `clean`, when not null, is the clean reference, and outlives this.
    BurstDenoiser(DenoiseSettings settings, DenoiseOptions options, const Picture* clean)
        : settings_(std::move(settings)), options_(std::move(options)), clean_(clean) {}

    // Denoises a registered picture and writes it to `file`; scores it inside `area`, or all of it, where `scored`, of
    // luma's size, is not 0, or everywhere when that is empty.
    DenoiseReport run(const Picture& picture, const std::optional<cv::Rect>& area, const cv::Mat& scored,
                      const std::string& file) const;

  private:
    DenoiseSettings settings_;
    DenoiseOptions options_;
    const Picture* clean_;
};

// "Y 34.10 > 37.20, U ..., V ... dB, 120 ms", without the figures when there is no truth.
std::string describe(const DenoiseReport& report);

void to_json(nlohmann::json& json, const DenoiseReport& report);

}  // namespace eishost
