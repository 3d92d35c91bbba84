#include "libCore/core/source/neon/wavelet/q7_convert.h"
#include "libCore/core/source/neon/wavelet/wavelet_sweep.h"
#include "libCore/core/source/neon/wavelet/wavelet_transform.h"

namespace eis {

void WaveletDenoiseBytes_plain(const ST_WAVELET_DN_PARAMS& params, int pass, const WaveletBytes& bytes,
                               const WaveletWork& /*work*/) {
    const int64_t width = params.width;
    for (int y = 0; y < params.height; ++y) {
        WidenQ7_plain(bytes.pSrc + y * width, params.pSamples + int64_t{y} * params.sampleStride, params.width, 1);
    }
    WaveletTransform(params, pass);
    for (int y = bytes.rowFirst; y < bytes.rowEnd; ++y) {
        NarrowQ7Round_plain(params.pSamples + int64_t{y} * params.sampleStride, bytes.pDst + y * width, params.width,
                            1);
    }
}

}  // namespace eis
