// A fixture: it holds all kernel names that the library looks up, in the order of their places. Only "temporalfilter"
// computes anything.
//
// The blend: where the mask is not zero the first frame stays, elsewhere the second one is mixed in by alpha of 256. Luma
// alone; an item covers 16 by 2 samples.
__kernel void temporalfilter(__global const uchar* src1, __global const uchar* src2, __global const uchar* mask,
                             __global uchar* out, int alpha, int stride, int strideUV, int width, int height,
                             int shift1, int shift2, int shiftMask, int shiftOut) {
    const int x0 = get_global_id(0) * 16;
    const int y0 = get_global_id(1) * 2;
    for (int y = y0; y < y0 + 2 && y < height; ++y) {
        for (int x = x0; x < x0 + 16 && x < width; ++x) {
            const int at = y * stride + x;
            const int a = src1[shift1 + at];
            const int b = src2[shift2 + at];
            out[shiftOut + at] = mask[shiftMask + at] != 0 ? a : (a * (256 - alpha) + b * alpha + 128) >> 8;
        }
    }
}

#define EMPTY(name) __kernel void name(int unused) {}
EMPTY(imtransform) EMPTY(fillBlank) EMPTY(fillBlank_left_right) EMPTY(fillBlank_top) EMPTY(fillBlank_bottom)
EMPTY(downsample) EMPTY(guidedfilter1) EMPTY(upsample1) EMPTY(downscaleX4) EMPTY(calcSobel) EMPTY(downsample2)
EMPTY(guidedfilter2) EMPTY(upsample2) EMPTY(ghostRefine) EMPTY(ghostCnt) EMPTY(ghostCnt_part2)
#ifndef WITHOUT_BYTE_TO_BIT
EMPTY(byteToBit)
#endif
EMPTY(bitToByte) EMPTY(erosion_bit_H) EMPTY(erosion_bit_V) EMPTY(ghostDetectUV) EMPTY(erosion_r5_bit_H)
EMPTY(erosion_r5_bit_V) EMPTY(ghostRefineUV) EMPTY(erosion_r1_bit_H) EMPTY(erosion_r1_bit_V) EMPTY(ghostDetectY)
EMPTY(erosion_r2n_bit_H) EMPTY(erosion_r2n_bit_V)
