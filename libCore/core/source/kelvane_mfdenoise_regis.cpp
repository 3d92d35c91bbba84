// The entry that registers one frame of a burst onto the reference frame.
#include <cstddef>

#include "include/acore_api.h"
#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/frame/clock.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/plane_copy.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"
#include "libCore/core/source/registration/img_registration.h"

namespace eis {

namespace {

constexpr TraceSite kSite{"libCore/core/source/kelvane_mfdenoise",
                          "ret_status Ransac_Regis_AcoreAPI_EIS(const ST_RANSAC_REGIS_BLOCK*)"};

// Blocks are read address by address: the frame number is the host's, and nothing bounds it here.
DeviceAddress addressAt(const void* block, int64_t offset) {
    return loadUnaligned<DeviceAddress>(static_cast<const uint8_t*>(block) + offset);
}
DeviceAddress planeAddress(const void* block, int64_t frame, int plane) {
    constexpr auto kFirst = static_cast<int64_t>(offsetof(ST_PICTURE_DEV, pData));
    return addressAt(block, frame * int64_t{sizeof(ST_PICTURE_DEV)} + kFirst + plane * int64_t{sizeof(DeviceAddress)});
}
DeviceAddress statusAddress(const void* outBlock) {
    return addressAt(outBlock, offsetof(ST_REGISTRATION_OUT_BLOCK, pStatus));
}

void convertPoints(const void* inBlock, int64_t idx, ST_MATCH_PAIRS& pairs) {
    const int64_t pair = static_cast<int64_t>(offsetof(ST_REGISTRATION_IN_BLOCK, astPairs)) +
                         (idx - 1) * int64_t{sizeof(ST_REGISTRATION_PAIR_DEV)};
    pairs.pCurPoints =
        convertTo<float>(addressAt(inBlock, pair + int64_t{offsetof(ST_REGISTRATION_PAIR_DEV, pCurPoints)}));
    pairs.pRefPoints = convertTo<float>(addressAt(inBlock, pair));
}

// False when one does not convert.
bool convertPlanes(const void* block, int64_t frame, ST_PICTURE& picture) {
    for (int i = 0; i < 3; ++i) picture.pData[i] = convertTo<uint8_t>(planeAddress(block, frame, i));
    return picture.pData[0] && picture.pData[1] && picture.pData[2];
}

// The line before every return that follows a stage.
ret_status leave(ret_status status) {
    EIS_LOG_INFO("ret = %d", status);
    return status;
}

void logPlanes(const ST_PICTURE& reference, const ST_PICTURE& frame, const ST_PICTURE& output) {
    const auto log = [](const char* name, const ST_PICTURE& picture, int lastNumber) {
        for (const int i : {0, 1, 2}) {
            EIS_LOG_ERROR("stImgRegistrationParams%s.pData[%d] = %p", name, i < 2 ? i : lastNumber,
                          static_cast<void*>(picture.pData[i]));
        }
    };
    log("In.stMultiPicIn.astInImg[1]", frame, 2);
    log("In.stMultiPicIn.astInImg[0]", reference, 2);
    // The last line names plane 1 again and shows plane 2.
    log("Out.stMultiRegistrationPic.astInImg[1]", output, 1);
}

// Delivers the frame as it is: whole bands of a quarter of the height, so up to three rows (of chroma up to seven luma
// rows' worth) at the bottom stay as they were.
ret_status copyUnaligned(const ST_PICTURE& frame, const ST_PICTURE& output) {
    const int chromaPitch = stride128(frame.width >> 1);
    for (int i = 0; i < 3; ++i) {
        const int pitch = i == 0 ? frame.stride : chromaPitch;
        const int bandRows = i == 0 ? frame.height >> 2 : frame.height >> 3;
        const ret_status status = copyPlaneInBands({frame.pData[i], output.pData[i], pitch, pitch, bandRows}, kSite);
        if (status == retStsOK) continue;
        EIS_LOG_ERROR("imgDataCopy Error %d", status);
        return status;
    }
    return retStsOK;
}

void flushOutputs(const void* outBlock, int64_t idx, bool lumaOnly) {
    const int64_t start = clockMicroseconds();
    flushDeviceAddress(planeAddress(outBlock, idx, 0));
    flushDeviceAddress(statusAddress(outBlock));
    for (int i = 1; i < 3 && !lumaOnly; ++i) flushDeviceAddress(planeAddress(outBlock, idx, i));
    EIS_LOG_INFO("[MFNR_TIME][cacheflush] cost %ld ms", elapsedMilliseconds(start, clockMicroseconds()));
}

// The pairs of the call, cleaned, with the line that tells how long it took.
ret_status cleanPairs(RansacEstParaContext* context) {
    EIS_LOG_INFO("RansacEst_AcoreAPI_EIS start");
    const int64_t start = clockMicroseconds();
    const ret_status status = RansacEst_AcoreAPI_EIS(context);
    if (status < 0) {
        EIS_LOG_ERROR("RansacEst_AcoreAPI_EIS return error [%d]\n", status);
        return status;
    }
    EIS_LOG_INFO("[MFNR_TIME][RansacEst_AcoreAPI_EIS] cost %ld ms\n", elapsedMilliseconds(start, clockMicroseconds()));
    return retStsOK;
}

// The addresses of both blocks, converted. Width, height and format of frame 0 stand for all pictures.
ret_status readPictures(void* inBlock, const void* outBlock, int64_t idx, ST_IMGREGISTRATION_PARAMS_IN& in,
                        ST_IMGREGISTRATION_PARAMS_OUT& out) {
    ST_PICTURE& reference = in.stMultiPicIn.astInImg[0];
    ST_PICTURE& frame = in.stMultiPicIn.astInImg[1];
    ST_PICTURE& output = out.stMultiRegistrationPic.astInImg[1];
    const auto sizes = loadUnaligned<ST_PICTURE_DEV>(inBlock);
    reference = frame = output = {sizes.width, sizes.height, stride128(sizes.width), {}, sizes.format};
    in.frameIndex = 1;
    convertPoints(inBlock, idx, in.stMatchPairs);
    if (!in.stMatchPairs.pCurPoints || !in.stMatchPairs.pRefPoints) {
        EIS_LOG_ERROR("input stImgRegistrationParamsIn addr convert error\n");
        return retStsBadAddress;
    }
    const bool hasReference = convertPlanes(inBlock, 0, reference);
    const bool hasFrame = convertPlanes(inBlock, idx, frame);
    const bool hasOutput = convertPlanes(outBlock, idx, output);
    out.pStatus = FunConvert2Addr(statusAddress(outBlock));
    if (!hasReference || !hasFrame || !hasOutput || !out.pStatus) {
        logPlanes(reference, frame, output);
        EIS_LOG_ERROR("I/O pData addr convert error\n");
        return retStsBadAddress;
    }
    for (const ST_PICTURE* picture : {&reference, &frame}) {
        for (int i = 0; i < 3; ++i) FunInvalidBuff(picture->pData[i]);
    }
    return retStsOK;
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
    if (!inBlock || !outBlock) {
        EIS_LOG_ERROR("FunConvert2Addr for input and output parameter error\n");
        return retStsBadAddress;
    }
    auto* homography = convertTo<uint8_t>(words.pHomography);
    if (homography == nullptr) {
        EIS_LOG_ERROR("FunConvert2Addr for Homo parameter error\n");
        return retStsBadAddress;
    }

    const ret_status estimated = cleanPairs(pRansacEstParaContext);
    if (estimated < 0) return leave(estimated);
    FunInvalidBuff(inBlock);
    ST_IMGREGISTRATION_PARAMS_IN paramsIn{};
    ST_IMGREGISTRATION_PARAMS_OUT paramsOut{};
    const int32_t pointNum = loadUnaligned<RansacEstParaContext>(pRansacEstParaContext).stMatchPairs.pointNum;
    EIS_LOG_INFO("pRansacEstParaContext->stMatchPairs.pointNum = %d", pointNum);
    paramsIn.stMatchPairs.pointNum = pointNum;
    const ret_status read = readPictures(inBlock, outBlock, words.idx, paramsIn, paramsOut);
    if (read != retStsOK) return leave(read);

    const int64_t start = clockMicroseconds();
    const ret_status registered = ImgRegistration_2(&paramsIn, &paramsOut, words.lumaOnly, homography);
    const int64_t end = clockMicroseconds();
    storeUnaligned(paramsOut.pStatus, registered);
    if (registered < 0) {
        EIS_LOG_ERROR("ImgRegistration Error %d", registered);
        return leave(registered);
    }
    if (registered > 0) {
        EIS_LOG_INFO("Enter ImgRegistration imgDataCopy %d", registered);
        const ret_status copied =
            copyUnaligned(paramsIn.stMultiPicIn.astInImg[1], paramsOut.stMultiRegistrationPic.astInImg[1]);
        if (copied != retStsOK) return leave(copied);
    }
    EIS_LOG_INFO("[MFNR_TIME][ImgRegistration] cost %ld ms", elapsedMilliseconds(start, end));

    flushOutputs(outBlock, words.idx, words.lumaOnly != 0);
    EIS_LOG_INFO("return retStsOK");
    return retStsOK;
}
