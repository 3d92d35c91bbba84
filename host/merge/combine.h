// The reference and the mean of the other frames made one picture.
#pragma once

#include <array>
#include <opencv2/core.hpp>

#include "host/merge/accumulate.h"
#include "host/merge/plane_model.h"

namespace eishost {

struct Combined {
    Picture picture;
    // The same without the reference where the picture is settled, so that its noise is independent of the reference's:
    // what denoising gains and loses can be measured there.
    Picture withoutReference;
    QuadKinds kinds;
    cv::Mat held;                // float, by quads: how many frames the picture holds there, 1 is the reference alone
    cv::Mat leftOfReference[3];  // float, by quads: variance of the reference's noise that is left
    cv::Mat leftOfMean[3];       // and of what the frames' mean misses the clean picture by
    std::array<PlaneModel, 3> planes;
};

// Filters the mean of the accumulated frames towards the reference, by kinds of place, and weighs the two by what each
// misses: where few frames count, or none, the reference prevails. Where the mean shows something else than the
// reference (see ghost_check.h) the reference stays alone. `frames` are those that were added, at least one. Takes the
// sums of `accumulator`.
Combined combine(const Picture& reference, Accumulator& accumulator, int frames);

}  // namespace eishost
