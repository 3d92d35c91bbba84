// Source positions of the bilinear scaler.
#pragma once

#include <cstddef>
#include <cstdint>

#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

// The sampler's layout of a padded plane.
// Rows of the destination that are wanted.
struct ScaleRows {
    int first;
    int end;
};

// 32-bit column numbers at any alignment; columns behind the table's end stand for themselves.
struct ScaleColumns {
    const void* table;
    int entries;
};

inline constexpr int kScaleBorder = 2;
inline int64_t scalePaddedPitch(int width) {
    return int64_t{width} + 2 * kScaleBorder;
}
inline int64_t scalePaddedSize(int width, int height) {
    return scalePaddedPitch(width) * scalePaddedPitch(height);
}

// Step from one destination sample to the next, in 1/4096 source samples, truncated.
inline int32_t scaleStep(int source, int destination) {
    const float scale = static_cast<float>(source) / static_cast<float>(destination);
    return truncSat32(scale * 4096.0F);
}

struct ScalePosition {
    uint32_t index;     // source sample, 0 to 32768
    uint32_t fraction;  // 12 bits
};

// Where destination sample x falls: (x + 0.5) * step - 0.5 in 16.16, wrapping; a negative position folds about zero.
inline ScalePosition scalePosition(int32_t step, int32_t x) {
    const int32_t position = wrapAdd(wrapMul(wrapSub(step, 4096), 8), wrapMul(wrapMul(step, 16), x));
    const auto magnitude = static_cast<uint32_t>(wrapAbs(position));
    return {magnitude >> 16, (magnitude >> 4) & 0xFFF};
}

// Column x by a table of `entries` unaligned words; behind the table's end, x itself.
inline int32_t scaleColumn(const void* colTable, int entries, int x) {
    return x < entries ? loadUnaligned<int32_t>(static_cast<const uint8_t*>(colTable) + size_t{4} * x) : x;
}

}  // namespace eis
