// The warp of a frame onto the reference frame. A full homography, whatever the names say.
#pragma once

#include "include/st_picture.h"
#include "libCore/core/source/neon/warp/motion_area.h"

namespace eis {

struct ST_IMGREGISTRATION_PARAMS_IN;

// What the bands of one warp share.
struct WarpRecord {
    ST_PICTURE source;
    ST_PICTURE destination;
    int32_t x;  // the motion area
    int32_t y;
    int32_t w;
    int32_t h;
    const float* homography;  // nine floats, reference position to source position
    const float* xTable;      // columns x + 8g, + 2, + 4, + 6 of each group g of eight
};

// Warps the motion area of dstPic from srcPic on four threads (on the caller's when they cannot be started) and fills
// the rest by mirroring. Both pictures have a luma pitch of the source's width rounded up to 128, whatever their
// records say.
// `_Y` does luma alone. homography: nine floats; scratch: two bytes a column of pitch, 4-byte aligned. Always 0.
int AffineTransform_neon_stride(const ST_IMGREGISTRATION_PARAMS_IN* paramsIn, const ST_PICTURE* srcPic,
                                const ST_PICTURE* dstPic, const float* homography, const ST_MOTION_AREA* motionArea,
                                void* scratch);
int AffineTransform_neon_stride_Y(const ST_IMGREGISTRATION_PARAMS_IN* paramsIn, const ST_PICTURE* srcPic,
                                  const ST_PICTURE* dstPic, const float* homography, const ST_MOTION_AREA* motionArea,
                                  void* scratch);

// Band threadIndex of threadCount. `_Y` does luma alone, and logs whether the band's last group was contiguous.
void AffineTransform_neon_Impl_stride(const WarpRecord* record, int threadIndex, int threadCount);
void AffineTransform_neon_Impl_stride_Y(const WarpRecord* record, int threadIndex, int threadCount);

}  // namespace eis
