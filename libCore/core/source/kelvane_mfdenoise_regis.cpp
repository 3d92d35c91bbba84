// The entry that registers one frame of a burst onto the reference frame.
#include <cstddef>

#include "include/acore_api.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/frame/clock.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/plane_copy.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"
#include "libCore/core/source/registration/img_registration.h"

namespace eis {

namespace {

static_assert(sizeof(ST_PICTURE_DEV) == 28 && offsetof(ST_PICTURE_DEV, width) == 0 &&
              offsetof(ST_PICTURE_DEV, height) == 4 && offsetof(ST_PICTURE_DEV, stride) == 8 &&
              offsetof(ST_PICTURE_DEV, pData) == 12 && offsetof(ST_PICTURE_DEV, format) == 24);
static_assert(offsetof(ST_REGISTRATION_IN_BLOCK, astPairs) == 29 * 4 && sizeof(ST_REGISTRATION_PAIR_DEV) == 12 &&
              offsetof(ST_REGISTRATION_PAIR_DEV, pCurPoints) == 4);
static_assert(offsetof(ST_REGISTRATION_OUT_BLOCK, pStatus) == 62 * 4);
static_assert(sizeof(ST_RANSAC_REGIS_BLOCK) == 24 && offsetof(ST_RANSAC_REGIS_BLOCK, pRansacEstParaContext) == 0 &&
              offsetof(ST_RANSAC_REGIS_BLOCK, stImgRegistrationParamsIn) == 4 &&
              offsetof(ST_RANSAC_REGIS_BLOCK, stImgRegistrationParamsOut) == 8 &&
              offsetof(ST_RANSAC_REGIS_BLOCK, idx) == 12 && offsetof(ST_RANSAC_REGIS_BLOCK, lumaOnly) == 16 &&
              offsetof(ST_RANSAC_REGIS_BLOCK, pHomography) == 20);

constexpr TraceSite kSite{"libCore/core/source/kelvane_mfdenoise",
                          "ret_status Ransac_Regis_AcoreAPI_EIS(const ST_RANSAC_REGIS_BLOCK*)"};

// Blocks are addressed word by word: the frame number is the host's, and nothing bounds it here.
constexpr int64_t kStatusWord = offsetof(ST_REGISTRATION_OUT_BLOCK, pStatus) / 4;

int64_t planeWord(int64_t frame, int plane) {
    return (frame * static_cast<int64_t>(sizeof(ST_PICTURE_DEV)) +
            static_cast<int64_t>(offsetof(ST_PICTURE_DEV, pData))) /
               4 +
           plane;
}

int64_t pairWord(int64_t idx) {
    return 29 + 3 * (idx - 1);
}

void convertPlanes(const void* block, int64_t frame, ST_PICTURE& picture) {
    for (int i = 0; i < 3; ++i) picture.pData[i] = convertTo<uint8_t>(loadWord(block, planeWord(frame, i)));
}

bool hasAllPlanes(const ST_PICTURE& picture) {
    return picture.pData[0] != nullptr && picture.pData[1] != nullptr && picture.pData[2] != nullptr;
}

void invalidatePlanes(const ST_PICTURE& picture) {
    for (int i = 0; i < 3; ++i) FunInvalidBuff(picture.pData[i]);
}

// The line before every return that follows a stage.
ret_status leave(ret_status status) {
    EIS_LOG_INFO("ret = %d", status);
    return status;
}

void logPlanes(const ST_PICTURE& reference, const ST_PICTURE& frame, const ST_PICTURE& output) {
    EIS_LOG_ERROR("stImgRegistrationParamsIn.stMultiPicIn.astInImg[1].pData[0] = %p",
                  static_cast<void*>(frame.pData[0]));
    EIS_LOG_ERROR("stImgRegistrationParamsIn.stMultiPicIn.astInImg[1].pData[1] = %p",
                  static_cast<void*>(frame.pData[1]));
    EIS_LOG_ERROR("stImgRegistrationParamsIn.stMultiPicIn.astInImg[1].pData[2] = %p",
                  static_cast<void*>(frame.pData[2]));
    EIS_LOG_ERROR("stImgRegistrationParamsIn.stMultiPicIn.astInImg[0].pData[0] = %p",
                  static_cast<void*>(reference.pData[0]));
    EIS_LOG_ERROR("stImgRegistrationParamsIn.stMultiPicIn.astInImg[0].pData[1] = %p",
                  static_cast<void*>(reference.pData[1]));
    EIS_LOG_ERROR("stImgRegistrationParamsIn.stMultiPicIn.astInImg[0].pData[2] = %p",
                  static_cast<void*>(reference.pData[2]));
    EIS_LOG_ERROR("stImgRegistrationParamsOut.stMultiRegistrationPic.astInImg[1].pData[0] = %p",
                  static_cast<void*>(output.pData[0]));
    EIS_LOG_ERROR("stImgRegistrationParamsOut.stMultiRegistrationPic.astInImg[1].pData[1] = %p",
                  static_cast<void*>(output.pData[1]));
    // The last line names plane 1 again and shows plane 2.
    EIS_LOG_ERROR("stImgRegistrationParamsOut.stMultiRegistrationPic.astInImg[1].pData[1] = %p",
                  static_cast<void*>(output.pData[2]));
}

// Delivers the frame as it is: whole bands of a quarter of the height, so up to three rows (of chroma up to seven luma
// rows' worth) at the bottom stay as they were.
ret_status copyUnaligned(const ST_PICTURE& frame, const ST_PICTURE& output) {
    const int chromaPitch = stride128(frame.width >> 1);
    for (int i = 0; i < 3; ++i) {
        const int pitch = i == 0 ? frame.stride : chromaPitch;
        const int bandRows = i == 0 ? frame.height >> 2 : frame.height >> 3;
        const ret_status status = copyPlaneInBands(frame.pData[i], output.pData[i], pitch, pitch, bandRows, kSite);
        if (status == retStsOK) continue;
        EIS_LOG_ERROR("imgDataCopy Error %d", status);
        return status;
    }
    return retStsOK;
}

void flushOutputs(const void* outBlock, int64_t idx, bool lumaOnly) {
    const int64_t start = clockMicroseconds();
    flushDeviceAddress(loadWord(outBlock, planeWord(idx, 0)));
    flushDeviceAddress(loadWord(outBlock, kStatusWord));
    if (!lumaOnly) {
        flushDeviceAddress(loadWord(outBlock, planeWord(idx, 1)));
        flushDeviceAddress(loadWord(outBlock, planeWord(idx, 2)));
    }
    EIS_LOG_INFO("[MFNR_TIME][cacheflush] cost %ld ms", elapsedMilliseconds(start, clockMicroseconds()));
}

}  // namespace

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status Ransac_Regis_AcoreAPI_EIS(const ST_RANSAC_REGIS_BLOCK* block) {
    const auto words = loadUnaligned<ST_RANSAC_REGIS_BLOCK>(block);
    EIS_LOG_INFO("Ransac_Regis run idx = %d", words.idx);

    auto* pRansacEstParaContext = convertTo<RansacEstParaContext>(words.pRansacEstParaContext);
    if (pRansacEstParaContext == nullptr) {
        EIS_LOG_ERROR("Ransac_Regis_AcoreAPI_EIS FunConvert2Addr convert addr error\n");
        return retStsBadAddress;
    }
    void* inBlock = FunConvert2Addr(words.stImgRegistrationParamsIn);
    void* outBlock = FunConvert2Addr(words.stImgRegistrationParamsOut);
    if (inBlock == nullptr || outBlock == nullptr) {
        EIS_LOG_ERROR("FunConvert2Addr for input and output parameter error\n");
        return retStsBadAddress;
    }
    auto* homography = convertTo<float>(words.pHomography);
    if (homography == nullptr) {
        EIS_LOG_ERROR("FunConvert2Addr for Homo parameter error\n");
        return retStsBadAddress;
    }

    EIS_LOG_INFO("RansacEst_AcoreAPI_EIS start");
    const int64_t estimationStart = clockMicroseconds();
    const ret_status estimated = RansacEst_AcoreAPI_EIS(pRansacEstParaContext);
    if (estimated < 0) {
        EIS_LOG_ERROR("RansacEst_AcoreAPI_EIS return error [%d]\n", estimated);
        return leave(estimated);
    }
    EIS_LOG_INFO("[MFNR_TIME][RansacEst_AcoreAPI_EIS] cost %ld ms\n",
                 elapsedMilliseconds(estimationStart, clockMicroseconds()));

    FunInvalidBuff(inBlock);
    const auto sizes = loadUnaligned<ST_PICTURE_DEV>(inBlock);
    const ST_PICTURE picture{sizes.width, sizes.height, stride128(sizes.width), {}, sizes.format};
    ST_IMGREGISTRATION_PARAMS_IN paramsIn{};
    ST_IMGREGISTRATION_PARAMS_OUT paramsOut{};
    ST_PICTURE& reference = paramsIn.stMultiPicIn.astInImg[0];
    ST_PICTURE& frame = paramsIn.stMultiPicIn.astInImg[1];
    ST_PICTURE& output = paramsOut.stMultiRegistrationPic.astInImg[1];
    reference = frame = output = picture;
    paramsIn.frameIndex = 1;
    ST_MATCH_PAIRS& pairs = paramsIn.stMatchPairs;
    pairs.pointNum = loadUnaligned<RansacEstParaContext>(pRansacEstParaContext).stMatchPairs.pointNum;
    EIS_LOG_INFO("pRansacEstParaContext->stMatchPairs.pointNum = %d", pairs.pointNum);

    const int64_t idx = words.idx;
    pairs.pCurPoints = convertTo<float>(loadWord(inBlock, pairWord(idx) + 1));
    pairs.pRefPoints = convertTo<float>(loadWord(inBlock, pairWord(idx)));
    if (pairs.pCurPoints == nullptr || pairs.pRefPoints == nullptr) {
        EIS_LOG_ERROR("input stImgRegistrationParamsIn addr convert error\n");
        return leave(retStsBadAddress);
    }
    convertPlanes(inBlock, 0, reference);
    convertPlanes(inBlock, idx, frame);
    convertPlanes(outBlock, idx, output);
    paramsOut.pStatus = FunConvert2Addr(loadWord(outBlock, kStatusWord));
    if (!hasAllPlanes(reference) || !hasAllPlanes(frame) || !hasAllPlanes(output) || paramsOut.pStatus == nullptr) {
        logPlanes(reference, frame, output);
        EIS_LOG_ERROR("I/O pData addr convert error\n");
        return leave(retStsBadAddress);
    }
    invalidatePlanes(reference);
    invalidatePlanes(frame);

    const int64_t registrationStart = clockMicroseconds();
    const ret_status registered = ImgRegistration_2(&paramsIn, &paramsOut, words.lumaOnly, homography);
    const int64_t registrationEnd = clockMicroseconds();
    storeUnaligned(paramsOut.pStatus, registered);
    if (registered < 0) {
        EIS_LOG_ERROR("ImgRegistration Error %d", registered);
        return leave(registered);
    }
    if (registered > 0) {
        EIS_LOG_INFO("Enter ImgRegistration imgDataCopy %d", registered);
        const ret_status copied = copyUnaligned(frame, output);
        if (copied != retStsOK) return leave(copied);
    }
    EIS_LOG_INFO("[MFNR_TIME][ImgRegistration] cost %ld ms", elapsedMilliseconds(registrationStart, registrationEnd));

    flushOutputs(outBlock, idx, words.lumaOnly != 0);
    EIS_LOG_INFO("return retStsOK");
    return retStsOK;
}
