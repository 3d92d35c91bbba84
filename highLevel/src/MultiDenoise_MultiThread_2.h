// The stages of the two chroma entries: four bands on four threads, or, on a small picture, the whole one on the
// caller's thread.
#pragma once

#include <cstdint>

#include "include/denoise_blocks.h"

namespace eis {

// Chroma planes have rows of (stride / 2 + 127) & ~127 bytes; pData1 and pData2 are device addresses. scratch holds
// chromaScratchSize(width, height) bytes; memSize is not looked at. 0, also when a band failed for want of memory; -997
// when a thread did not start (the bands that ran are written back, nothing is flushed); -998 when an address is null;
// -1000.
ret_status SpatialNrHighLevel_MultiThread_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride,
                                            uint32_t pData1, uint32_t pData2, uint8_t* scratch, int memSize);
ret_status SpatialNrLowLevel_MultiThread_2(ST_DN_PARAMS_NEW* stDNParams, int width, int height, int stride,
                                           uint32_t pData1, uint32_t pData2, uint8_t* scratch, int memSize);

}  // namespace eis
