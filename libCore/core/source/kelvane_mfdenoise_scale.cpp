// The entry that crops and scales a picture.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "include/acore_api.h"
#include "libCore/core/source/clock.h"
#include "libCore/core/source/export.h"
#include "libCore/core/source/log.h"
#include "libCore/core/source/memory.h"
#include "libCore/core/source/neon/bilinear_position.h"
#include "libCore/core/source/neon/bilinear_scale.h"
#include "libCore/core/source/neon/mirror_border.h"
#include "libCore/core/source/slots.h"
#include "libCore/core/source/wire.h"

namespace eis {

namespace {

static_assert(sizeof(ST_SCALE_BLOCK) == 44 && offsetof(ST_SCALE_BLOCK, dstWidth) == 0 &&
              offsetof(ST_SCALE_BLOCK, dstHeight) == 4 && offsetof(ST_SCALE_BLOCK, dstStride) == 8 &&
              offsetof(ST_SCALE_BLOCK, srcWidth) == 12 && offsetof(ST_SCALE_BLOCK, srcHeight) == 16 &&
              offsetof(ST_SCALE_BLOCK, srcStride) == 20 && offsetof(ST_SCALE_BLOCK, border) == 24 &&
              offsetof(ST_SCALE_BLOCK, Yin) == 28 && offsetof(ST_SCALE_BLOCK, Uvin) == 32 &&
              offsetof(ST_SCALE_BLOCK, Yout) == 36 && offsetof(ST_SCALE_BLOCK, Uvout) == 40);

int32_t chromaPitch(int32_t lumaStride) {
    return wrapAdd(lumaStride / 2, 127) & ~127;
}

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

void writeColumnTable(uint8_t* table, int32_t entries) {
    for (int32_t x = 0; x < entries; ++x) storeUnaligned(table + int64_t{4} * x, x);
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
    if (Yin == nullptr || Uvin == nullptr || Yout == nullptr || Uvout == nullptr) {
        EIS_LOG_ERROR("[%s]  Convert Addr is NULL Yin: 0x%p  Uvin: 0x%p  Yout: 0x%p  Uvout: 0x%p", __func__, Yin, Uvin,
                      Yout, Uvout);
        return retStsBadAddress;
    }
    FunInvalidBuff(Yin);
    FunInvalidBuff(Yout);
    FunInvalidBuff(Uvin);
    FunInvalidBuff(Uvout);

    const int32_t srcW = block.srcWidth;
    const int32_t srcH = block.srcHeight;
    const bool nothingToDo = srcW < 1 || srcH < 1 || block.dstWidth < 0 || block.dstHeight < 0;
    const bool fits = borderFits(block.border);
    const WorkLayout layout = layoutFor(block, fits ? block.border : 0);
    const int64_t bytes = !fits ? -1 : nothingToDo ? 1 : workBytes(block, layout);
    Scratch<uint8_t> work(bytes, __func__);
    if (!work) {
        EIS_LOG_ERROR("[%s]:  pMem malloc error!\n", __func__);
        return retStsNoMemory;
    }

    if (!nothingToDo) {
        uint8_t* luma = work.get();
        uint8_t* chroma[2] = {luma + layout.chroma[0], luma + layout.chroma[1]};
        // With another border than the sampler's, it reads between and behind the planes that were padded.
        if (block.border != kScaleBorder) std::memset(luma, 0, bytes);
        writeColumnTable(luma + layout.table, block.dstStride);

        const int32_t srcChromaPitch = chromaPitch(block.srcStride);
        MirrorBorderCopy(Yin, srcW, srcH, block.srcStride, luma, block.border);
        for (int i = 0; i < 2; ++i) {
            const uint8_t* plane = Uvin + int64_t{i} * srcChromaPitch * (srcH / 2);
            MirrorBorderCopy(plane, srcW / 2, srcH / 2, srcChromaPitch, chroma[i], block.border);
        }

        if (y_bilinear_scale_crop_fixed_neon(luma, srcW, srcH, block.srcStride, Yout, block.dstWidth, block.dstHeight,
                                             block.dstStride, 0, block.dstHeight, luma + layout.table) != 0) {
            EIS_LOG_INFO("y_bilinear_scale_crop_fixed_neon error!\n");
            return retStsThreadError;
        }
        uv_bilinear_scale_crop_fixed_neon(chroma[0], srcW / 2, srcH / 2, Uvout, block.dstWidth / 2, block.dstHeight / 2,
                                          chromaPitch(block.dstStride));
    }

    FunFlushBuff(Yout);
    FunFlushBuff(Uvout);
    EIS_LOG_INFO(" [EIS_TIME][SCALE_C] crop_scale_color0 cost %.1f ms\n",
                 elapsedMillisecondsFraction(start, clockMicroseconds()));
    work.reset();
    EIS_LOG_INFO(" Exit func %s \n", __func__);
    return retStsOK;
}
