// The end of the chroma pass: mixing on edges, and a gain of saturation.
#pragma once

#include <cstdint>

namespace eis {

// Planes are contiguous.
struct EdgeBlendArgs {
    const uint8_t* pFirstU;  // the wavelet's low-pass side result
    const uint8_t* pFirstV;
    uint8_t* pDnU;  // denoised, blended in place
    uint8_t* pDnV;
    const uint8_t* pMask;  // 255 on edges
    int32_t width;
    int32_t height;
    uint8_t alpha;  // weight of the denoised sample, of 255
};

// Where the mask is 255, mixes the denoised sample (alpha of 255) with the low-pass (the rest); division by 256,
// rounded. A row of whole groups of eight is mixed once. In any other row of more than eight, the last eight pixels are
// a second sweep: those that the groups had reached are mixed twice.
void EdgeBlendChroma(const EdgeBlendArgs* args);
void EdgeBlendChroma_plain(const EdgeBlendArgs* args);

// Gain in Q7 of a chroma sample of each value; 128 leaves it. Table 1 is the mildest, table 9 the strongest. Greys and
// the most saturated colours have no gain.
extern const int16_t (&chromaGainTables)[9][256];

// Moves both chroma samples away from 128 by the gain of the one that lies farther from it (of the second one when both
// lie equally far), so that the hue is kept. index 1 to 9 selects a table; any other leaves the planes. Results
// saturate in the whole groups of eight of a row, and wrap to a byte in the columns behind them; with these tables none
// leaves it.
void ChromaGainLut(uint8_t* pU, uint8_t* pV, int width, int height, int index);
void ChromaGainLut_plain(uint8_t* pU, uint8_t* pV, int width, int height, int index);

}  // namespace eis
