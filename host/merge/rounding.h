// Rounding for loops over samples.
#pragma once

namespace eishost {

// The whole number nearest to a value from 0 to 65535, halves upward. Loops with it become vector code, with
// std::lround they do not.
inline int roundedSample(float value) {
    const float shifted = value + 0.5F;
    return static_cast<int>(shifted);
}

}  // namespace eishost
