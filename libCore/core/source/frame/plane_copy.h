// Copies of planes on four threads.
#pragma once

#include <cstdint>

#include "include/acore_types.h"
#include "libCore/core/source/frame/traced_thread.h"

namespace eis {

// One worker's share of a copy.
struct ImgCopyRecord {
    const uint8_t* source;
    uint8_t* destination;
    int32_t sourcePitch;
    int32_t destinationPitch;
    int32_t rows;
};

// Copies min(sourcePitch, destinationPitch) bytes of each row, from the lowest address upward; nothing when a pitch is
// not positive.
void copyRows(const ImgCopyRecord& record);

// Copies four bands, of which the first is given, each on a thread of its own. The outcome is that of the fourth start
// alone: -997 when it failed, else 0, even when an earlier band could not be started and stays uncopied. The threads
// are traced as the caller's.
ret_status copyPlaneInBands(const ImgCopyRecord& first, const TraceSite& site, int line = __builtin_LINE());

// Copies a plane in bands of height / 4 rows; up to three rows past the last band stay as they are. The width plays no
// part. 0, or -997 as above.
ret_status imgDataCopy(unsigned char* src, unsigned char* dst, int srcStride, int height, int dstStride, int width);

}  // namespace eis
