// One level of the integer wavelet split with the 5/3 filter pair of Le Gall and Tabatabai, by lifting after Sweldens
// and Calderbank et al., in place.
//
// Of a plane of W by h samples the split leaves, each W/2 by h/2: low band LL top left, HL (high across) top right, LH
// (high down) bottom left, HH bottom right. A last column or row that makes no pair is left out; a plane of fewer than
// two pairs in a direction is left alone. The inverse undoes the split exactly. Results wrap at 16 bits.
#pragma once

#include <cstdint>

namespace eis {

// Rows are `stride` samples apart. pTmp takes width * height samples.
void Lifting53Forward(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp);
void Lifting53Forward_plain(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp);
void Lifting53Inverse(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp);
void Lifting53Inverse_plain(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp);

}  // namespace eis
