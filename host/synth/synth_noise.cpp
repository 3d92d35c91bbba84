#include "host/synth/synth_noise.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "host/picture/picture.h"
#include "host/program/bands.h"
#include "host/program/exit_codes.h"
#include "host/synth/synth_seed.h"

namespace eishost {

namespace {

constexpr double kReadNoise = 2.0;                      // electrons
constexpr std::array<double, 3> kGains{1.7, 1.0, 2.0};  // white balance of B, G, R in daylight

// Mosaic samples are 16 bits: linear 1.0 before the gains lies kRawScale above the pedestal, which keeps negative
// noise.
constexpr double kRawPedestal = 8192;
constexpr double kRawScale = 40000;

// Electrons of a white pixel. Fewer stand for a higher analogue gain.
double whiteElectrons(NoiseSetting::Kind kind) {
    switch (kind) {
        case NoiseSetting::Kind::kLight:
            return 850;
        case NoiseSetting::Kind::kMedium:
            return 260;
        default:
            return 72;
    }
}

double linearFromSrgb(double value) {
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double srgbFromLinear(double value) {
    return value <= 0.0031308 ? value * 12.92 : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
}

int poisson(cv::RNG& random, double mean) {
    constexpr double kNormalFrom = 24;
    if (mean >= kNormalFrom) {
        const double count = mean + std::sqrt(mean) * random.gaussian(1);
        return std::max(0, static_cast<int>(std::lround(count)));
    }
    // Inversion: walk up the distribution function.
    constexpr int kLast = 120;
    const double level = random.uniform(0.0, 1.0);
    double term = std::exp(-mean);
    double sum = term;
    int count = 0;
    while (sum < level && count < kLast) {
        ++count;
        term *= mean / count;
        sum += term;
    }
    return count;
}

// One colour a pixel, red at (0, 0), green at (1, 0) and (0, 1), blue at (1, 1).
cv::Mat mosaic(const cv::Mat& bgr) {
    std::array<std::array<float, 256>, 3> raw{};
    for (int channel = 0; channel < 3; ++channel)
        for (int value = 0; value < 256; ++value)
            raw[channel][value] = static_cast<float>(linearFromSrgb(value / 255.0) / kGains[channel]);
    cv::Mat samples(bgr.size(), CV_32FC1);
    for (int row = 0; row < bgr.rows; ++row) {
        const auto* in = bgr.ptr<cv::Vec3b>(row);
        auto* out = samples.ptr<float>(row);
        for (int column = 0; column < bgr.cols; ++column) {
            const int channel = 2 - (row % 2 + column % 2);
            out[column] = raw[channel][in[column][channel]];
        }
    }
    return samples;
}

void exposeSensor(cv::Mat& samples, double electrons, std::uint64_t seed) {
    forBands(samples.rows, [&](int first, int end) {
        for (int row = first; row < end; ++row) {
            cv::RNG random(mixSeed(seed, static_cast<std::uint64_t>(row)));
            auto* line = samples.ptr<float>(row);
            for (int column = 0; column < samples.cols; ++column) {
                const double charge = poisson(random, line[column] * electrons) + random.gaussian(kReadNoise);
                line[column] = static_cast<float>(charge / electrons);
            }
        }
    });
}

cv::Mat develop(const cv::Mat& samples) {
    cv::Mat raw;
    samples.convertTo(raw, CV_16U, kRawScale, kRawPedestal);
    // The mirror about the outermost sample keeps the mosaic's phase: demosaicing copies at its borders.
    constexpr int kBorder = 2;
    cv::copyMakeBorder(raw, raw, kBorder, kBorder, kBorder, kBorder, cv::BORDER_REFLECT_101);
    cv::Mat linear;
    cv::cvtColor(raw, linear, cv::COLOR_BayerRGGB2BGR);
    linear = linear(cv::Rect({kBorder, kBorder}, samples.size()));

    std::array<std::vector<std::uint8_t>, 3> curves;
    for (int channel = 0; channel < 3; ++channel) {
        curves[channel].resize(65536);
        for (int value = 0; value < 65536; ++value) {
            const double light = std::clamp((value - kRawPedestal) / kRawScale * kGains[channel], 0.0, 1.0);
            curves[channel][value] = static_cast<std::uint8_t>(std::lround(255 * srgbFromLinear(light)));
        }
    }
    cv::Mat bgr(samples.size(), CV_8UC3);
    for (int row = 0; row < bgr.rows; ++row) {
        const auto* in = linear.ptr<cv::Vec3w>(row);
        auto* out = bgr.ptr<cv::Vec3b>(row);
        for (int column = 0; column < bgr.cols; ++column)
            for (int channel = 0; channel < 3; ++channel) out[column][channel] = curves[channel][in[column][channel]];
    }
    return bgr;
}

cv::Mat addWhiteNoise(const cv::Mat& bgr, double sigma, std::uint64_t seed) {
    cv::Mat ycc;
    cv::cvtColor(bgr, ycc, cv::COLOR_BGR2YCrCb);
    forBands(bgr.rows / 2, [&](int first, int end) {
        const auto add = [](std::uint8_t& sample, double noise) {
            sample = cv::saturate_cast<std::uint8_t>(sample + noise);
        };
        for (int pair = first; pair < end; ++pair) {
            cv::RNG random(mixSeed(seed, static_cast<std::uint64_t>(pair)));
            auto* upper = ycc.ptr<cv::Vec3b>(2 * pair);
            auto* lower = ycc.ptr<cv::Vec3b>(2 * pair + 1);
            for (int column = 0; column + 1 < ycc.cols; column += 2) {
                const double red = random.gaussian(sigma);
                const double blue = random.gaussian(sigma);
                for (cv::Vec3b* pixel : {upper + column, upper + column + 1, lower + column, lower + column + 1}) {
                    add((*pixel)[0], random.gaussian(sigma));
                    add((*pixel)[1], red);
                    add((*pixel)[2], blue);
                }
            }
        }
    });
    cv::Mat noisy;
    cv::cvtColor(ycc, noisy, cv::COLOR_YCrCb2BGR);
    return noisy;
}

}  // namespace

NoiseSetting parseNoise(const std::string& text) {
    using Kind = NoiseSetting::Kind;
    for (const auto& [name, kind] : {std::pair{"none", Kind::kNone},
                                     {"light", Kind::kLight},
                                     {"medium", Kind::kMedium},
                                     {"strong", Kind::kStrong}})
        if (text == name) return {kind, 0};
    if (constexpr std::string_view kPrefix = "white:"; text.starts_with(kPrefix)) {
        double sigma = 0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data() + kPrefix.size(), end, sigma);
        if (error == std::errc() && stop == end && sigma >= 0 && sigma <= 100) return {Kind::kWhite, sigma};
    }
    throw HostError(kExitUsage, "'" + text + "' is no noise: use none, light, medium, strong or white:SIGMA");
}

NoisyFrame addNoise(const cv::Mat& bgr, const NoiseSetting& noise, std::uint64_t seed) {
    if (noise.kind == NoiseSetting::Kind::kNone) return {bgr, bgr};
    if (noise.kind == NoiseSetting::Kind::kWhite) return {addWhiteNoise(bgr, noise.whiteSigma, seed), bgr};
    cv::Mat samples = mosaic(bgr);
    const cv::Mat clean = develop(samples);
    exposeSensor(samples, whiteElectrons(noise.kind), seed);
    return {develop(samples), clean};
}

cv::Vec3d noiseSigma(const NoisyFrame& frame) {
    const Picture noisy = pictureFromBgr(frame.noisy);
    const Picture clean = pictureFromBgr(frame.clean);
    cv::Vec3d sigma;
    for (int plane = 0; plane < 3; ++plane) {
        cv::Mat difference;
        cv::subtract(noisy.mat(plane), clean.mat(plane), difference, cv::noArray(), CV_16S);
        cv::Scalar mean;
        cv::Scalar deviation;
        cv::meanStdDev(difference, mean, deviation);
        sigma[plane] = deviation[0];
    }
    return sigma;
}

}  // namespace eishost
