// The two entries that compute strength tables.

#include "bounded/bounded_memory.h"
#include "include/acore_api.h"
#include "libCore/core/source/control/control_curves.h"
#include "libCore/core/source/control/shrink_lut.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/frame/clock.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

// A chroma curve times 0.6.
void softenCurve(const int16_t* curve, int16_t* dest) {
    for (int k = 0; k < 256; ++k) dest[k] = static_cast<int16_t>((curve[k] * 4915 + 4096) >> 13);
}

void buildFastTables(const ST_FAST_DN2D_CONTROL& control, int16_t* tables) {
    const int32_t gain = LumaGainFromDetail(control.nrLumaDetail);
    const int32_t chroma = (wrapMul(wrapAdd(control.nrUVRatio, 105), 28672) / 105) >> 10;
    const int32_t shading = truncSat32(static_cast<float>(chroma) * control.nrShadingStrength);
    const int32_t tail = wrapMul(wrapAdd(control.nrTailRatio, 105), 16) / 45;
    (void)memset_s(tables, 3072, 0, 3072);
    BuildLumaCurve(tables + kFastLuma, wrapAdd(control.nrLumaRatio, 100));
    BuildChromaCurve(tables + kFastChroma, chroma);
    BuildChromaCurve(tables + kFastShading, shading);
    ApplyLumaGain(tables + kFastLuma, gain, tables + kFastLumaGain);
    softenCurve(tables + kFastChroma, tables + kFastChromaSoft);
    softenCurve(tables + kFastShading, tables + kFastShadingSoft);
    BuildThresholdCurve(tables + kFastThreshold, control.nrTH);
    BuildTailCurve(tables + kFastTail, tail);
}

void buildShrinkTables(const ST_SHRINK_LUT_CONTROL& control, int16_t* tables) {
    int16_t* shrink = tables + kShrinkTables;
    for (const int32_t ratio : {control.shrinkRatio0, control.shrinkRatio1, control.shrinkRatio2}) {
        BuildShrinkLut(shrink, wrapAdd(ratio, 128));
        shrink += kShrinkTableEntries;
    }
    BuildLumaCurveSingle(tables + kShrinkLuma, wrapAdd(control.lumaRatio, 100));
    ApplyLumaGain(tables + kShrinkLuma, LumaGainFromDetail(control.lumaDetail), tables + kShrinkLumaGain);
}

}  // namespace

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status CalcFastDn2dControl_AcoreAPI(const ST_FAST_DN2D_CONTROL* fastDn2dControl) {
    EIS_LOG_INFO("[KRW]+++++++++++++++CalcFastDn2dControl_AcoreAPI START++++++++++++   %s %s \n", __DATE__, __TIME__);
    const int64_t start = clockMicroseconds();
    const auto control = loadUnaligned<ST_FAST_DN2D_CONTROL>(fastDn2dControl);
    EIS_LOG_INFO("fastDn2dControl.iDnCoefs = 0x%x\n", control.iDnCoefs);
    auto* tables = convertTo<int16_t>(control.iDnCoefs);
    EIS_LOG_INFO("iDnCoefs = 0x%p\n", static_cast<void*>(tables));
    EIS_LOG_INFO("nrShadingStrength = %f\n", static_cast<double>(control.nrShadingStrength));
    EIS_LOG_INFO("nrLumaRatio = %d, nrLumaDetail= %d\n", control.nrLumaRatio, control.nrLumaDetail);
    EIS_LOG_INFO("nrUVRatio = %d\n", control.nrUVRatio);
    EIS_LOG_INFO("nrTH = %d\n", control.nrTH);
    // An address that does not convert is no failure of this entry: it writes nothing, the address line tells.
    if (tables != nullptr) buildFastTables(control, tables);
    FunFlushBuff(tables);
    EIS_LOG_INFO(" ====CalcFastDn2dControl_AcoreAPI cost %.1f ms \n",
                 elapsedMillisecondsFraction(start, clockMicroseconds()));
    return retStsOK;
}

EIS_EXPORT ret_status CalcShrinkLUTDnCoef(const ST_SHRINK_LUT_CONTROL* block) {
    EIS_LOG_ERROR("Enter %s", "CalcShrinkLUTDnCoef");
    const auto control = loadUnaligned<ST_SHRINK_LUT_CONTROL>(block);
    auto* tables = convertTo<int16_t>(control.iLutCoefs);
    if (tables == nullptr) {
        EIS_LOG_ERROR("CalcShrinkLUTDnCoef_AcoreAPI FunConvert2Addr error\n");
        return retStsBadAddress;
    }
    buildShrinkTables(control, tables);
    FunFlushBuff(tables);
    if (control.memAllocator != 0) {
        g_memAllocatorMFNR.store(reinterpret_cast<MemAllocatorTable*>(static_cast<uintptr_t>(control.memAllocator)),
                                 std::memory_order_release);
        EIS_LOG_INFO("setMemAllocatorMFNR addr %lld", static_cast<long long>(control.memAllocator));
    }
    return retStsOK;
}
