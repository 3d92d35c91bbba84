#include "libCore/core/source/registration/img_registration.h"

#include <algorithm>
#include <cstring>

#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/neon/warp/affine_transform.h"
#include "libCore/core/source/registration/homography.h"

namespace eis {

namespace {

constexpr int kPictureFormat = 2;
constexpr int kMinPairs = 8;
constexpr int kFitIterFactor = 30;

// The eigensolver's workspace first, then the warp's column table.
int64_t scratchBytes(int64_t pairs, int64_t width) {
    return std::max((pairs * 44 + 56) * 4, width * 100);
}

}  // namespace

ret_status ImgRegistration_2(const ST_IMGREGISTRATION_PARAMS_IN* paramsIn, ST_IMGREGISTRATION_PARAMS_OUT* paramsOut,
                             int lumaOnly, void* homographyOut) {
    const ST_PICTURE& reference = paramsIn->stMultiPicIn.astInImg[0];
    const ST_MATCH_PAIRS& pairs = paramsIn->stMatchPairs;
    if (reference.format != kPictureFormat) {
        EIS_LOG_ERROR("IMG_REGISTRATION: not suppport yuv format %d\n", reference.format);
        return retStsBadAddress;
    }
    EIS_LOG_ERROR("IMG_REGISTRATION: keypoints %d\n", pairs.pointNum);
    if (pairs.pointNum < kMinPairs) {
        EIS_LOG_ERROR("IMG_REGISTRATION: not enough keypoints %d\n", pairs.pointNum);
        constexpr float kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
        std::memcpy(homographyOut, kIdentity, sizeof kIdentity);
        return retStsNotEnoughKeypoints;
    }

    const Scratch<uint8_t> scratch(scratchBytes(pairs.pointNum, reference.width), __func__);
    if (!scratch) {
        EIS_LOG_ERROR("IMG_REGISTRATION: malloc failed!\n");
        return retStsNoMemory;
    }
    // A fit that stops for lack of spread leaves zeros, which the motion check refuses.
    float homography[9] = {};
    (void)CalcHomography(pairs.pRefPoints, pairs.pCurPoints, pairs.pointNum, homography, kFitIterFactor, scratch.get());
    const int status = MotionEstimation(homography, reference.width, reference.height, &paramsOut->stMotionArea);
    if (status != 0) {
        EIS_LOG_INFO("IMG_REGISTRATION: MotionEstimation failed %d\n", status);
        return status;
    }
    const auto warp = lumaOnly != 0 ? AffineTransform_neon_stride_Y : AffineTransform_neon_stride;
    return warp(paramsIn, &paramsIn->stMultiPicIn.astInImg[1],
                &paramsOut->stMultiRegistrationPic.astInImg[paramsIn->frameIndex], homography, &paramsOut->stMotionArea,
                scratch.get());
}

}  // namespace eis
