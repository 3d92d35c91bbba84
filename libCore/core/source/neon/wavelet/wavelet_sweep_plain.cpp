#include <utility>

#include "libCore/core/source/neon/wavelet/q7_convert.h"
#include "libCore/core/source/neon/wavelet/wavelet_smooth.h"
#include "libCore/core/source/neon/wavelet/wavelet_sweep.h"

namespace eis {

void WaveletTransform_plain(const ST_WAVELET_DN_PARAMS& params, int pass) {
    const int width = params.width;
    const int height = params.height;
    const int64_t plane = int64_t{width} * height;
    const int16_t* high = params.pSamples;
    int highStride = params.sampleStride;
    int16_t* low = params.pWork + plane;
    int16_t* other = params.pWork + 2 * plane;
    for (int level = 1; level <= kWaveletLevels; ++level) {
        ST_WAVELET_LEVEL_PARAMS smooth{high,  highStride, low,    width,           params.pWork,
                                       width, width,      height, 1 << (level - 1)};
        WaveletSmooth_plain(&smooth);
        WaveletShrinkLevel_plain(params, pass, level, high, low);
        if (level == 2) NarrowQ7Round_plain(low, params.pFirstLevel + (pass - 1) * plane, width, height);
        high = low;
        highStride = width;
        std::swap(low, other);
    }
    WaveletAddPlane_plain(params, high);
}

void WaveletDenoiseBytes_plain(const ST_WAVELET_DN_PARAMS& params, int pass, const WaveletBytes& bytes) {
    const int64_t width = params.width;
    for (int y = 0; y < params.height; ++y) {
        WidenQ7_plain(bytes.pSrc + y * width, params.pSamples + int64_t{y} * params.sampleStride, params.width, 1);
    }
    WaveletTransform_plain(params, pass);
    for (int y = bytes.rowFirst; y < bytes.rowEnd; ++y) {
        NarrowQ7Round_plain(params.pSamples + int64_t{y} * params.sampleStride, bytes.pDst + y * width, params.width,
                            1);
    }
}

}  // namespace eis
