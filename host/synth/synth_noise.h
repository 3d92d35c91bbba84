// Noise for synthetic frames, made where a sensor makes it, or plain.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>

namespace eishost {

struct NoiseSetting {
    enum class Kind { kNone, kLight, kMedium, kStrong, kWhite };

    Kind kind = Kind::kNone;
    double whiteSigma = 0;  // of kWhite, in 8-bit levels of Y, U and V each
};

// "none", "light", "medium", "strong" or "white:SIGMA" with SIGMA in 0..100; HostError(kExitUsage) for anything else.
NoiseSetting parseNoise(const std::string& text);

// A rendered frame as a camera delivers it, and the same without its noise.
struct NoisyFrame {
    cv::Mat noisy;  // 8-bit BGR both
    cv::Mat clean;
};

// The 8-bit sRGB picture `bgr` (even sides) with noise; equal seeds give equal noise.
//
// Light, medium and strong pass the picture through a sensor: inverse sRGB curve, inverse white balance gains, an RGGB
// mosaic, shot noise of Poisson's distribution and read noise of Gauss's (the model of Foi et al., Practical
// Poissonian-Gaussian noise modeling and fitting for single-image raw-data, IEEE TIP 2008), bilinear demosaicing, gains
// and sRGB curve. Such noise is correlated, coloured and stronger in shadows. `clean` goes the same way without noise,
// so that the difference is noise alone and not the softness of demosaicing. The standard deviation of luma is about 3,
// 6 and 14 over a photograph.
//
// White noise is Gaussian on the samples of Y, U and V: one value for luma a pixel, one for each chroma a block of two
// by two, so that a conversion to 4:2:0 finds it unchanged but for clipping. `clean` is then, as with none, `bgr`.
NoisyFrame addNoise(const cv::Mat& bgr, const NoiseSetting& noise, std::uint64_t seed);

// The standard deviation of Y, U and V of `noisy` minus `clean`, both converted to 4:2:0.
cv::Vec3d noiseSigma(const NoisyFrame& frame);

}  // namespace eishost
