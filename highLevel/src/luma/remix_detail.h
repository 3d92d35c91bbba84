// Puts part of the input luma back where the texture map says so.
#pragma once

#include <cstdint>

namespace eis {

struct RemixDetailArgs {
    uint8_t* pLuma;            // input and result, rows `stride` apart
    const uint8_t* pDenoised;  // rows of width bytes
    const uint8_t* pMap;       // rows of width bytes
    int32_t width;
    int32_t height;
    int32_t stride;
    int32_t centre;    // the map value that gives most back; its low byte counts against map values
    uint16_t mixGain;  // in 1/128 of what the map gives
};

// The input's share grows with the map value up to `centre` and falls to nothing at twice that. A row of whole groups
// of eight is mixed once; in any other row of more than eight, the last eight pixels are a second sweep: those that the
// groups had reached are mixed twice.
void RemixDetail(const RemixDetailArgs* args);
void RemixDetail_plain(const RemixDetailArgs* args);

}  // namespace eis
