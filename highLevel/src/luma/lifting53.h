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
void Lifting53Inverse(int16_t* pPlane, int width, int height, int stride, int16_t* pTmp);

// The steps a row at a time, for callers that keep few rows. Down the columns, of three rows of bytes in a line, the
// last of them the first once more behind the last pair: the middle one's detail, and what smooths the first one, from
// the details of the pair before and of this pair; the first pair is the one before itself. What lies `ahead` bytes
// behind the last two rows is fetched: few processors do it across the end of a page, where most rows end.
void LiftDetailRow(const uint8_t* x0, const uint8_t* x1, const uint8_t* x2, int64_t ahead, int count, int16_t* d);
void LiftDetailRow_plain(const uint8_t* x0, const uint8_t* x1, const uint8_t* x2, int64_t ahead, int count, int16_t* d);
void LiftSmoothRow(const uint8_t* x0, const int16_t* dBefore, const int16_t* d, int count, int16_t* s);
void LiftSmoothRow_plain(const uint8_t* x0, const int16_t* dBefore, const int16_t* d, int count, int16_t* s);
// Back: first the even row, then the odd one between two even ones, cut to bytes.
void UnliftSmoothRow(const int16_t* s, const int16_t* dBefore, const int16_t* d, int count, int16_t* x0);
void UnliftSmoothRow_plain(const int16_t* s, const int16_t* dBefore, const int16_t* d, int count, int16_t* x0);
void UnliftDetailRow(const int16_t* d, const int16_t* x0, const int16_t* x2, int count, uint8_t* x1);
void UnliftDetailRow_plain(const int16_t* d, const int16_t* x0, const int16_t* x2, int count, uint8_t* x1);

// Along a row of 2n samples, n at least 2, into n of the low and n of the high band, or one of them, and back.
void SplitRow(const int16_t* x, int n, int16_t* s, int16_t* d);
void SplitRow_plain(const int16_t* x, int n, int16_t* s, int16_t* d);
void SplitRowLow(const int16_t* x, int n, int16_t* s);
void SplitRowHigh(const int16_t* x, int n, int16_t* d);
void JoinRow(const int16_t* s, const int16_t* d, int n, int16_t* x);
void JoinRow_plain(const int16_t* s, const int16_t* d, int n, int16_t* x);

}  // namespace eis
