#include "libCore/core/source/neon/mirror_fill.h"

#include <algorithm>
#include <cstring>

#include "libCore/core/source/arithmetic.h"

namespace eis {

namespace {

// One plane, its rectangle in its own samples.
struct PlaneArea {
    uint8_t* plane;
    int64_t pitch;
    int height;
    int x;
    int y;
    int w;
    int h;

    uint8_t* row(int64_t r) const { return plane + r * pitch; }
};

void fillColumns(const PlaneArea& area) {
    const int64_t end = int64_t{area.x} + area.w;
    const int64_t padding = std::max<int64_t>(area.pitch - end, 0);
    // A padding wider than what is filled to its left takes the first column.
    const int64_t mirrored = std::min(padding, end);
    for (int r = area.y; r < area.y + area.h; ++r) {
        uint8_t* row = area.row(r);
        std::reverse_copy(row + area.x + 1, row + 2 * int64_t{area.x} + 1, row);
        std::reverse_copy(row + end - mirrored, row + end, row + end);
        std::memset(row + end + mirrored, row[0], padding - mirrored);
    }
}

void fillRows(const PlaneArea& area) {
    for (int k = 0; k < area.y; ++k) std::memcpy(area.row(k), area.row(2 * int64_t{area.y} - k), area.pitch);
    const int64_t end = int64_t{area.y} + area.h;
    for (int64_t j = end; j < area.height; ++j) std::memcpy(area.row(j), area.row(2 * end - 1 - j), area.pitch);
}

void fillPlane(const PlaneArea& area) {
    fillColumns(area);
    fillRows(area);
}

}  // namespace

int32_t warpChromaPitch(int32_t stride) {
    return stride128(stride / 2);
}

void MirrorFillOutside_Y(const ST_PICTURE* dstPic, int x, int y, int w, int h) {
    fillPlane({dstPic->pData[0], dstPic->stride, dstPic->height, x, y, w, h});
}

void MirrorFillOutside(const ST_PICTURE* dstPic, int x, int y, int w, int h) {
    MirrorFillOutside_Y(dstPic, x, y, w, h);
    const int32_t pitch = warpChromaPitch(dstPic->stride);
    for (int i = 1; i < 3; ++i) {
        fillPlane({dstPic->pData[i], pitch, dstPic->height >> 1, x >> 1, y >> 1, w >> 1, h >> 1});
    }
}

}  // namespace eis
