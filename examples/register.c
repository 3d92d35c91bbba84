/* Registers a frame that a hand has moved by 12 columns and 7 rows onto its reference with Ransac_Regis_AcoreAPI_EIS:
   the warped frame is the reference again. Match pairs come from a grid here; a camera gets them from its DSP. */
#include "host.h"

enum { kWidth = 1280, kHeight = 720, kMovedX = 12, kMovedY = 7, kColumns = 16, kRows = 10, kPoints = kColumns * kRows };

/* A smooth scene: any position has a value. */
static unsigned char scene(int x, int y) {
    const int a = (x * 3 + y) % 256, b = (y * 2 - x + 4096) % 256;
    return (unsigned char)(64 + (a < 128 ? a : 255 - a) / 2 + (b < 128 ? b : 255 - b) / 2);
}

static ST_PICTURE_DEV makePicture(int movedX, int movedY) {
    ST_PICTURE_DEV picture = {kWidth, kHeight, eisPitch(kWidth), {0, 0, 0}, 2};
    for (int plane = 0; plane < 3; ++plane) {
        const int part = plane == 0 ? 1 : 2, pitch = eisPitch(kWidth / part);
        const size_t size =
            plane == 0 ? eisSizeOfRegistrationLuma(kWidth, kHeight) : eisSizeOfRegistrationChroma(kWidth, kHeight);
        unsigned char* bytes = (unsigned char*)hostAllocate(size, &picture.pData[plane]);
        for (int y = 0; y < kHeight / part; ++y)
            for (int x = 0; x < kWidth / part; ++x)
                bytes[(size_t)y * pitch + x] = scene(x * part + movedX, y * part + movedY);
    }
    return picture;
}

static double meanDifference(DeviceAddress a, DeviceAddress b) {
    const unsigned char* first = (const unsigned char*)hostConvert(a);
    const unsigned char* second = (const unsigned char*)hostConvert(b);
    long sum = 0;
    for (int y = 40; y < kHeight - 40; ++y)
        for (int x = 40; x < kWidth - 40; ++x)
            sum += abs(first[y * eisPitch(kWidth) + x] - second[y * eisPitch(kWidth) + x]);
    return (double)sum / ((kHeight - 80) * (kWidth - 80));
}

/* Keypoints are rows of three words, x and y in 1/64 pixel; entry i of the lists pairs keypoint i with keypoint i. */
static void makeMatches(RansacEstParaContext* matches) {
    int32_t* ref = (int32_t*)hostAllocate(eisSizeOfKeypoints(kPoints), &matches->pRefKeypoints);
    int32_t* cur = (int32_t*)hostAllocate(eisSizeOfKeypoints(kPoints), &matches->pCurKeypoints);
    int16_t* refIndex = (int16_t*)hostAllocate(eisSizeOfMatchIndices(kPoints), &matches->pRefIndex);
    int16_t* curIndex = (int16_t*)hostAllocate(eisSizeOfMatchIndices(kPoints), &matches->pCurIndex);
    hostAllocate(eisSizeOfMatchDistances(kPoints), &matches->pDistance);
    hostAllocate(eisSizeOfMatchPoints(kPoints), &matches->stMatchPairs.pRefPoints);
    hostAllocate(eisSizeOfMatchPoints(kPoints), &matches->stMatchPairs.pCurPoints);
    matches->stMatchPairs.pointNum = matches->matchNum = kPoints;
    matches->coordScale = 1;
    matches->ratio = 0.8f;
    for (int i = 0; i < kPoints; ++i) {
        const int x = 60 + i % kColumns * 76, y = 50 + i / kColumns * 66;
        ref[3 * i] = x * 64, ref[3 * i + 1] = y * 64;
        /* What the reference shows at x, the moved frame shows at x - kMovedX. One pair in ten is a mismatch. */
        cur[3 * i] = (x - kMovedX + (i % 10 == 3 ? 90 : 0)) * 64, cur[3 * i + 1] = (y - kMovedY) * 64;
        refIndex[i] = curIndex[i] = (int16_t)i;
    }
}

int main(void) {
    hostStart();
    static RansacEstParaContext matches;
    static ST_REGISTRATION_IN_BLOCK in;
    static ST_REGISTRATION_OUT_BLOCK out;
    static ST_RANSAC_REGIS_BLOCK block;
    makeMatches(&matches);
    in.astInImg[0] = makePicture(0, 0);
    in.astInImg[1] = makePicture(kMovedX, kMovedY);
    in.astPairs[0].pRefPoints = matches.stMatchPairs.pRefPoints;
    in.astPairs[0].pCurPoints = matches.stMatchPairs.pCurPoints;
    out.astOutImg[1] = makePicture(0, 0);
    int32_t* status = (int32_t*)hostAllocate(sizeof *status, &out.pStatus);
    block.idx = 1;
    block.pRansacEstParaContext = hostShare(&matches);
    block.stImgRegistrationParamsIn = hostShare(&in);
    block.stImgRegistrationParamsOut = hostShare(&out);
    hostAllocate(eisSizeOfHomography(), &block.pHomography);

    /* The entry returns 0 whether the frame was warped or refused: the status word tells. */
    if (Ransac_Regis_AcoreAPI_EIS(&block) != retStsOK) return 1;
    const double before = meanDifference(in.astInImg[0].pData[0], in.astInImg[1].pData[0]);
    const double after = meanDifference(in.astInImg[0].pData[0], out.astOutImg[1].pData[0]);
    printf("status word %d, %d of %d pairs kept, mean difference to the reference %.2f before and %.2f after\n",
           (int)*status, (int)matches.stMatchPairs.pointNum, kPoints, before, after);
    return hostEnd(*status == 0 && matches.stMatchPairs.pointNum == kPoints - kPoints / 10 && before > 5 &&
                   after < 0.5);
}
