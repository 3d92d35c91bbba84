#include "host/merge/merge.h"

#include <cmath>
#include <utility>
#include <vector>

#include "host/merge/row_settings.h"
#include "host/program/cpu_time.h"

namespace eishost {

namespace {

// Aligned frames that are added together: each costs memory for one and a half bytes a pixel.
constexpr std::size_t kGroup = 4;
// For a frame that nothing can be measured on, as in the burst command.
constexpr int kUsualRow = 5;

// Reads the frames again into the accumulator, and into `plain` where there is one.
void accumulate(const BurstInput& input, Accumulator& accumulator, std::optional<Accumulator>& plain, double& cpu) {
    std::vector<AlignedFrame> group;
    const auto flush = [&] {
        {
            const CpuTimeOf time(cpu);
            accumulator.add(group);
        }
        if (plain) plain->add(group);
        group.clear();
    };
    input.readAgain([&](AlignedFrame&& frame) {
        group.push_back(std::move(frame));
        if (group.size() == kGroup) flush();
    });
    flush();
}

// What an equal mean holds and has left, over a model that combine() made.
void usePlainMean(Combined& combined, const Picture& mean, const cv::Mat& weights, int unit) {
    combined.picture = mean;
    weights.convertTo(combined.held, CV_32F, 1.0 / unit, 1);
    for (int plane = 0; plane < 3; ++plane) {
        for (int row = 0; row < combined.held.rows; ++row) {
            for (int q = 0; q < combined.held.cols; ++q) {
                const double noise = combined.planes[plane].noise[combined.kinds.places.level(row, q)];
                const double count = combined.held.ptr<float>(row)[q];
                const auto left = static_cast<float>(noise / (count * count));
                combined.leftOfReference[plane].ptr<float>(row)[q] = left;
                combined.leftOfMean[plane].ptr<float>(row)[q] =
                    static_cast<float>((count - 1) * left * kAlignedNoise[plane]);
            }
        }
    }
}

// With nothing to merge.
MergeResult referenceAlone(const Picture& reference, const MergeOptions& options) {
    MergeResult result;
    result.held = cv::Mat(reference.chromaHeight(), reference.chromaWidth(), CV_32F, cv::Scalar(1));
    if (options.tuning == nullptr) return result;
    result.row = options.isoRow.value_or(kUsualRow);
    result.settings = settingsAt(*options.tuning, *result.row);
    DenoiseOutcome outcome = denoisePicture(reference, result.settings, options.denoise);
    result.denoised = std::move(outcome.picture);
    result.milliseconds = outcome.milliseconds;
    return result;
}

// All but denoising; the picture is still with result.combined.
MergeResult mergeFrames(const BurstInput& input, std::optional<ToleranceMeasure>& tolerance,
                        const MergeOptions& options) {
    const int frames = input.mergeable();
    const bool robust = options.weights == MergeWeights::kRobust;
    MergeResult result;
    std::optional<ToleranceMap> map;
    if (robust) {
        const CpuTimeOf time(result.cpu["measure"]);
        map = tolerance->finish(Accumulator::unitFor(frames));
    }
    tolerance.reset();
    Accumulator accumulator(input.reference(), frames, std::move(map));
    std::optional<Accumulator> plain;
    if (robust && options.keepMean) plain.emplace(input.reference(), frames, std::nullopt);
    accumulate(input, accumulator, plain, result.cpu["merge"]);
    if (plain) result.mean = plain->mean();
    plain.reset();
    if (!robust) {
        const CpuTimeOf time(result.cpu["merge"]);
        result.mean = accumulator.mean();
    }
    const CpuTimeOf time(result.cpu["combine"]);
    result.combined = combine(input.reference(), accumulator, frames);
    if (!robust) usePlainMean(*result.combined, *result.mean, accumulator.weights(), accumulator.unit());
    if (!options.keepMean) result.mean.reset();
    result.held = result.combined->held;
    return result;
}

}  // namespace

std::vector<StagePicture> stagePictures(const BurstInput& input, const MergeResult& result) {
    std::vector<StagePicture> stages{{"reference", input.reference()}};
    if (result.mean) stages.push_back({"mean", *result.mean});
    if (result.merged) stages.push_back({"merged", *result.merged});
    if (result.denoised) stages.push_back({"denoised", *result.denoised});
    return stages;
}

MergeResult mergeBurst(const BurstInput& input, std::optional<ToleranceMeasure>& tolerance,
                       const MergeOptions& options) {
    const int frames = input.mergeable();
    if (frames == 0) return referenceAlone(input.reference(), options);
    if (frames > Accumulator::kMostFrames) {
        throw HostError(kExitUnsuitable, std::to_string(frames) + " frames are too many to merge, up to " +
                                             std::to_string(Accumulator::kMostFrames) +
                                             " beside the reference are not");
    }
    MergeResult result = mergeFrames(input, tolerance, options);
    if (options.tuning == nullptr) {
        result.merged = std::move(result.combined->picture);
        return result;
    }
    result.merged = result.combined->picture;
    const CpuTimeOf time(result.cpu["denoise"]);
    result.row = options.isoRow ? *options.isoRow : rowForNoise(std::sqrt(result.combined->planes[0].meanNoise));
    result.settings = settingsAt(*options.tuning, *result.row);
    result.residue = denoiseResidue(*result.combined, input.reference(), result.settings, options.denoise);
    result.milliseconds = result.residue->milliseconds;
    result.denoised = std::move(result.combined->picture);
    return result;
}

}  // namespace eishost
