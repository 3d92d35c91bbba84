/* Halves a 1920x1080 picture with Scale_Bilinear_AcoreAPI, and crops its middle: a ramp stays a ramp. */
#include "host.h"

enum { kWidth = 1920, kHeight = 1080, kStride = 1920 };

int main(void) {
    hostStart();
    static ST_SCALE_BLOCK block;
    block.srcWidth = kWidth;
    block.srcHeight = kHeight;
    block.srcStride = kStride;
    block.border = 2;
    unsigned char* luma = (unsigned char*)hostAllocate(eisSizeOfScaleLuma(kStride, kHeight), &block.Yin);
    const size_t chromaBytes = eisSizeOfScaleChroma(kStride, kHeight); /* one plane behind the other */
    unsigned char* chroma = (unsigned char*)hostAllocate(chromaBytes, &block.Uvin);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) luma[(size_t)y * kStride + x] = (unsigned char)(x / 8);
    for (size_t i = 0; i < chromaBytes; ++i) chroma[i] = 128;

    block.dstWidth = kWidth / 2;
    block.dstHeight = kHeight / 2;
    block.dstStride = kWidth / 2;
    const size_t halfBytes = eisSizeOfScaleLuma(block.dstStride, block.dstHeight);
    unsigned char* half = (unsigned char*)hostAllocate(halfBytes, &block.Yout);
    hostAllocate(eisSizeOfScaleChroma(block.dstStride, block.dstHeight), &block.Uvout);
    if (Scale_Bilinear_AcoreAPI(&block) != retStsOK) return 1;
    const int shrunk = half[(size_t)100 * block.dstStride + 480];
    printf("halved: column 480 of 960 is %d, column 960 of 1920 was %d\n", shrunk, luma[960]);

    /* A crop: source addresses at its first pixel, the stride of the whole picture. The second chroma plane is sought
       pitch * (height / 2) bytes behind the first, where a crop has none: this one takes luma's part only. */
    block.srcWidth = block.dstWidth;
    block.srcHeight = block.dstHeight;
    block.Yin = hostShare(luma + (size_t)(kHeight / 4) * kStride + kWidth / 4);
    if (Scale_Bilinear_AcoreAPI(&block) != retStsOK) return 1;
    const int cut = half[(size_t)100 * block.dstStride + 480];
    printf("cropped: column 480 of the crop is %d, column 960 of the picture %d\n", cut, luma[960]);
    return hostEnd(abs(shrunk - luma[960]) <= 1 && cut == luma[960]);
}
