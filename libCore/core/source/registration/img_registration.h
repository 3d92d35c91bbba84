// Registration of one frame onto the reference frame.
#pragma once

#include <cstdint>

#include "include/acore_types.h"
#include "include/registration_blocks.h"
#include "include/st_picture.h"
#include "libCore/core/source/registration/match_pairs.h"
#include "libCore/core/source/registration/motion_estimation.h"

namespace eis {

struct ST_IMGREGISTRATION_PARAMS_IN {
    struct {
        ST_PICTURE astInImg[kRegistrationMaxFrames];  // 0: the reference frame, 1: the frame to align
        int32_t reserved;
    } stMultiPicIn;
    ST_MATCH_PAIRS stMatchPairs;  // cleaned
    int32_t frameIndex;           // element of the output's astInImg that receives the result
};

struct ST_IMGREGISTRATION_PARAMS_OUT {
    struct {
        ST_PICTURE astInImg[kRegistrationMaxFrames];
    } stMultiRegistrationPic;
    ST_MOTION_AREA stMotionArea;
    void* pStatus;  // the host's 32-bit status word, at any alignment
};

// Fits the homography to the pairs, computes the motion area and warps the frame, luma alone when lumaOnly is not 0.
// 0; 3 when the frame cannot be aligned: no output picture is touched then, and nine floats at homographyOut (at any
// alignment) become the identity when there are fewer than 8 pairs; -998 for a picture format other than 2; -1000.
ret_status ImgRegistration_2(const ST_IMGREGISTRATION_PARAMS_IN* paramsIn, ST_IMGREGISTRATION_PARAMS_OUT* paramsOut,
                             int lumaOnly, void* homographyOut);

}  // namespace eis
