/* Calls of the entries to be measured, with all that they are given. Pictures are patches under slopes, with noise. */
#ifndef BENCH_ENTRY_JOBS_H
#define BENCH_ENTRY_JOBS_H

#include "examples/host.h"

typedef ret_status (*EntryCall)(const void* block);

static inline uint32_t jobHash(uint32_t value) {
    value *= 2654435761u;
    value ^= value >> 15;
    value *= 2246822519u;
    return value ^ value >> 13;
}

/* The noise has a deviation of about 4 levels, 3 in chroma. */
static inline unsigned char jobSample(int plane, int x, int y, int width, int height) {
    const uint32_t bits = jobHash((uint32_t)(x + 65536 * y) * 3u + (uint32_t)plane);
    const int noise = (int)((bits & 7) + (bits >> 3 & 7)) - 7;
    const int patch = ((x / 56 + y / 40) & 1) * (plane == 0 ? 30 : 12);
    const int level = plane == 0 ? 50 + 110 * x / width + patch + 20 * y / height : 110 + 24 * y / height + patch;
    return (unsigned char)(level + (plane == 0 ? noise + (int)(bits >> 8 & 3) : noise * 3 / 4));
}

static inline ST_PICTURE_DEV jobPicture(int width, int height) {
    ST_PICTURE_DEV picture = {width, height, eisPitch(width), {0, 0, 0}, 2};
    for (int plane = 0; plane < 3; ++plane) {
        const int columns = plane == 0 ? width : width / 2;
        const int rows = plane == 0 ? height : height / 2;
        const int pitch = eisPitch(columns);
        unsigned char* samples = hostAllocate(eisSizeOfPlane(pitch, rows), &picture.pData[plane]);
        for (int y = 0; y < rows; ++y) {
            for (int x = 0; x < columns; ++x) samples[(size_t)y * pitch + x] = jobSample(plane, x, y, columns, rows);
        }
    }
    return picture;
}

static inline ST_DN_PARAMS_NEW jobStrengths(int width, int height) {
    ST_DN_PARAMS_NEW strengths = {0};
    strengths.lumaLF = -60;
    strengths.lumaHF1 = -50;
    strengths.detail = -80;
    strengths.chromaS = 20;
    strengths.lumaNrEnable = strengths.chromaNrEnable = 1;
    strengths.chromaEdgeLevel = 65;
    strengths.chromaEdgeAlpha = 192;
    strengths.chromaGainIndex = 3;
    uint32_t* thresholds = hostAllocate(eisSizeOfChromaThresholds(), &strengths.pSpatialChromaNrLUT);
    for (int i = 0; i < kTuningChromaLutEntries; ++i) thresholds[i] = 60;
    const size_t maskBytes = eisSizeOfMotionMask(width, eisPitch(width), height);
    unsigned char* mask = hostAllocate(maskBytes, &strengths.pMaskIIR);
    for (size_t i = 0; i < maskBytes; ++i) mask[i] = (unsigned char)(i / 64 % 3 * 30);
    return strengths;
}

static inline ret_status jobScale(const void* block) {
    return Scale_Bilinear_AcoreAPI(block);
}
static inline void* jobScaleBlock(int srcWidth, int srcHeight, int dstWidth, int dstHeight) {
    static ST_SCALE_BLOCK block;
    const int rows = srcHeight / 2;
    const int pitch = eisPitch(srcWidth / 2);
    block = (ST_SCALE_BLOCK){dstWidth, dstHeight, eisPitch(dstWidth), srcWidth, srcHeight, eisPitch(srcWidth), 2, 0, 0,
                             0,        0};
    const ST_PICTURE_DEV source = jobPicture(srcWidth, srcHeight);
    unsigned char* chroma = hostAllocate(eisSizeOfScaleChroma(block.srcStride, srcHeight), &block.Uvin);
    for (int plane = 0; plane < 2; ++plane) {
        const unsigned char* from = hostConvert(source.pData[1 + plane]);
        for (int i = 0; i < pitch * rows; ++i) chroma[plane * pitch * rows + i] = from[i];
    }
    block.Yin = source.pData[0];
    hostAllocate(eisSizeOfScaleLuma(block.dstStride, dstHeight), &block.Yout);
    hostAllocate(eisSizeOfScaleChroma(block.dstStride, dstHeight), &block.Uvout);
    return &block;
}
static inline void* jobHalve(int width, int height) {
    return jobScaleBlock(2 * width, 2 * height, width, height);
}

static inline ret_status jobDenoise(const void* block) {
    return SpatialNrHLMain_ACoreApi(block);
}
static inline void* jobDenoiseBlock(int width, int height) {
    static ST_MULTIDENOISE_PARAMS_IN_DEV in;
    static ST_MULTIDENOISE_PARAMS_OUT_DEV out;
    static ST_SPATIAL_NR_CALL_BLOCK block;
    in.stDNParams = jobStrengths(width, height);
    out.stPicOut = jobPicture(width, height);
    block = (ST_SPATIAL_NR_CALL_BLOCK){hostShare(&in), hostShare(&out)};
    return &block;
}

