// From a burst to one picture.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "acore_api.h"
#include "host/merge/burst_input.h"
#include "host/merge/combine.h"
#include "host/merge/residual_denoise.h"

namespace eishost {

enum class MergeWeights {
    kMean,    // every frame alike
    kRobust,  // by the difference to the reference against what is usual at such a place
};

struct MergeOptions {
    MergeWeights weights = MergeWeights::kRobust;
    std::optional<int> isoRow;              // of one frame; by the noise measured when not given
    const ST_CONFIG_XML* tuning = nullptr;  // null for no denoising
    DenoiseOptions denoise;
    bool keepMean = false;
};

struct MergeResult {
    std::optional<Picture> mean;       // of the reference and all aligned frames alike; only if asked for
    std::optional<Picture> merged;     // none when nothing could be merged with the reference
    std::optional<Picture> denoised;   // none when that was not asked for
    std::optional<Combined> combined;  // as far as it is of use after merging; none as `merged`
    cv::Mat held;                      // float, by quads: frames that the picture holds, from 1
    std::optional<double> row;         // of the tuning record, that was denoised with
    DenoiseSettings settings;
    std::optional<ResidualDenoise> residue;
    double milliseconds = 0;  // in the library's denoising
    // Processor time of each step, all threads, in milliseconds.
    std::map<std::string, double> cpu;
};

// Merges what `input` has read; `tolerance` has seen the same frames. HostError as the library's calls.
MergeResult mergeBurst(const BurstInput& input, std::optional<ToleranceMeasure>& tolerance,
                       const MergeOptions& options);

struct StagePicture {
    const char* name;
    const Picture& picture;
};

// "reference", "mean", "merged", "denoised": those that there are. The last one is the result. They live as long as
// their owners.
std::vector<StagePicture> stagePictures(const BurstInput& input, const MergeResult& result);

}  // namespace eishost
