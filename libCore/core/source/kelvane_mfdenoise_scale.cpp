// The entry that crops and scales a picture.
#include <algorithm>
#include <array>
#include <cstring>

#include "bounded/bounded_overlap.h"
#include "include/acore_api.h"
#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/frame/clock.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/frame/plane_view.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"
#include "libCore/core/source/neon/scale/bilinear_position.h"
#include "libCore/core/source/neon/scale/bilinear_scale.h"
#include "libCore/core/source/neon/scale/mirror_border.h"

namespace eis {

namespace {

// The work buffer: padded luma, padded first and second chroma, 4 * dstStride bytes left alone, then the column table.
struct WorkLayout {
    int64_t chroma[2];
    int64_t table;
    int64_t size;
};

WorkLayout layoutFor(const ST_SCALE_BLOCK& block, int64_t border) {
    const auto padded = [border](int64_t width, int64_t height) {
        return (width + 2 * border) * (height + 2 * border);
    };
    const int64_t luma = padded(block.srcWidth, block.srcHeight);
    const int64_t chroma = padded(block.srcWidth / 2, block.srcHeight / 2);
    const int64_t planes = luma + 2 * chroma;
    const int64_t stride = block.dstStride;
    return {{luma, luma + chroma}, planes + 4 * stride, planes + 16 * stride};
}

// Borders that a work buffer can be had for: a wider one alone would take terabytes, and overflow the sizes.
bool borderFits(int32_t border) {
    return border >= 0 && border <= 1 << 20;
}

// Bytes to allocate; negative, which cannot be had, when a stride far below zero takes all. The sampler's own layout
// always has a border of 2, and a negative stride takes no room from it.
int64_t workBytes(const ST_SCALE_BLOCK& block, const WorkLayout& layout) {
    if (layout.size < 0) return layout.size;
    const WorkLayout sampled = layoutFor(block, std::max<int64_t>(block.border, kScaleBorder));
    const int64_t table = std::max<int64_t>(block.dstStride, 0) * 16;
    return std::max(layout.size, sampled.chroma[1] + (sampled.chroma[1] - sampled.chroma[0]) + table);
}

// Luma, first and second chroma, which stands right behind the first.
using Planes = std::array<PlaneView, 3>;

Planes planesOf(uint8_t* luma, uint8_t* chroma, int32_t width, int32_t height, int32_t stride) {
    const int32_t chromaPitch = stride128(stride / 2);
    uint8_t* second = chroma + int64_t{chromaPitch} * (height / 2);
    return {{{luma, stride, width, height},
             {chroma, chromaPitch, width / 2, height / 2},
             {second, chromaPitch, width / 2, height / 2}}};
}

bool meet(const Planes& a, const Planes& b) {
    const auto bytes = [](const PlaneView& plane) {
        const bool isEmpty = plane.width < 1 || plane.height < 1;
        return isEmpty ? 0 : static_cast<size_t>(int64_t{plane.pitch} * (plane.height - 1) + plane.width);
    };
    return std::any_of(a.begin(), a.end(), [&](const PlaneView& x) {
        return std::any_of(b.begin(), b.end(),
                           [&](const PlaneView& y) { return areasOverlap(x.data, bytes(x), y.data, bytes(y)); });
    });
}

// The planes are read where they stand.
void scaleUnpadded(const Planes& from, const Planes& to) {
    for (int i = 0; i < 3; ++i) ScaleUnpadded(from[i], to[i]);
}

// From padded copies in the work buffer. False when luma fails.
bool scalePadded(const Planes& from, const Planes& to, int32_t border, const WorkLayout& layout, uint8_t* work) {
    uint8_t* const padded[3] = {work, work + layout.chroma[0], work + layout.chroma[1]};
    uint8_t* table = work + layout.table;
    for (int32_t x = 0; x < to[0].pitch; ++x) storeUnaligned(table + int64_t{4} * x, x);
    for (int i = 0; i < 3; ++i) {
        MirrorBorderCopy(from[i].data, from[i].width, from[i].height, from[i].pitch, padded[i], border);
    }
    if (y_bilinear_scale_crop_fixed_neon(work, from[0].width, from[0].height, from[0].pitch, to[0].data, to[0].width,
                                         to[0].height, to[0].pitch, 0, to[0].height, table) != 0) {
        return false;
    }
    uv_bilinear_scale_crop_fixed(padded[1], from[1].width, from[1].height, to[1]);
    return true;
}

}  // namespace

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status Scale_Bilinear_AcoreAPI(const ST_SCALE_BLOCK* blockAddress) {
    EIS_LOG_INFO(" Enter func %s \n", __func__);
    const int64_t start = clockMicroseconds();
    const auto block = loadUnaligned<ST_SCALE_BLOCK>(blockAddress);

    auto* Yin = convertTo<uint8_t>(block.Yin);
    auto* Uvin = convertTo<uint8_t>(block.Uvin);
    auto* Yout = convertTo<uint8_t>(block.Yout);
    auto* Uvout = convertTo<uint8_t>(block.Uvout);
    if (!Yin || !Uvin || !Yout || !Uvout) {
        EIS_LOG_ERROR("[%s]  Convert Addr is NULL Yin: 0x%p  Uvin: 0x%p  Yout: 0x%p  Uvout: 0x%p", __func__, Yin, Uvin,
                      Yout, Uvout);
        return retStsBadAddress;
    }
    FunInvalidBuff(Yin);
    FunInvalidBuff(Yout);
    FunInvalidBuff(Uvin);
    FunInvalidBuff(Uvout);

    const bool nothingToDo = block.srcWidth < 1 || block.srcHeight < 1 || block.dstWidth < 0 || block.dstHeight < 0;
    const bool fits = borderFits(block.border);
    const WorkLayout layout = layoutFor(block, fits ? block.border : 0);
    const int64_t bytes = !fits ? -1 : nothingToDo ? 1 : workBytes(block, layout);
    Scratch<uint8_t> work(bytes, __func__);
    if (!work) {
        EIS_LOG_ERROR("[%s]:  pMem malloc error!\n", __func__);
        return retStsNoMemory;
    }

    if (!nothingToDo) {
        const Planes from = planesOf(Yin, Uvin, block.srcWidth, block.srcHeight, block.srcStride);
        const Planes to = planesOf(Yout, Uvout, block.dstWidth, block.dstHeight, block.dstStride);
        // Planes that the outputs may overwrite before they are read are copied, as are those of uncommon layouts. With
        // another border than its own the sampler reads between and behind the planes that were padded.
        if (block.border == kScaleBorder && block.srcStride >= block.srcWidth && block.dstStride >= block.dstWidth &&
            !meet(from, to)) {
            scaleUnpadded(from, to);
        } else {
            if (block.border != kScaleBorder) std::memset(work.get(), 0, bytes);
            if (!scalePadded(from, to, block.border, layout, work.get())) {
                EIS_LOG_INFO("y_bilinear_scale_crop_fixed_neon error!\n");
                return retStsThreadError;
            }
        }
    }

    FunFlushBuff(Yout);
    FunFlushBuff(Uvout);
    EIS_LOG_INFO(" [EIS_TIME][SCALE_C] crop_scale_color0 cost %.1f ms\n",
                 elapsedMillisecondsFraction(start, clockMicroseconds()));
    work.reset();
    EIS_LOG_INFO(" Exit func %s \n", __func__);
    return retStsOK;
}
