#include "libCore/core/source/frame/plane_copy.h"

#include <algorithm>
#include <cstring>

#include "bounded/bounded_overlap.h"
#include "libCore/core/source/frame/band_threads.h"
#include "libCore/core/source/frame/log.h"

namespace eis {

namespace {

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
        if (areasOverlap(source, destination, rowBytes)) {
            // Overlapping rows keep the meaning of a byte-by-byte ascending copy, which repeats what it has written.
            for (int i = 0; i < rowBytes; ++i) destination[i] = source[i];
        } else {
            std::memcpy(destination, source, rowBytes);
        }
        source += record.sourcePitch;
        destination += record.destinationPitch;
    }
}

ret_status copyPlaneInBands(const ImgCopyRecord& first, const TraceSite& site, int line) {
    ImgCopyRecord records[kBands];
    ThreadGroup<kBands> group(site);
    bool lastFailed = false;
    for (int band = 0; band < kBands; ++band) {
        const int64_t row = int64_t{band} * first.rows;
        records[band] = first;
        records[band].source += row * first.sourcePitch;
        records[band].destination += row * first.destinationPitch;
        // A start that fails is told ahead of the next one, and the last one alone decides.
        lastFailed = !group.start(copyThread, &records[band], line);
        if (lastFailed) EIS_LOG_INFO("i = %d", band);
    }
    if (lastFailed) EIS_LOG_INFO("Thread Create Error!");
    group.join(line);
    return lastFailed ? retStsThreadError : retStsOK;
}

ret_status imgDataCopy(unsigned char* src, unsigned char* dst, int srcStride, int height, int dstStride,
                       int /*width*/) {
    return copyPlaneInBands({src, dst, srcStride, dstStride, height >> 2}, kCopySite);
}

}  // namespace eis
