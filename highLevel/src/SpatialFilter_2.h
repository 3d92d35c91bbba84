// The bodies of the two chroma entries: the chroma pass on a whole picture on the caller's thread, or on a band, on a
// thread of its own.
#pragma once

#include <atomic>
#include <cstdint>

#include "highLevel/src/band/denoise_params.h"
#include "highLevel/src/chroma/chroma_pass.h"
#include "libCore/core/source/frame/memory.h"

namespace eis {

// Where the four bands of a stage meet, after chroma is filtered and before any of it is written back.
struct ChromaBarrier {
    std::atomic<uint32_t> bandDoneFlags{0};  // a byte for each band, 255 when it is done
    std::atomic<int32_t> bandRunFlag{0};     // 1 while the threads run; ends no wait
};
void MarkBandDone(std::atomic<uint32_t>& bandDoneFlags, int bandIndex);

// One band, or the whole picture as a band without overlaps.
struct ST_NR_CHROMA_BAND_PARAMS {
    const uint8_t* pMaskIIR;  // the picture's mask; low level
    uint8_t iirImgCount;
    int32_t chromaS;
    int32_t detail;
    const uint8_t* pSpatialChromaNrLUT;
    void* pIIRImgNum;
    int32_t lumaNrEnable;
    int32_t chromaNrEnable;
    int32_t dnReserved50;
    int32_t dnReserved54;
    int32_t dnReserved58;
    uint8_t chromaEdgeLevel;
    uint8_t dnReserved63;
    int32_t chromaGainIndex;
    int32_t chromaEdgeAlpha;
    int32_t width;
    int32_t height;
    int32_t stride;
    uint8_t* pData1;  // the picture's planes
    uint8_t* pData2;
    uint8_t* scratch;  // the band's own
    int32_t bandTopOverlap;
    int32_t bandBottomOverlap;
    std::atomic<uint32_t>* bandDoneFlags;
    std::atomic<int32_t>* bandRunFlag;
    int32_t bandIndex;
    // Bytes from the planes' starts to the band's.
    int64_t maskStart;
    int64_t chromaStart;
};

// The addresses of a call, converted.
struct ChromaCall {
    ST_DN_PARAMS_VA dn;
    int32_t width;
    int32_t height;
    int32_t stride;
    uint8_t* pData1;
    uint8_t* pData2;
    uint8_t* scratch;
};

// Converts the addresses of a chroma stage or body. False, with a log line, when one is null.
bool ConvertChromaCall(const ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride, uint32_t pData1,
                       uint32_t pData2, uint8_t* scratch, ChromaCall& call);

// A private copy of the chroma table for the low level, taken under the name of the function that keeps it. Empty, with
// a log line, when there is no memory.
PoolScratch<uint8_t> CopyChromaTable(const uint8_t* table, const char* name);

// The record of a whole picture. A stage turns it into one of a band.
ST_NR_CHROMA_BAND_PARAMS ChromaBandOf(const ChromaCall& call);

// 0, also when chroma is not to be denoised; -998 when an address is null; -1000.
ret_status SpatialNrHighLevelNew_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride, uint32_t pData1,
                                   uint32_t pData2, uint8_t* scratch, int memSize);
ret_status SpatialNrLowLevelNew_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride, uint32_t pData1,
                                  uint32_t pData2, uint8_t* scratch, int memSize);

// Thread bodies: the argument is an ST_NR_CHROMA_BAND_PARAMS, the result the status.
void* SpatialNrHighLevelNew_2_MultiThread(void* band);
void* SpatialNrLowLevelNew_2_MultiThread(void* band);

}  // namespace eis
