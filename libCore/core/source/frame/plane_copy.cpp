#include "libCore/core/source/frame/plane_copy.h"

#include <algorithm>
#include <cstring>

#include "libCore/core/source/frame/log.h"

namespace eis {

namespace {

constexpr int kBands = 4;
constexpr TraceSite kCopySite{"libCore/core/source/kelvane_mfdenoise",
                              "ret_status imgDataCopy(unsigned char*, unsigned char*, int, int, int, int)"};

void* copyThread(void* record) {
    copyRows(*static_cast<const ImgCopyRecord*>(record));
    return nullptr;
}

}  // namespace

void copyRows(const ImgCopyRecord& record) {
    const int rowBytes = std::min(record.sourcePitch, record.destinationPitch);
    if (rowBytes < 1) return;
    const uint8_t* source = record.source;
    uint8_t* destination = record.destination;
    for (int row = 0; row < record.rows; ++row) {
        const auto s = reinterpret_cast<uintptr_t>(source);
        const auto d = reinterpret_cast<uintptr_t>(destination);
        const uintptr_t distance = s < d ? d - s : s - d;
        if (distance >= static_cast<uintptr_t>(rowBytes)) {
            std::memcpy(destination, source, rowBytes);
        } else {
            // Overlapping rows keep the meaning of a byte-by-byte ascending copy, which repeats what it has written.
            for (int i = 0; i < rowBytes; ++i) destination[i] = source[i];
        }
        source += record.sourcePitch;
        destination += record.destinationPitch;
    }
}

ret_status copyPlaneInBands(const uint8_t* src, uint8_t* dst, int srcStride, int dstStride, int bandRows,
                            const TraceSite& site, int line) {
    ImgCopyRecord records[kBands];
    ThreadGroup<kBands> group(site);
    bool lastFailed = false;
    for (int band = 0; band < kBands; ++band) {
        const int64_t firstRow = int64_t{band} * bandRows;
        records[band] = {src + firstRow * srcStride, dst + firstRow * dstStride, srcStride, dstStride, bandRows};
        lastFailed = !group.start(copyThread, &records[band], line);
        if (lastFailed) EIS_LOG_INFO("i = %d", band);
    }
    if (lastFailed) EIS_LOG_INFO("Thread Create Error!");
    group.join(line);
    return lastFailed ? retStsThreadError : retStsOK;
}

ret_status imgDataCopy(unsigned char* src, unsigned char* dst, int srcStride, int height, int dstStride,
                       int /*width*/) {
    return copyPlaneInBands(src, dst, srcStride, dstStride, height >> 2, kCopySite);
}

}  // namespace eis