static inline ret_status jobChromaHigh(const void* block) {
    return ChromaHighLevelMainCall_2(block);
}
static inline ret_status jobChromaLow(const void* block) {
    return ChromaLowLevelMainCall_2(block);
}
static inline void* jobChromaBlock(int width, int height) {
    static ST_DN_PARAMS_NEW strengths;
    static ST_CHROMA_CALL_BLOCK block;
    strengths = jobStrengths(width, height);
    const ST_PICTURE_DEV picture = jobPicture(width, height);
    block.stDNParams = hostShare(&strengths);
    block.memSize = (int32_t)chromaScratchSize(width, height);
    hostAllocate((size_t)block.memSize, &block.pMemoryManagement);
    block.width = width;
    block.height = height;
    block.stride = eisPitch(width);
    block.pData1 = picture.pData[1];
    block.pData2 = picture.pData[2];
    return &block;
}

/* Pairs of a frame that turned by half a degree and moved by 12 columns and 7 rows, one in eight of them wrong. Four
   pairs are refused, and the frame is copied. */
static inline ret_status jobRegister(const void* block) {
    return Ransac_Regis_AcoreAPI_EIS(block);
}
static inline void* jobRegisterBlock(int width, int height, int pairs) {
    static RansacEstParaContext matches;
    static ST_REGISTRATION_IN_BLOCK in;
    static ST_REGISTRATION_OUT_BLOCK out;
    static ST_RANSAC_REGIS_BLOCK block;
    int32_t* ref = hostAllocate(eisSizeOfKeypoints(pairs), &matches.pRefKeypoints);
    int32_t* cur = hostAllocate(eisSizeOfKeypoints(pairs), &matches.pCurKeypoints);
    int16_t* refIndex = hostAllocate(eisSizeOfMatchIndices(pairs), &matches.pRefIndex);
    int16_t* curIndex = hostAllocate(eisSizeOfMatchIndices(pairs), &matches.pCurIndex);
    hostAllocate(eisSizeOfMatchDistances(pairs), &matches.pDistance);
    hostAllocate(eisSizeOfMatchPoints(pairs), &matches.stMatchPairs.pRefPoints);
    hostAllocate(eisSizeOfMatchPoints(pairs), &matches.stMatchPairs.pCurPoints);
    for (int i = 0; i < pairs; ++i) {
        const int wrong = i % 8 == 7 ? (int)(jobHash((uint32_t)i) & 4095) : 0;
        ref[3 * i] = (20 + i % 25 * (width - 60) / 25) * 64, ref[3 * i + 1] = (20 + i / 25 * (height - 60) / 20) * 64;
        cur[3 * i] = ref[3 * i] - 12 * 64 + ref[3 * i + 1] / 115 + wrong;
        cur[3 * i + 1] = ref[3 * i + 1] - 7 * 64 - ref[3 * i] / 115 - wrong / 3;
        refIndex[i] = curIndex[i] = (int16_t)i;
    }
    matches.stMatchPairs.pointNum = matches.matchNum = pairs;
    matches.coordScale = 1;
    matches.ratio = 0.8f;
    for (int i = 0; i < 2; ++i) in.astInImg[i] = jobPicture(width, height);
    in.astPairs[0].pRefPoints = matches.stMatchPairs.pRefPoints;
    in.astPairs[0].pCurPoints = matches.stMatchPairs.pCurPoints;
    out.astOutImg[1] = jobPicture(width, height);
    hostAllocate(sizeof(int32_t), &out.pStatus);
    block = (ST_RANSAC_REGIS_BLOCK){hostShare(&matches), hostShare(&in), hostShare(&out), 1, 0, 0};
    hostAllocate(eisSizeOfHomography(), &block.pHomography);
    return &block;
}
static inline void* jobWarpBlock(int width, int height) {
    return jobRegisterBlock(width, height, 500);
}
static inline void* jobCopyBlock(int width, int height) {
    return jobRegisterBlock(width, height, 4);
}

static inline ret_status jobFastTables(const void* block) {
    return CalcFastDn2dControl_AcoreAPI(block);
}
static inline void* jobFastTablesBlock(int width, int height) {
    (void)width, (void)height;
    static ST_FAST_DN2D_CONTROL block;
    block = (ST_FAST_DN2D_CONTROL){0, {0, 0, 0}, -60, -60, 10, -60, 60, 1.2f};
    hostAllocate(eisSizeOfFastTables(), &block.iDnCoefs);
    return &block;
}
static inline ret_status jobShrinkTables(const void* block) {
    return CalcShrinkLUTDnCoef(block);
}
static inline void* jobShrinkTablesBlock(int width, int height) {
    (void)width, (void)height;
    static ST_SHRINK_LUT_CONTROL block;
    block = (ST_SHRINK_LUT_CONTROL){0, -40, -28, 100, 300, -60, 0};
    hostAllocate(eisSizeOfShrinkTables(), &block.iLutCoefs);
    return &block;
}

#endif
