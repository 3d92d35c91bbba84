#include "libCore/core/source/control/shrink_lut.h"

#include <cmath>

#include "bounded/bounded_memory.h"
#include "libCore/core/source/control/control_curves.h"
#include "libCore/core/source/frame/arithmetic.h"

namespace eis {

void BuildShrinkLut(int16_t* dest, int32_t strength) {
    constexpr int kCentre = 512;
    // Rounded to single precision before it is subtracted in double: not fused, unlike its neighbours.
    const float scaled = static_cast<float>(strength) * 0.0019569471f;
    const double exponent = static_cast<float>(quarterExponent(0.99999 - static_cast<double>(scaled)));
    (void)memset_s(dest, 2048, 0, 2048);
    for (int k = 1; k < kCentre; ++k) {
        const double base = static_cast<float>(std::fma(static_cast<double>(-k), 0.0019569471624266144, 1.0));
        const double power = std::pow(base, exponent);
        const int32_t removed = truncSat32(static_cast<float>(std::fma(static_cast<double>(k), power, 0.49)));
        dest[kCentre + k] = static_cast<int16_t>(wrapSub(k, removed));
        dest[kCentre - k] = static_cast<int16_t>(wrapSub(removed, k));
    }
}

}  // namespace eis
