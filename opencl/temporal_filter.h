// The temporal filter's dispatch.
#pragma once

#include <cstdint>

#include "opencl/cl_platform.h"

namespace eis {

// Frames hold stride + strideUV bytes a row, mask and output stride bytes, of `height` rows. In import mode the 32-bit
// word just before pSrc1, pSrc2Ref, pMaskRef and pOut is the device address of the plane's allocation.
struct ST_TEMPORALFILTER_PARAMS {
    uint32_t* pSrc2Ref;  // import mode only
    uint32_t* pMaskRef;  // import mode only
    uint8_t* pSrc1;
    uint8_t* pSrc2;  // written back in copy mode
    uint8_t* pMask;
    uint8_t* pOut;
    int32_t alpha;
    int32_t stride;
    int32_t strideUV;
    int32_t height;
    int32_t width;
};

// Runs the "temporalfilter" kernel over a frame pair and waits for it. Memory is imported when the host's allocator has
// a lookup, else copied in and out. A work item covers 16 by 2 samples; a width's remainder below 16 is not dispatched.
// 0; -30 without a GPU context or a buffer object; else an OpenCL status.
int kernel_temporalfilter(ST_TEMPORALFILTER_PARAMS* params);

}  // namespace eis
