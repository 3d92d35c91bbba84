/* Denoises a picture of noisy grey in place with SpatialNrHLMain_ACoreApi: its luma and chroma come out smoother. */
#include "host.h"

enum { kWidth = 1024, kHeight = 768 };

static ST_PICTURE_DEV makeNoise(void) {
    ST_PICTURE_DEV picture = {kWidth, kHeight, eisPitch(kWidth), {0, 0, 0}, 2};
    uint32_t random = 1;
    for (int plane = 0; plane < 3; ++plane) {
        const size_t bytes =
            plane == 0 ? eisSizeOfDenoiseLuma(kWidth, kHeight) : eisSizeOfDenoiseChroma(kWidth, kHeight);
        unsigned char* samples = (unsigned char*)hostAllocate(bytes, &picture.pData[plane]);
        for (size_t i = 0; i < bytes; ++i) {
            int sum = 0; /* of four uniform numbers: a bell with a standard deviation of 4.6 */
            for (int k = 0; k < 4; ++k) random = random * 1664525u + 1013904223u, sum += (int)(random >> 29);
            samples[i] = (unsigned char)(120 + sum - 14);
        }
    }
    return picture;
}

/* The mean squared difference to the mean. */
static double variance(DeviceAddress plane, int width, int height) {
    const unsigned char* samples = (const unsigned char*)hostConvert(plane);
    double sum = 0, squares = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int value = samples[(size_t)y * eisPitch(width) + x];
            sum += value, squares += value * value;
        }
    const double count = (double)width * height;
    return squares / count - sum / count * (sum / count);
}

int main(void) {
    hostStart();
    static ST_MULTIDENOISE_PARAMS_OUT_DEV out;
    static ST_MULTIDENOISE_PARAMS_IN_DEV in;
    static uint32_t thresholds[64];
    ST_DN_PARAMS_NEW* strengths = &in.stDNParams; /* those of a tuning row for medium noise */
    out.stPicOut = makeNoise();
    strengths->lumaLF = -60;
    strengths->lumaHF1 = -50;
    strengths->detail = -80;
    strengths->chromaS = 20;
    strengths->lumaNrEnable = strengths->chromaNrEnable = 1;
    strengths->chromaEdgeLevel = 65;
    strengths->chromaEdgeAlpha = 192;
    strengths->pSpatialChromaNrLUT = hostShare(thresholds);
    for (int i = 0; i < kTuningChromaLutEntries; ++i) thresholds[i] = 60;
    strengths->pMaskIIR = hostShare(thresholds); /* not read by this entry, but it must convert */
    const ST_SPATIAL_NR_CALL_BLOCK block = {hostShare(&in), hostShare(&out)};

    const DeviceAddress luma = out.stPicOut.pData[0], chroma = out.stPicOut.pData[1];
    const double lumaBefore = variance(luma, kWidth, kHeight), chromaBefore = variance(chroma, kWidth / 2, kHeight / 2);
    if (SpatialNrHLMain_ACoreApi(&block) != retStsOK) return 1;
    const double lumaAfter = variance(luma, kWidth, kHeight), chromaAfter = variance(chroma, kWidth / 2, kHeight / 2);
    printf("variance of luma %.1f before and %.1f after, of chroma %.1f and %.1f\n", lumaBefore, lumaAfter,
           chromaBefore, chromaAfter);
    return hostEnd(lumaAfter < lumaBefore / 2 && chromaAfter < chromaBefore / 4);
}
