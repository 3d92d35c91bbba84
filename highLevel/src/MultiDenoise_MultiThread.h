// The stage of the high-level entry: four bands on four threads, or, on a small picture, the whole one on the caller's
// thread.
#pragma once

#include "highLevel/src/band/denoise_params.h"
#include "include/acore_types.h"

namespace eis {

// 0, also when a band failed for want of memory: it stays as it came; -997 when a thread did not start (the bands that
// ran are written back), or the meeting of the bands could not be set up; -1000 on a small picture.
ret_status SpatialNrHighLevel_MultiThread(ST_MULTIDENOISE_PARAMS_IN* in, ST_MULTIDENOISE_PARAMS_OUT* out);

// The stage behind a test of the picture's size, -998 below 128 pixels either way; sets the picture's stride to its
// width.
ret_status SpatialNrHighLevelMainCall(ST_MULTIDENOISE_PARAMS_IN* in, ST_MULTIDENOISE_PARAMS_OUT* out);

}  // namespace eis
