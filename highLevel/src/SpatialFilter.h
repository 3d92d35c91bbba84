// The bodies of the high-level entry: luma, and chroma when asked, of a whole picture on the caller's thread, or of a
// band, on a thread of its own.
#pragma once

#include "highLevel/src/band/denoise_params.h"
#include "include/acore_types.h"

namespace eis {

// The picture's stride is its width. 0; -1000 when there is no memory: the picture stays as it came, or, when chroma
// alone ran out of it, has its luma denoised.
ret_status SpatialNrHighLevelNew(ST_MULTIDENOISE_PARAMS_IN* in, ST_MULTIDENOISE_PARAMS_OUT* out);

// Thread body: the argument is an ST_NR_BAND_PARAMS, the result the status. Meets the other bands twice, before chroma
// and before luma is written back.
void* SpatialNrHighLevelNew_MultiThread(void* band);

}  // namespace eis
