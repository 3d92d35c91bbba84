#include "libCore/core/source/neon/ghost/ghost_mask.h"

#include <cstring>

#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/neon/ghost/ghost_filter.h"
#include "libCore/core/source/neon/mask/mask_morphology.h"
#include "libCore/core/source/neon/resample/resample_down.h"

namespace eis {

namespace {

using Core = ret_status (*)(const uint8_t* a, const uint8_t* b, int16_t* scratch, uint8_t* mask, int32_t width,
                            int32_t height, const ST_GHOSTDETECTION_PARAMS_IN* pParams);
using DownScale = void (*)(const uint8_t* src, int height, int width, uint8_t* dst);

// Without scratch, which is taken here.
ret_status filterDifference(const char* name, GhostPlanes planes, const GhostThresholds& thresholds) {
    const int64_t size = int64_t{planes.width} * planes.height;
    if (planes.width < kGhostFilterMinSize || planes.height < kGhostFilterMinSize) {
        if (planes.width > 0 && planes.height > 0) std::memset(planes.mask, 0, size);
        return retStsOK;
    }
    const Scratch<int16_t> rows(size * int64_t{sizeof(int16_t)}, name);
    if (!rows) return retStsNoMemory;
    planes.scratch = rows.get();
    GhostFilter(planes, thresholds);
    return retStsOK;
}

// A plane of the frame and of the reference, and where the mask goes.
struct MaskJob {
    const char* name;
    const uint8_t* img;
    const uint8_t* imgRef;
    uint8_t* mask;
    int32_t height;
    int32_t width;
    const ST_GHOSTDETECTION_PARAMS_IN* pParams;
};

// The core on both planes, made `factor` times smaller in each direction.
ret_status shrunkenMask(const MaskJob& job, DownScale downScale, int factor, Core core) {
    const auto& [name, img, imgRef, mask, height, width, pParams] = job;
    const int64_t size = int64_t{width} * height / (int64_t{factor} * factor);
    const Scratch<uint8_t> small(size, name);
    if (!small) return retStsNoMemory;
    const Scratch<uint8_t> smallRef(size, name);
    if (!smallRef) return retStsNoMemory;
    const Scratch<int16_t> scratch(size * 2, name);
    if (!scratch) return retStsNoMemory;
    downScale(img, height, width, small.get());
    downScale(imgRef, height, width, smallRef.get());
    if (factor == 4) EIS_LOG_INFO("FUNCTION:%s,DownScaleNewX16_char_Stride_NEON Out\n", name);
    return core(small.get(), smallRef.get(), scratch.get(), mask, width / factor, height / factor, pParams);
}

ret_status lumaMask(const MaskJob& job) {
    const ret_status status = shrunkenMask(job, DownScaleBox4x4_neon, 4, diff_GaussianFitler_mask_neon_2);
    return status != retStsOK ? status : QX_IVS_Dilation_r7_and_Erosion_r3(job.mask, job.width >> 2, job.height >> 2);
}

ret_status chromaMask(const MaskJob& job, uint32_t* pSize) {
    *pSize = 0;
    const ret_status status = shrunkenMask(job, DownScaleBox2x2_Stride_neon, 2, diff_GaussianFitler_mask_neon_2C);
    return status != retStsOK ? status : QX_IVS_Erosion_r3_and_Dilation_r7(job.mask, job.width >> 1, job.height >> 1);
}

}  // namespace

// Signatures of the system.
// NOLINTBEGIN(readability-function-size)
ret_status GetMask_neon(const uint8_t* img, const uint8_t* imgRef, uint8_t* mask, int32_t height, int32_t width,
                        uint32_t* pGhostSize, const ST_GHOSTDETECTION_PARAMS_IN* pParams) {
    const ret_status status = lumaMask({__func__, img, imgRef, mask, height, width, pParams});
    if (status == retStsOK) *pGhostSize = 0;
    return status;
}

ret_status GetMask_Stride_neon(const uint8_t* img, const uint8_t* imgRef, uint8_t* mask, int32_t height, int32_t width,
                               uint32_t* pGhostSize, const ST_GHOSTDETECTION_PARAMS_IN* pParams) {
    const ret_status status = lumaMask({__func__, img, imgRef, mask, height, width, pParams});
    if (status != retStsOK) return status;
    *pGhostSize = CountGhostPixels(mask, int64_t{width >> 2} * (height >> 2));
    EIS_LOG_INFO("++++++++ghostSize =%d+++++++", static_cast<int>(*pGhostSize));
    return retStsOK;
}

ret_status GetMask_NoScale_neon(const uint8_t* img, const uint8_t* imgRef, uint8_t* mask, int32_t height, int32_t width,
                                uint32_t* pGhostSize, const ST_GHOSTDETECTION_PARAMS_IN* pParams) {
    ret_status status = diff_GaussianFitler_mask_neon_2(img, imgRef, nullptr, mask, width, height, pParams);
    if (status == retStsOK) status = QX_IVS_Dilation_r7_and_Erosion_r3(mask, width, height);
    if (status == retStsOK) *pGhostSize = 0;
    return status;
}

ret_status GetMaskChroma_neon(const uint8_t* img, const uint8_t* imgRef, uint8_t* mask, uint32_t* pSize, int32_t height,
                              int32_t width, const ST_GHOSTDETECTION_PARAMS_IN* pParams) {
    return chromaMask({__func__, img, imgRef, mask, height, width, pParams}, pSize);
}

ret_status GetMaskChroma_stride_neon(const uint8_t* img, const uint8_t* imgRef, uint8_t* mask, uint32_t* pSize,
                                     int32_t height, int32_t width, const ST_GHOSTDETECTION_PARAMS_IN* pParams) {
    return chromaMask({__func__, img, imgRef, mask, height, width, pParams}, pSize);
}

ret_status diff_GaussianFitler_mask_neon_2(const uint8_t* a, const uint8_t* b, int16_t* /*scratch*/, uint8_t* mask,
                                           int32_t width, int32_t height, const ST_GHOSTDETECTION_PARAMS_IN* pParams) {
    return filterDifference(__func__, {a, b, nullptr, mask, width, height},
                            {pParams->lumaTH_Low, pParams->lumaTH_High, pParams->lumaNoiseTH});
}

ret_status diff_GaussianFitler_mask_neon_2C(const uint8_t* a, const uint8_t* b, int16_t* /*scratch*/, uint8_t* mask,
                                            int32_t width, int32_t height, const ST_GHOSTDETECTION_PARAMS_IN* pParams) {
    return filterDifference(__func__, {a, b, nullptr, mask, width, height},
                            {pParams->chromaTH_Low, pParams->chromaTH_High, pParams->chromaNoiseTH});
}

// NOLINTEND(readability-function-size)

uint32_t CountGhostPixels(const uint8_t* mask, int64_t count) {
    uint32_t set = 0;
    for (int64_t i = 0; i < count; ++i) set += mask[i] & 1u;
    return set;
}

}  // namespace eis
