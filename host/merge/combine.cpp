#include "host/merge/combine.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "host/merge/ghost_check.h"
#include "host/merge/rounding.h"
#include "host/program/bands.h"

namespace eishost {

namespace {

constexpr float kLeastHeld = 0.25F;      // frames, in weights; with less the reference stays alone
constexpr float kFilteredNoise = 0.75F;  // of an aligned frame once the filter has smoothed it

// What the frames have at each quad.
struct Counted {
    cv::Mat frames;  // float: weights in frames
    cv::Mat ghosts;  // float: 0 for what the frames show as well to 1 for what the reference alone shows
    int most;        // frames that there are
};

// The reference's weight along a row of quads, and what is left of the noise there.
void weighReference(const Counted& counted, int plane, int row, Combined& at, std::span<float> weights) {
    const PlaneModel& model = at.planes[plane];
    const auto* const counts = counted.frames.ptr<float>(row);
    const auto* const ghosts = counted.ghosts.ptr<float>(row);
    const std::uint8_t* const classes = at.kinds.classes.ptr(row);
    auto* const leftOfReference = at.leftOfReference[plane].ptr<float>(row);
    auto* const leftOfMean = at.leftOfMean[plane].ptr<float>(row);
    for (std::size_t q = 0; q < weights.size(); ++q) {
        const auto noise = static_cast<float>(model.noise[at.kinds.places.level(row, static_cast<int>(q))]);
        float weight = 1;
        float error = 0;
        if (counts[q] > kLeastHeld) {
            const float fewer = std::max(1 / counts[q] - 1 / static_cast<float>(counted.most), 0.0F);
            error = static_cast<float>(model.error[classes[q]]) + kFilteredNoise * noise * fewer;
            weight = error / (error + noise);
            weight += ghosts[q] * (1 - weight);
        }
        weights[q] = weight;
        leftOfReference[q] = weight * weight * noise;
        leftOfMean[q] = (1 - weight) * (1 - weight) * error;
    }
}

// Writes a plane of the result, and what is left of its noise.
void blend(const cv::Mat& reference, const cv::Mat& mean, const Counted& counted, int plane, Combined& at) {
    const int part = samplesAlong(plane);
    cv::Mat to = at.picture.mat(plane);
    cv::Mat without = at.withoutReference.mat(plane);
    at.leftOfReference[plane].create(counted.frames.size(), CV_32F);
    at.leftOfMean[plane].create(counted.frames.size(), CV_32F);
    forBands(counted.frames.rows, [&](int first, int end) {
        std::vector<float> weights(counted.frames.cols);
        for (int row = first; row < end; ++row) {
            weighReference(counted, plane, row, at, weights);
            const std::uint8_t* const settled = at.kinds.settled.ptr(row);
            for (int line = part * row; line < part * (row + 1); ++line) {
                const std::uint8_t* const alone = reference.ptr(line);
                const auto* const others = mean.ptr<std::uint16_t>(line);
                std::uint8_t* const both = to.ptr(line);
                std::uint8_t* const rest = without.ptr(line);
                for (int x = 0; x < reference.cols; ++x) {
                    const int q = x / part;
                    const float other = static_cast<float>(others[x]) * (1.0F / Accumulator::kMeanUnits);
                    both[x] = static_cast<std::uint8_t>(
                        roundedSample(other + weights[q] * (static_cast<float>(alone[x]) - other)));
                    rest[x] = settled[q] != 0 ? static_cast<std::uint8_t>(roundedSample(other)) : both[x];
                }
            }
        }
    });
}

}  // namespace

Combined combine(const Picture& reference, Accumulator& accumulator, int frames) {
    const cv::Mat& weights = accumulator.weights();
    Combined out{.picture = Picture(reference.width, reference.height),
                 .withoutReference = Picture(reference.width, reference.height),
                 .kinds = QuadKinds(accumulator.mean().mat(0), weights, frames * accumulator.unit()),
                 .held = {},
                 .leftOfReference = {},
                 .leftOfMean = {},
                 .planes = {}};
    out.picture.range = out.withoutReference.range = reference.range;
    std::array<cv::Mat, 3> means;
    for (int plane = 0; plane < 3; ++plane) {
        const cv::Mat mean = accumulator.takeMean(plane);
        out.planes[plane] = learnPlane(reference.mat(plane), mean, out.kinds, plane, frames);
        means[plane] = filteredMean(mean, out.kinds, out.planes[plane], plane);
    }
    Counted counted{.frames = {}, .ghosts = ghostMap(reference, means, out.kinds, out.planes), .most = frames};
    weights.convertTo(counted.frames, CV_32F, 1.0 / accumulator.unit());
    out.kinds.settled.setTo(0, counted.ghosts > 0);
    for (int plane = 0; plane < 3; ++plane) blend(reference.mat(plane), means[plane], counted, plane, out);
    out.held = counted.frames.mul(1 - counted.ghosts) + 1;
    return out;
}

}  // namespace eishost
