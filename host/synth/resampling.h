// What the resampler that cuts frames out of a photograph asks for.
#pragma once

namespace eishost {

constexpr int kKernelReach = 4;      // samples that its kernel reads around a position
constexpr int kLargestSide = 32000;  // its positions are 16 bits

}  // namespace eishost
