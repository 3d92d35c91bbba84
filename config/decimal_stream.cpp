#include "config/decimal_stream.h"

#include <cmath>
#include <limits>

namespace eis {

template <>
Extracted<float> extractNumber<float>(const char* text) {
    constexpr float kMax = std::numeric_limits<float>::max();
    const size_t length = floatTextLength(text, SIZE_MAX, true);
    size_t used = 0;
    float value = 0;
    // An unfinished number ("1e") is none.
    if (length == 0 || !streamFloatValue(text, length, &value, &used) || used != length) return {0, 0, false};
    if (std::isinf(value)) return {length, std::copysign(kMax, value), false};
    return {length, value, true};
}

}  // namespace eis
