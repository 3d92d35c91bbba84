// The two entries that denoise chroma alone, with scratch memory of the caller's.

#include "bounded/bounded_memory.h"
#include "highLevel/src/MultiDenoise_MultiThread_2.h"
#include "include/acore_api.h"
#include "libCore/core/source/frame/clock.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"

namespace eis {

namespace {

constexpr int32_t kMinSize = 128;

ret_status chromaMainCall(const ST_CHROMA_CALL_BLOCK* blockAddress, decltype(&SpatialNrHighLevel_MultiThread_2) stage,
                          const char* name) {
    const int64_t start = clockMicroseconds();
    const auto block = loadUnaligned<ST_CHROMA_CALL_BLOCK>(blockAddress);
    auto* stDNParams = convertTo<ST_DN_PARAMS_NEW>(block.stDNParams);
    auto* scratch = convertTo<uint8_t>(block.pMemoryManagement);
    if (stDNParams == nullptr || scratch == nullptr) {
        EIS_LOG_INFO("stDNParams | pMemoryManagement 's  FunConvert2Addr failed");
        return retStsBadAddress;
    }
    // The caller sees success, and its planes as they came.
    if (block.width < kMinSize || block.height < kMinSize || block.stride < kMinSize) {
        EIS_LOG_INFO("PJ_ ARM width height failed.\n");
        return retStsOK;
    }
    const auto bytes = static_cast<size_t>(block.memSize);
    memset_s(scratch, bytes, 0, bytes);
    const ret_status status =
        stage(stDNParams, block.width, block.height, block.stride, block.pData1, block.pData2, scratch, block.memSize);
    EIS_LOG_INFO("[MFNR_TIME][%s] cost %ld ms\n", name, elapsedMilliseconds(start, clockMicroseconds()));
    return status;
}

}  // namespace

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status ChromaLowLevelMainCall_2(const ST_CHROMA_CALL_BLOCK* block) {
    return chromaMainCall(block, SpatialNrLowLevel_MultiThread_2, __func__);
}

EIS_EXPORT ret_status ChromaHighLevelMainCall_2(const ST_CHROMA_CALL_BLOCK* block) {
    return chromaMainCall(block, SpatialNrHighLevel_MultiThread_2, __func__);
}
