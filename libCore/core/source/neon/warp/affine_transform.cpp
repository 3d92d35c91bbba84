#include "libCore/core/source/neon/warp/affine_transform.h"

#include <pthread.h>

#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/neon/multi_thread.h"
#include "libCore/core/source/neon/warp/mirror_fill.h"
#include "libCore/core/source/neon/warp/warp_rows.h"
#include "libCore/core/source/neon/warp/warp_runs.h"

namespace eis {

namespace {

constexpr int kThreads = WarpRuns::kBands;

// Whether the last group of the band's last row pair was contiguous.
bool warpBand(const WarpRecord& record, int threadIndex, int threadCount, bool lumaOnly) {
    const int rows = record.h / threadCount;
    const int start = record.y + threadIndex * rows;
    bool contiguous = false;
    for (int row = start; row < start + rows; row += 2) contiguous = WarpRowPair(record, row, lumaOnly);
    return contiguous;
}

// No object with a destructor stands between here and the exits, which need not unwind.
void* takeRuns(void* argument) {
    const auto* thread = static_cast<const ThreadRecord*>(argument);
    static_cast<WarpRuns*>(thread->argument)->work(thread->index);
    pthread_exit(nullptr);
}

void* warpLumaBand(void* argument) {
    const auto* thread = static_cast<const ThreadRecord*>(argument);
    AffineTransform_neon_Impl_stride_Y(static_cast<const WarpRecord*>(thread->argument), thread->index, kThreads);
    pthread_exit(nullptr);
}

WarpRecord makeRecord(const ST_PICTURE& srcPic, const ST_PICTURE& dstPic, const float* homography,
                      const ST_MOTION_AREA& area, float* xTable) {
    WarpRecord record{srcPic, dstPic, area.x, area.y, area.width, area.height, homography, xTable};
    record.source.stride = stride128(srcPic.width);
    record.destination.stride = record.source.stride;
    for (int group = 0; group < record.source.stride / 8; ++group) {
        for (int i = 0; i < 4; ++i) xTable[4 * group + i] = static_cast<float>(area.x + 8 * group + 2 * i);
    }
    return record;
}

}  // namespace

void AffineTransform_neon_Impl_stride(const WarpRecord* record, int threadIndex, int threadCount) {
    warpBand(*record, threadIndex, threadCount, false);
}

void AffineTransform_neon_Impl_stride_Y(const WarpRecord* record, int threadIndex, int threadCount) {
    const bool contiguous = warpBand(*record, threadIndex, threadCount, true);
    EIS_LOG_INFO("flag of AffineTransform_neon_Impl_stride_Y: %d \n", contiguous ? 1 : 0);
}

int AffineTransform_neon_stride(const ST_IMGREGISTRATION_PARAMS_IN* /*paramsIn*/, const ST_PICTURE* srcPic,
                                const ST_PICTURE* dstPic, const float* homography, const ST_MOTION_AREA* motionArea,
                                void* scratch) {
    const WarpRecord record = makeRecord(*srcPic, *dstPic, homography, *motionArea, static_cast<float*>(scratch));
    WarpRuns runs(record);
    if (create_thread_lock(takeRuns, &runs, kThreads) != 0) {
        AffineTransform_neon_Impl_stride(&record, 0, 1);
        MirrorFillColumns(record.destination, record.x, record.w, record.y, record.y + record.h);
    }
    MirrorFillRows(record.destination, record.y, record.h);
    return 0;
}

int AffineTransform_neon_stride_Y(const ST_IMGREGISTRATION_PARAMS_IN* /*paramsIn*/, const ST_PICTURE* srcPic,
                                  const ST_PICTURE* dstPic, const float* homography, const ST_MOTION_AREA* motionArea,
                                  void* scratch) {
    WarpRecord record = makeRecord(*srcPic, *dstPic, homography, *motionArea, static_cast<float*>(scratch));
    if (create_thread_lock(warpLumaBand, &record, kThreads) != 0) AffineTransform_neon_Impl_stride_Y(&record, 0, 1);
    MirrorFillOutside_Y(&record.destination, record.x, record.y, record.w, record.h);
    return 0;
}

}  // namespace eis
