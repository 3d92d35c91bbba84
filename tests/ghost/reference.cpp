#include "tests/ghost/reference.h"

#include <algorithm>

#include "libCore/core/source/neon/ghost/ghost_filter.h"
#include "libCore/core/source/neon/mask/mask_morphology.h"
#include "libCore/core/source/neon/resample/binomial3x3.h"
#include "libCore/core/source/neon/resample/resample_down.h"
#include "libCore/core/source/neon/resample/resample_up.h"

namespace eis::test {

using Bytes = std::vector<uint8_t>;

ReferenceGhosts referenceGhosts(const ST_GHOSTDETECTION_PARAMS_IN& in) {
    const int w = in.img.width / 4;
    const int h = in.img.height / 4;
    const int size = w * h;
    const GhostThresholds luma{in.lumaTH_Low, in.lumaTH_High, in.lumaNoiseTH};
    const GhostThresholds chroma{in.chromaTH_Low, in.chromaTH_High, in.chromaNoiseTH};
    ReferenceGhosts out{Bytes(int64_t{in.img.width} * in.img.height), 0};
    Bytes united(size, 0);
    for (int p = 0; p < 3; ++p) {
        Bytes a(size), b(size), mask(size);
        const auto downScale = p == 0 ? DownScaleBox4x4_plain : DownScaleBox2x2_Stride_plain;
        const int part = p == 0 ? 1 : 2;
        downScale(in.img.pData[p], in.img.height / part, in.img.width / part, a.data());
        downScale(in.imgRef.pData[p], in.img.height / part, in.img.width / part, b.data());
        std::vector<int16_t> scratch(size);
        if (w >= kGhostFilterMinSize && h >= kGhostFilterMinSize) {
            GhostFilter_plain({a.data(), b.data(), scratch.data(), mask.data(), w, h}, p == 0 ? luma : chroma);
        }
        (p == 0 ? QX_IVS_Dilation_r7_and_Erosion_r3 : QX_IVS_Erosion_r3_and_Dilation_r7)(mask.data(), w, h);
        if (p == 0) out.size = static_cast<uint32_t>(16 * std::count(mask.begin(), mask.end(), 255));
        for (int i = 0; i < size; ++i) united[i] |= mask[i];
    }
    Bytes spare(size);
    Binomial3x3_plain(united.data(), united.data(), spare.data(), w, h, w, w, w);
    for (int y = 0; y < 4 * h; ++y) UpScaleX16Row_plain(united.data(), h, w, y, &out.mask[int64_t{4} * w * y]);
    return out;
}

}  // namespace eis::test
