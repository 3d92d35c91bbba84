// The bodies of the two chroma entries: the chroma pass on a whole picture on the caller's thread, or on a band, on a
// thread of its own.
#pragma once

#include <atomic>
#include <cstdint>

#include "highLevel/src/chroma/chroma_pass.h"
#include "libCore/core/source/frame/memory.h"

namespace eis {

// A band, or the whole picture. The bands of a stage meet after chroma is filtered and before any of it is written
// back.
struct ST_NR_CHROMA_BAND_PARAMS : ST_NR_BAND_PARAMS {
    uint8_t* scratch;                      // the band's own
    std::atomic<uint32_t>* bandDoneFlags;  // of all bands, a byte for each, 255 when it is done; null without bands
    int32_t bandIndex;
};
void MarkBandDone(std::atomic<uint32_t>& bandDoneFlags, int bandIndex);

// What a chroma stage or whole-picture body is called with.
struct ChromaCall {
    const ST_DN_PARAMS_NEW* stDNParams;
    int32_t width;
    int32_t height;
    int32_t stride;
    DeviceAddress pData1;
    DeviceAddress pData2;
    uint8_t* scratch;
};

struct ConvertedChromaCall {
    ret_status status;
    ST_NR_CHROMA_BAND_PARAMS whole;
    PoolScratch<uint8_t> table;
};

// The call with its addresses converted; with the name of a function, which keeps it, the chroma table is a private
// copy. Its status is -998 when an address is null, -1000 when there is no memory, both with a log line.
ConvertedChromaCall ConvertChromaCall(const ChromaCall& call, const char* tableKeeper = nullptr);

// 0, also when chroma is not to be denoised; -998 when an address is null; -1000.
ret_status SpatialNrHighLevelNew_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride, uint32_t pData1,
                                   uint32_t pData2, uint8_t* scratch, int memSize);
ret_status SpatialNrLowLevelNew_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride, uint32_t pData1,
                                  uint32_t pData2, uint8_t* scratch, int memSize);

// Thread bodies: the argument is an ST_NR_CHROMA_BAND_PARAMS, the result the status.
void* SpatialNrHighLevelNew_2_MultiThread(void* band);
void* SpatialNrLowLevelNew_2_MultiThread(void* band);

}  // namespace eis
