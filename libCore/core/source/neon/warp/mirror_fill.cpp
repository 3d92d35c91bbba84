#include "libCore/core/source/neon/warp/mirror_fill.h"

#include <algorithm>
#include <cstring>

#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/neon/warp/warp_geometry.h"

namespace eis {

namespace {

struct FilledPlane {
    uint8_t* samples;
    int64_t pitch;
    int height;

    uint8_t* row(int64_t r) const { return samples + r * pitch; }
};

FilledPlane lumaOf(const ST_PICTURE& picture) {
    return {picture.pData[0], picture.stride, picture.height};
}

FilledPlane chromaOf(const ST_PICTURE& picture, int i) {
    return {picture.pData[i], warpChromaPitch(picture.stride), picture.height >> 1};
}

void fillColumns(const FilledPlane& plane, int x, int w, int first, int last) {
    const int64_t end = int64_t{x} + w;
    const int64_t padding = std::max<int64_t>(plane.pitch - end, 0);
    // A padding wider than what is filled to its left takes the first column.
    const int64_t mirrored = std::min(padding, end);
    for (int r = first; r < last; ++r) {
        uint8_t* row = plane.row(r);
        std::reverse_copy(row + x + 1, row + 2 * int64_t{x} + 1, row);
        std::reverse_copy(row + end - mirrored, row + end, row + end);
        std::memset(row + end + mirrored, row[0], padding - mirrored);
    }
}

void fillRows(const FilledPlane& plane, int y, int h) {
    for (int k = 0; k < y; ++k) std::memcpy(plane.row(k), plane.row(2 * int64_t{y} - k), plane.pitch);
    const int64_t end = int64_t{y} + h;
    for (int64_t j = end; j < plane.height; ++j) std::memcpy(plane.row(j), plane.row(2 * end - 1 - j), plane.pitch);
}

}  // namespace

void MirrorFillColumns(const ST_PICTURE& picture, int x, int w, int first, int end) {
    fillColumns(lumaOf(picture), x, w, first, end);
    for (int i = 1; i < 3; ++i) fillColumns(chromaOf(picture, i), x >> 1, w >> 1, first >> 1, end >> 1);
}

void MirrorFillRows(const ST_PICTURE& picture, int y, int h) {
    fillRows(lumaOf(picture), y, h);
    for (int i = 1; i < 3; ++i) fillRows(chromaOf(picture, i), y >> 1, h >> 1);
}

void MirrorFillOutside_Y(const ST_PICTURE* dstPic, int x, int y, int w, int h) {
    fillColumns(lumaOf(*dstPic), x, w, y, y + h);
    fillRows(lumaOf(*dstPic), y, h);
}

void MirrorFillOutside(const ST_PICTURE* dstPic, int x, int y, int w, int h) {
    MirrorFillColumns(*dstPic, x, w, y, y + h);
    MirrorFillRows(*dstPic, y, h);
}

}  // namespace eis
