// All five levels of the wavelet denoiser in one sweep down a plane: a row goes on to the next level as soon as the
// rows that its filter reaches have come, so that rows wait in rings, and no plane but the samples and the map is
// touched.
#pragma once

#include <cstdint>

#include "include/st_wavelet.h"

namespace eis {

// Working memory of a sweep, of any content.
struct WaveletWork {
    int16_t* pSamples;
    int64_t count;
};

// Filters the plane of bytes pSrc into the rows rowFirst to rowEnd - 1 of pDst, as WidenQ7, the transform of pass 1 or
// 2 with the map in pThresholds, and NarrowQ7Round do; pFirstLevel gets the same rows of its plane. Both planes are
// contiguous. pSamples and pWork of the record are scratch, and untouched where `work` is large enough for the rings.
struct WaveletBytes {
    const uint8_t* pSrc;
    uint8_t* pDst;
    int32_t rowFirst;
    int32_t rowEnd;
};
void WaveletDenoiseBytes(const ST_WAVELET_DN_PARAMS& params, int pass, const WaveletBytes& bytes,
                         const WaveletWork& work);
void WaveletDenoiseBytes_plain(const ST_WAVELET_DN_PARAMS& params, int pass, const WaveletBytes& bytes,
                               const WaveletWork& work);

}  // namespace eis
