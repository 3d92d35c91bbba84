// The value that the texture map's remapping gives a byte.
#pragma once

#include <cmath>
#include <cstdint>

#include "libCore/core/source/frame/arithmetic.h"

namespace eis {

// Distance and variance are squared and divided in single precision, the exponential is in double.
inline int32_t gaussWeighted(int32_t i, int32_t sigma, int32_t centre) {
    const auto distance = static_cast<float>(wrapSub(i, centre));
    const auto deviation = static_cast<float>(sigma);
    const float quotient = distance * distance / (deviation * deviation);
    return truncSat32(i * std::exp(-0.5 * static_cast<double>(quotient)));
}

}  // namespace eis
