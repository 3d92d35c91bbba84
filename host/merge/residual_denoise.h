// Denoising of what noise a merged picture has left, place by place.
#pragma once

#include <array>

#include "host/dsp/denoise_call.h"
#include "host/merge/combine.h"

namespace eishost {

// What denoising does to one plane, by class of activity.
struct DenoiseEffect {
    std::array<double, kActivityClasses> removed{};  // share of the noise that it takes away, 0 to 1
    std::array<double, kActivityClasses> loss{};     // mean square of the picture that it takes away with it
};

struct ResidualDenoise {
    double milliseconds = 0;                   // in the library, both calls
    std::array<DenoiseEffect, 3> onMean;       // by plane: on the mean of many frames
    std::array<DenoiseEffect, 3> onReference;  // and on a single frame
    std::array<double, 3> share{};             // of the denoised picture in the result, on average
};

// Denoises the merged picture with `settings`, and takes as much of the change, place by place, as leaves the least
// error: most of it where the reference stands alone, little or nothing where many frames agree and denoising would
// cost more than the noise that is left. What it gains and costs is measured on the burst where the picture is settled:
// the change of the frames' mean is held against the reference, and the change of the reference against the mean, for
// neither knows the noise of the other.
ResidualDenoise denoiseResidue(Combined& merged, const Picture& reference, const DenoiseSettings& settings,
                               const DenoiseOptions& options);

}  // namespace eishost
