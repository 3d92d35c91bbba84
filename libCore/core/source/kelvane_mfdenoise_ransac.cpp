// The entry that cleans match pairs.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "include/acore_api.h"
#include "libCore/core/source/frame/export.h"
#include "libCore/core/source/frame/log.h"
#include "libCore/core/source/frame/memory.h"
#include "libCore/core/source/frame/slots.h"
#include "libCore/core/source/frame/wire.h"
#include "libCore/core/source/registration/match_pairs.h"
#include "libCore/core/source/registration/ransac_estimation.h"

namespace eis {

namespace {

constexpr int kMinPairs = 5;
constexpr RansacParams kParams{150, 15.0F, 0.9995F};

void storePointNum(RansacEstParaContext* block, int32_t pointNum) {
    storeUnaligned(reinterpret_cast<uint8_t*>(block) + offsetof(RansacEstParaContext, stMatchPairs.pointNum), pointNum);
}

}  // namespace

}  // namespace eis

using namespace eis;

EIS_EXPORT ret_status RansacEst_AcoreAPI_EIS(RansacEstParaContext* block) {
    EIS_LOG_INFO("enter func %s\n", __func__);
    FunInvalidBuff(block);
    EIS_LOG_INFO("ransac FunInvalidBuff done");
    const auto words = loadUnaligned<RansacEstParaContext>(block);

    ST_MATCH_PAIRS pairs{};
    pairs.pCurPoints = convertTo<float>(words.stMatchPairs.pCurPoints);
    pairs.pRefPoints = convertTo<float>(words.stMatchPairs.pRefPoints);
    if (pairs.pCurPoints == nullptr || pairs.pRefPoints == nullptr) {
        EIS_LOG_ERROR("ransac RansacEstimation convert adrr Invalid\n");
        return retStsBadAddress;
    }
    FunInvalidBuff(pairs.pRefPoints);
    EIS_LOG_INFO("ransac received match point num = %d", words.stMatchPairs.pointNum);
    if (words.stMatchPairs.pointNum < kMinPairs) {
        EIS_LOG_ERROR("ransac RansacEstimation: not enough keypoints = %d\n", words.stMatchPairs.pointNum);
        return retStsNotEnoughKeypoints;
    }

    KnnResult knn{};
    knn.pDistance = FunConvert2Addr(words.pDistance);
    knn.pCurIndex = FunConvert2Addr(words.pCurIndex);
    knn.pRefIndex = FunConvert2Addr(words.pRefIndex);
    knn.pRefKeypoints = FunConvert2Addr(words.pRefKeypoints);
    knn.pCurKeypoints = FunConvert2Addr(words.pCurKeypoints);
    knn.matchNum = words.matchNum;
    knn.coordScale = words.coordScale;
    if (knn.pDistance == nullptr || knn.pCurIndex == nullptr || knn.pRefIndex == nullptr ||
        knn.pRefKeypoints == nullptr || knn.pCurKeypoints == nullptr) {
        EIS_LOG_ERROR("ransac RansacEstimation knnResult convert adrr Invalid\n");
        return retStsBadAddress;
    }
    BuildMatchPairs(knn, pairs);

    const int64_t bytes = kRansacScratchPerPair * words.matchNum;
    const Scratch<uint8_t> scratch(bytes == 0 ? 1 : bytes, __func__);
    if (!scratch) {
        EIS_LOG_INFO("ransac malloc failed!");
        return retStsNoMemory;
    }
    pairs.pointNum = FilterDuplicateMatches(knn, pairs, words.ratio, scratch.get());
    if (pairs.pointNum < kMinPairs) {
        storePointNum(block, pairs.pointNum);
        return retStsNotEnoughKeypoints;
    }
    // The model is dropped: registration fits its own to the cleaned pairs. So is the status, for pairs of which no
    // usable sample can be drawn stay as they are.
    float homography[9] = {};
    (void)RansacEstimation(&pairs, homography, &kParams, scratch.get());
    storePointNum(block, pairs.pointNum);
    return retStsOK;
}
