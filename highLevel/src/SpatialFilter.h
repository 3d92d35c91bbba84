// The bodies of the high-level entry: luma, and chroma when asked, of a whole picture on the caller's thread, or of a
// band, on a thread of its own.
#pragma once

#include <cstdint>

#include "highLevel/src/band/denoise_params.h"
#include "include/acore_types.h"

namespace eis {

// One band.
struct ST_NR_BAND_PARAMS {
    ST_MULTIDENOISE_PARAMS_IN stMultiDenoiseIn;
    ST_PICTURE stPicOut;  // the band's size, and the picture's planes
    int32_t bandTopOverlap;
    int32_t bandBottomOverlap;
    // Bytes from the planes' starts to the band's.
    int64_t lumaStart;
    int64_t chromaStart;
};

// Luma has rows of (width + 127) & ~127 bytes, chroma of (width / 2 + 127) & ~127. 0; -1000 when there is no memory:
// the picture stays as it came, or, when chroma alone ran out of it, has its luma denoised.
ret_status SpatialNrHighLevelNew(ST_MULTIDENOISE_PARAMS_IN* in, ST_MULTIDENOISE_PARAMS_OUT* out);

// Thread body: the argument is an ST_NR_BAND_PARAMS, the result the status. Meets the other bands twice, before chroma
// and before luma is written back.
void* SpatialNrHighLevelNew_MultiThread(void* band);

}  // namespace eis
