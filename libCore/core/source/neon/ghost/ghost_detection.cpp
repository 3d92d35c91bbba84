#include "libCore/core/source/neon/ghost/ghost_detection.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/neon/MultiThread_new.h"
#include "libCore/core/source/neon/ghost/ghost_mask.h"
#include "libCore/core/source/neon/resample/binomial3x3.h"
#include "libCore/core/source/neon/resample/resample_up.h"

namespace eis {

namespace {

// What sets the two forms apart. A form without a name of its own for a failure uses the common one.
struct GhostForm {
    const char* name;
    bool whole;
    decltype(&GetMask_neon) lumaMask;
    decltype(&GetMaskChroma_neon) chromaMask;
    const char* noSmoothingText;
    const char* noPictureText;
};

constexpr char kNoMemoryText[] = "Memery Allocating Error!";
constexpr GhostForm kBandForm{"GhostDetectionMFNRPrivate_UpScaleX16_neon_new",
                              false,
                              GetMask_neon,
                              GetMaskChroma_neon,
                              kNoMemoryText,
                              kNoMemoryText};
constexpr GhostForm kWholeForm{"GhostDetectionMFNRPrivate_UpScaleX16_neon",
                               true,
                               GetMask_Stride_neon,
                               GetMaskChroma_stride_neon,
                               "Memery Allocating pBuf Error!",
                               "Memery Allocating pMaskTemp Error!"};

ret_status noMemory(const char* text = kNoMemoryText) {
    EIS_LOG_ERROR("%s", text);
    return retStsNoMemory;
}

// Adds the first `rows` rows of the masks of both chroma planes.
ret_status uniteChroma(const GhostForm& form, const ST_GHOST_BAND_PARAMS& band, uint8_t* mask, int32_t rows) {
    const ST_GHOSTDETECTION_PARAMS_IN& in = *band.pIn;
    const int32_t chromaWidth = in.img.width / 2;
    const Scratch<uint8_t> maskU(int64_t{chromaWidth} * band.chromaRows, form.name);
    if (!maskU) return noMemory();
    const Scratch<uint8_t> maskV(int64_t{chromaWidth} * band.chromaRows, form.name);
    if (!maskV) return noMemory();
    uint8_t* const masks[] = {maskU.get(), maskV.get()};
    for (int i = 0; i < 2; ++i) {
        uint32_t unused;
        const ret_status status = form.chromaMask(in.img.pData[1 + i], in.imgRef.pData[1 + i], masks[i], &unused,
                                                  band.chromaRows, chromaWidth, &in);
        if (status != retStsOK) return status;
    }
    const int64_t count = int64_t{in.img.width >> 2} * rows;
    for (int64_t i = 0; i < count; ++i) mask[i] |= masks[0][i] | masks[1][i];
    return retStsOK;
}

// Enlarges the band's own rows, in strips that stay in the cache. Off the grid of four, enlarged rows are shorter than
// the picture's and run on through them; what is behind the last one is 0.
void enlargeOwnRows(const ST_GHOST_BAND_PARAMS& band, const uint8_t* mask, uint8_t* spare) {
    constexpr int32_t kStrip = 64;
    const ST_PICTURE& img = band.pIn->img;
    const int64_t width = img.width;
    const int32_t maskWidth = img.width >> 2;
    const int32_t maskHeight = img.height >> 2;
    const int64_t lineBytes = 4 * int64_t{maskWidth};
    const int64_t lines = maskWidth > 0 ? 4 * int64_t{maskHeight} : 0;
    const int32_t ownEnd = img.height - band.bottomLuma;
    for (int32_t y = band.topLuma; y < ownEnd;) {
        const int32_t end = std::min(y + kStrip, ownEnd);
        const int64_t firstLine = lines > 0 ? std::min(y * width / lineBytes, lines) : 0;
        const int64_t base = firstLine * lineBytes;
        uint8_t* to = spare;
        for (int64_t line = firstLine; line < lines && to - spare < end * width - base; ++line, to += lineBytes) {
            UpScaleX16Row(mask, maskHeight, maskWidth, static_cast<int>(line), to);
        }
        const int64_t missing = end * width - base - (to - spare);
        if (missing > 0) std::memset(to, 0, missing);
        for (; y < end; ++y) {
            std::memcpy(band.pOut->pMask + int64_t{y - band.topLuma} * stride128(img.width), spare + y * width - base,
                        width);
        }
    }
}

ret_status detect(const GhostForm& form, const ST_GHOST_BAND_PARAMS& band) {
    const ST_GHOSTDETECTION_PARAMS_IN& in = *band.pIn;
    const int32_t width = in.img.width;
    const int32_t height = in.img.height;
    const int32_t quarterWidth = width >> 2;
    const int32_t quarterHeight = height >> 2;
    const int64_t quarterSize = int64_t{quarterWidth} * quarterHeight;
    const int32_t ownHeight = height - band.topLuma - band.bottomLuma;
    const int32_t ownRows = ownHeight >> 2;
    uint32_t& ghostSize = *band.pOut->pGhostSize;

    const Scratch<uint8_t> mask(quarterSize, form.name);
    if (!mask) return noMemory();
    EIS_LOG_INFO("IMG WIDTH:%d, pstGhostDetectionParamsIn->stMultiRegistrationPic.astInImg[1].height:%d", width,
                 in.imgRef.height);
    EIS_LOG_INFO("IMG WIDTH:%d, HEIGHT:%d\n", width, height);
    if (form.whole) EIS_LOG_INFO("FUNCTION:%s,%d, imgRef [%p]", form.name, __LINE__, in.imgRef.pData[0]);
    ret_status status = form.lumaMask(in.img.pData[0], in.imgRef.pData[0], mask.get(), height, width, &ghostSize, &in);
    if (status != retStsOK) return status;
    const uint32_t count = form.whole ? ghostSize
                                      : CountGhostPixels(mask.get() + int64_t{band.topLuma >> 2} * quarterWidth,
                                                         int64_t{ownRows} * quarterWidth);

    const int32_t chromaTop = (band.topLuma >> 2) - (band.topChroma >> 1);
    const int32_t chromaRowsUsed = ownRows + (band.topChroma >> 1) + (band.bottomChroma >> 1);
    status = uniteChroma(form, band, mask.get() + int64_t{chromaTop} * quarterWidth, chromaRowsUsed);
    if (status != retStsOK) return status;
    ghostSize = count * 16;
    if (form.whole) EIS_LOG_INFO("=========*ghostSize = %d===========", static_cast<int>(ghostSize));

    const Scratch<uint8_t> smoothing(quarterSize, form.name);
    if (!smoothing) return noMemory(form.noSmoothingText);
    Binomial3x3(mask.get(), mask.get(), smoothing.get(), quarterWidth, quarterHeight, quarterWidth, quarterWidth,
                quarterWidth);
    const Scratch<uint8_t> picture(int64_t{width} * height, form.name);
    if (!picture) return noMemory(form.noPictureText);
    enlargeOwnRows(band, mask.get(), picture.get());
    return retStsOK;
}

// Four parked workers for the time of a call.
class WorkerPool {
  public:
    WorkerPool() : started_(MultiThread_Init(4) == 0) {}
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;
    ~WorkerPool() { MultiThread_destory(); }

    bool started() const { return started_; }

  private:
    bool started_;
};

}  // namespace

ret_status GhostDetectionMFNRPrivate_UpScaleX16_neon(ST_GHOSTDETECTION_PARAMS_IN* in,
                                                     ST_GHOSTDETECTION_PARAMS_OUT* out) {
    EIS_LOG_INFO("enter func %s\n", __func__);
    const WorkerPool pool;
    if (!pool.started()) {
        std::puts("Create Thread Failed!");
        return retStsThreadError;
    }
    const ret_status status = detect(kWholeForm, {in, out, in->img.height >> 1, 0, 0, 0, 0});
    if (status == retStsOK) EIS_LOG_INFO("exit func %s\n", __func__);
    return status;
}

ret_status GhostDetectionMFNRPrivate_UpScaleX16_neon_new(ST_GHOST_BAND_PARAMS* band) {
    return detect(kBandForm, *band);
}

}  // namespace eis
