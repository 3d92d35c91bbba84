#include "host/merge/residual_denoise.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "host/program/bands.h"

namespace eishost {

namespace {

constexpr double kFewestProducts = 200;

struct Products {
    double toOther = 0;  // of the change with what the other picture has more
    double square = 0;   // of the change
    double noise = 0;    // of the picture that was changed
    double count = 0;

    void add(const Products& other) {
        toOther += other.toOther;
        square += other.square;
        noise += other.noise;
        count += other.count;
    }
};

// With n the noise of a picture, a change of -a * n - l, and another picture with noise of its own, the product of
// change and difference is a * n^2 on average, and the change's square a^2 * n^2 + l^2.
DenoiseEffect effectOf(const cv::Mat& before, const cv::Mat& after, const cv::Mat& other, const Combined& at,
                       const std::array<double, kActivityClasses>& noise) {
    const int part = before.cols / at.kinds.classes.cols;
    std::array<Products, kActivityClasses> products{};
    for (int line = 0; line < before.rows; ++line) {
        const std::uint8_t* const settled = at.kinds.settled.ptr(line / part);
        const std::uint8_t* const classes = at.kinds.classes.ptr(line / part);
        const std::uint8_t* const from = before.ptr(line);
        const std::uint8_t* const to = after.ptr(line);
        const std::uint8_t* const wanted = other.ptr(line);
        for (int x = 0; x < before.cols; ++x) {
            if (settled[x / part] == 0) continue;
            const int change = to[x] - from[x];
            Products& one = products[classes[x / part]];
            one.toOther += change * (wanted[x] - from[x]);
            one.square += change * change;
            one.count += 1;
        }
    }
    Products all;
    for (int one = 0; one < kActivityClasses; ++one) {
        products[one].noise = products[one].count * noise[one];
        all.add(products[one]);
    }
    DenoiseEffect effect;
    for (int one = 0; one < kActivityClasses; ++one) {
        const Products& from = products[one].count < kFewestProducts ? all : products[one];
        if (from.count == 0 || from.noise <= 0) {
            effect.removed[one] = 1;
            continue;
        }
        const double removed = std::clamp(from.toOther / from.noise, 0.0, 1.0);
        effect.removed[one] = removed;
        effect.loss[one] = std::max(from.square - removed * removed * from.noise, 0.0) / from.count;
    }
    return effect;
}

// The share of the change that leaves the least error where this much is left of the reference's noise and of the
// mean's.
float bestShare(double reference, double mean, double removedReference, double removedMean, double lossReference,
                double lossMean) {
    const double left = reference + mean;
    if (left <= 0) return 0;
    const double removed = (removedReference * reference + removedMean * mean) / left;
    const double loss = (lossReference * reference + lossMean * mean) / left;
    const double full = removed * removed * left + loss;
    return full > 0 ? static_cast<float>(std::clamp(removed * left / full, 0.0, 1.0)) : 0;
}

cv::Mat sharesOf(const ResidualDenoise& report, const Combined& merged, int plane) {
    const DenoiseEffect& onReference = report.onReference[plane];
    const DenoiseEffect& onMean = report.onMean[plane];
    cv::Mat shares(merged.kinds.classes.size(), CV_32F);
    forBands(shares.rows, [&](int first, int end) {
        for (int row = first; row < end; ++row) {
            for (int q = 0; q < shares.cols; ++q) {
                const int one = merged.kinds.classes.ptr(row)[q];
                shares.ptr<float>(row)[q] = bestShare(
                    merged.leftOfReference[plane].ptr<float>(row)[q], merged.leftOfMean[plane].ptr<float>(row)[q],
                    onReference.removed[one], onMean.removed[one], onReference.loss[one], onMean.loss[one]);
            }
        }
    });
    cv::blur(shares, shares, {3, 3});
    return shares;
}

}  // namespace

ResidualDenoise denoiseResidue(Combined& merged, const Picture& reference, const DenoiseSettings& settings,
                               const DenoiseOptions& options) {
    ResidualDenoise report;
    {
        const DenoiseOutcome alone = denoisePicture(reference, settings, options);
        report.milliseconds = alone.milliseconds;
        for (int plane = 0; plane < 3; ++plane) {
            report.onReference[plane] =
                effectOf(reference.mat(plane), alone.picture.mat(plane), merged.withoutReference.mat(plane), merged,
                         merged.planes[plane].classNoise);
        }
    }
    const DenoiseOutcome outcome = denoisePicture(merged.withoutReference, settings, options);
    report.milliseconds += outcome.milliseconds;
    for (int plane = 0; plane < 3; ++plane) {
        const cv::Mat before = merged.withoutReference.mat(plane);
        const cv::Mat denoised = outcome.picture.mat(plane);
        report.onMean[plane] = effectOf(before, denoised, reference.mat(plane), merged, merged.planes[plane].error);
        const cv::Mat shares = sharesOf(report, merged, plane);
        report.share[plane] = cv::mean(shares)[0];
        cv::Mat to = merged.picture.mat(plane);
        const int part = to.cols / shares.cols;
        forBands(shares.rows, [&](int first, int end) {
            for (int line = first * part; line < end * part; ++line) {
                const auto* const share = shares.ptr<float>(line / part);
                std::uint8_t* const samples = to.ptr(line);
                const std::uint8_t* const old = before.ptr(line);
                const std::uint8_t* const smooth = denoised.ptr(line);
                for (int x = 0; x < to.cols; ++x) {
                    const auto change = static_cast<float>(smooth[x] - old[x]);
                    samples[x] =
                        cv::saturate_cast<std::uint8_t>(static_cast<float>(samples[x]) + share[x / part] * change);
                }
            }
        });
    }
    return report;
}

}  // namespace eishost
