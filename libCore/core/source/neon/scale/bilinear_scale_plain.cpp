#include "libCore/core/source/neon/scale/bilinear_position.h"
#include "libCore/core/source/neon/scale/bilinear_scale.h"

namespace eis {

namespace {

uint8_t bilinearSample(const uint8_t* padded, int width, ScalePosition x, ScalePosition y) {
    const int64_t pitch = scalePaddedPitch(width);
    const uint8_t* row0 = padded + (y.index + kScaleBorder) * pitch + x.index + kScaleBorder;
    const uint8_t* row1 = row0 + pitch;
    const uint32_t fx = x.fraction;
    const uint32_t fy = y.fraction;
    return static_cast<uint8_t>((row0[0] * (4096 - fx) * (4096 - fy) + row0[1] * fx * (4096 - fy) +
                                 row1[0] * (4096 - fx) * fy + row1[1] * fx * fy) >>
                                24);
}

// Without a table every column stands for itself.
void bilinearPlane(const uint8_t* padded, int srcW, int srcH, uint8_t* dst, int dstW, int dstH, int dstPitch,
                   int rowFirst, int rowEnd, const void* colTable, int entries) {
    if (srcW < 1 || srcH < 1) return;
    for (int y = rowFirst; y < rowEnd; ++y) {
        const ScalePosition positionY = scalePosition(scaleStep(srcH, dstH), y);
        for (int x = 0; x < dstW; ++x) {
            const ScalePosition positionX = scalePosition(scaleStep(srcW, dstW), scaleColumn(colTable, entries, x));
            dst[int64_t{y} * dstPitch + x] = bilinearSample(padded, srcW, positionX, positionY);
        }
    }
}

}  // namespace

int y_bilinear_scale_crop_fixed_plain(const uint8_t* src, int srcW, int srcH, int /*srcStride*/, uint8_t* dst, int dstW,
                                      int dstH, int dstStride, int rowFirst, int rowEnd, const void* colTable) {
    bilinearPlane(src, srcW, srcH, dst, dstW, dstH, dstStride, rowFirst, rowEnd, colTable, dstStride);
    return 0;
}

void uv_bilinear_scale_crop_fixed_plain(const uint8_t* src, int srcW, int srcH, uint8_t* dst, int dstW, int dstH,
                                        int dstPitch) {
    for (int plane = 0; plane < 2; ++plane) {
        bilinearPlane(src + plane * scalePaddedSize(srcW, srcH), srcW, srcH, dst + int64_t{plane} * dstPitch * dstH,
                      dstW, dstH, dstPitch, 0, dstH, nullptr, 0);
    }
}

}  // namespace eis
