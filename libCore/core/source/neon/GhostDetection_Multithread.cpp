#include "libCore/core/source/neon/GhostDetection_Multithread.h"

#include <cstring>

#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/frame/traced_thread.h"
#include "libCore/core/source/neon/ghost/ghost_detection.h"
#include "libCore/core/source/neon/resample/band_rows.h"

namespace eis {

namespace {

constexpr char kGhostUnit[] = "libCore/core/source/neon/GhostDetection_Multithread";
constexpr TraceSite kSite{
    kGhostUnit,
    "ret_status GhostDetection_Multithread_Maincall(ST_GHOSTDETECTION_PARAMS_IN*, ST_GHOSTDETECTION_PARAMS_OUT*)"};
constexpr int kBands = 4;
constexpr int32_t kMinSize = 256;

// A band's records, and where its luma starts, in bytes from the start of the picture's. The pictures in `in` have the
// band's rows and the whole picture's luma planes.
struct GhostBand {
    ST_GHOSTDETECTION_PARAMS_IN in;
    ST_GHOSTDETECTION_PARAMS_OUT out;
    ST_GHOST_BAND_PARAMS rows;
    int64_t lumaStart;
    uint32_t ghostSize;
};

// At heights 260 to 263 the second band starts up to two rows above the picture; what it reads there is the picture's
// first row, which takes a copy.
ret_status detectWithRowsAbove(GhostBand& band) {
    const int32_t width = band.in.img.width;
    const int32_t pitch = stride128(width);
    const int64_t size = int64_t{pitch} * band.in.img.height;
    const Scratch<uint8_t> luma(size, __func__);
    const Scratch<uint8_t> lumaRef(size, __func__);
    if (!luma || !lumaRef) {
        EIS_LOG_ERROR("Memery Allocating Error!");
        return retStsNoMemory;
    }
    const auto replace = [&](ST_PICTURE& picture, uint8_t* copy) {
        CopyBand({picture.pData[0], band.lumaStart, pitch}, width, picture.height, copy, pitch);
        picture.pData[0] = copy;
    };
    replace(band.in.img, luma.get());
    replace(band.in.imgRef, lumaRef.get());
    return GhostDetectionMFNRPrivate_UpScaleX16_neon_new(&band.rows);
}

void* bandThread(void* argument) {
    GhostBand& band = *static_cast<GhostBand*>(argument);
    if (band.in.ghostEnable != 1) return nullptr;
    // A band's status goes nowhere.
    if (band.lumaStart < 0) {
        detectWithRowsAbove(band);
    } else {
        band.in.img.pData[0] += band.lumaStart;
        band.in.imgRef.pData[0] += band.lumaStart;
        GhostDetectionMFNRPrivate_UpScaleX16_neon_new(&band.rows);
    }
    return nullptr;
}

void clearMask(const ST_PICTURE& img, uint8_t* mask) {
    for (int32_t y = 0; y < img.height; ++y) std::memset(mask + int64_t{y} * stride128(img.width), 0, img.width);
}

void layOut(const ST_GHOSTDETECTION_PARAMS_IN& in, const ST_GHOSTDETECTION_PARAMS_OUT& out, GhostBand* bands) {
    const int32_t height = in.img.height;
    const int64_t lumaPitch = stride128(in.img.width);
    const int64_t chromaPitch = stride128(in.img.width >> 1);
    const int64_t lumaStep = (lumaPitch * height) >> 2;
    const int64_t chromaStep = ((height >> 1) * chromaPitch) >> 2;
    // Overlap below a middle band's own rows; above, and at the outer bands' inner ends, it is rounded up.
    constexpr int32_t kLumaBelow = 64;
    constexpr int32_t kChromaBelow = 32;
    const int32_t q = height >> 2;
    const int32_t e = height >> 3;
    const int32_t lumaOverlap = ((q + kLumaBelow + 3) & ~3) - q;
    const int32_t chromaOverlap = ((e + kChromaBelow + 1) & ~1) - e;
    for (int k = 0; k < kBands; ++k) {
        GhostBand& band = bands[k];
        const bool first = k == 0;
        const bool last = k == kBands - 1;
        band.in = in;
        band.out = out;
        band.rows.pIn = &band.in;
        band.rows.pOut = &band.out;
        band.rows.topLuma = first ? 0 : lumaOverlap;
        band.rows.topChroma = first ? 0 : chromaOverlap;
        band.rows.bottomLuma = first ? lumaOverlap : last ? 0 : kLumaBelow;
        band.rows.bottomChroma = first ? chromaOverlap : last ? 0 : kChromaBelow;
        band.rows.chromaRows = e + band.rows.topChroma + band.rows.bottomChroma;
        band.in.img.height = band.in.imgRef.height = q + band.rows.topLuma + band.rows.bottomLuma;
        band.lumaStart = k * lumaStep - band.rows.topLuma * lumaPitch;
        const int64_t chromaStart = k * chromaStep - band.rows.topChroma * chromaPitch;
        for (int plane = 1; plane < 3; ++plane) {
            band.in.img.pData[plane] = in.img.pData[plane] + chromaStart;
            band.in.imgRef.pData[plane] = in.imgRef.pData[plane] + chromaStart;
        }
        band.out.pMask = out.pMask + k * lumaStep;
        band.out.pGhostSize = &band.ghostSize;
    }
}

}  // namespace

EIS_KEEP ret_status GhostDetection_Multithread_Maincall(ST_GHOSTDETECTION_PARAMS_IN* in,
                                                        ST_GHOSTDETECTION_PARAMS_OUT* out) {
    EIS_LOG_INFO("GhostDetection IMG WIDTH:%d, HEIGHT:%d \n", in->img.width, in->img.height);
    if (in->img.height < kMinSize || in->img.width < kMinSize) {
        return in->ghostEnable == 1 ? GhostDetectionMFNRPrivate_UpScaleX16_neon(in, out) : retStsOK;
    }
    if (in->ghostEnable == 1 && in->img.height % 4 != 0) clearMask(in->img, out->pMask);
    GhostBand bands[kBands]{};
    layOut(*in, *out, bands);
    ThreadGroup<kBands> group(kSite);
    bool allStarted = true;
    for (GhostBand& band : bands) allStarted = group.start(bandThread, &band) && allStarted;
    if (!allStarted) {
        EIS_LOG_ERROR("%s", "Thread Create Error!");
        group.join();
        return retStsThreadError;
    }
    group.join();
    *out->pGhostSize = 0;
    for (const GhostBand& band : bands) *out->pGhostSize += band.ghostSize;
    EIS_LOG_INFO("GhostDetection_Multithread_Maincall retThread = %d\n", 0);
    return retStsOK;
}

}  // namespace eis
