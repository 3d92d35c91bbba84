// The entry that crops and scales a picture.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "include/acore_api.h"
#include "libCore/core/source/frame/clock.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"
#include "libCore/core/source/neon/scale/bilinear_position.h"
#include "libCore/core/source/neon/scale/bilinear_scale.h"
#include "libCore/core/source/neon/scale/mirror_border.h"

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

// The planes of one picture: luma, and both chroma planes as one of twice the height.
struct Picture {
    uint8_t* luma;
    uint8_t* chroma;
    int32_t width;
    int32_t height;
    int32_t stride;

    int32_t chromaStride() const { return chromaPitch(stride); }
    uint8_t* chromaPlane(int i) const { return chroma + int64_t{i} * chromaStride() * (height / 2); }
};

bool meet(const Picture& a, const Picture& b) {
    struct Range {
        uintptr_t first;
        uintptr_t end;
    };
    const auto range = [](const uint8_t* plane, int64_t stride, int64_t width, int64_t height) {
        const auto first = reinterpret_cast<uintptr_t>(plane);
        return Range{first, width < 1 || height < 1 ? first : first + stride * (height - 1) + width};
    };
    const auto ranges = [&](const Picture& picture) {
        return std::array<Range, 2>{
            range(picture.luma, picture.stride, picture.width, picture.height),
            range(picture.chroma, picture.chromaStride(), picture.width / 2, int64_t{picture.height / 2} * 2)};
    };
    for (const Range& x : ranges(a)) {
        for (const Range& y : ranges(b)) {
            if (x.first < y.end && y.first < x.end) return true;
        }
    }
    return false;
}

// The planes are read where they stand.
void scaleUnpadded(const Picture& from, const Picture& to) {
    ScaleUnpadded_neon(from.luma, from.width, from.height, from.stride, to.luma, to.width, to.height, to.stride);
    for (int i = 0; i < 2; ++i) {
        ScaleUnpadded_neon(from.chromaPlane(i), from.width / 2, from.height / 2, from.chromaStride(), to.chromaPlane(i),
                           to.width / 2, to.height / 2, to.chromaStride());
    }
}

// From padded copies in the work buffer. False when luma fails.
bool scalePadded(const Picture& from, const Picture& to, int32_t border, const WorkLayout& layout, uint8_t* work) {
    uint8_t* chroma[2] = {work + layout.chroma[0], work + layout.chroma[1]};
    writeColumnTable(work + layout.table, to.stride);
    MirrorBorderCopy(from.luma, from.width, from.height, from.stride, work, border);
    for (int i = 0; i < 2; ++i) {
        MirrorBorderCopy(from.chromaPlane(i), from.width / 2, from.height / 2, from.chromaStride(), chroma[i], border);
    }
    if (y_bilinear_scale_crop_fixed_neon(work, from.width, from.height, from.stride, to.luma, to.width, to.height,
                                         to.stride, 0, to.height, work + layout.table) != 0) {
        return false;
    }
    uv_bilinear_scale_crop_fixed_neon(chroma[0], from.width / 2, from.height / 2, to.chroma, to.width / 2,
                                      to.height / 2, to.chromaStride());
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
        const Picture from{Yin, Uvin, srcW, srcH, block.srcStride};
        const Picture to{Yout, Uvout, block.dstWidth, block.dstHeight, block.dstStride};
        // Planes that the outputs may overwrite before they are read are copied, as are those of uncommon layouts. With
        // another border than its own the sampler reads between and behind the planes that were padded.
        if (block.border == kScaleBorder && from.stride >= srcW && to.stride >= to.width && !meet(from, to)) {
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
