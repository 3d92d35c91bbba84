#include "libCore/core/source/registration/ransac_estimation.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "libCore/core/source/frame/alignment.h"
#include "libCore/core/source/frame/arithmetic.h"
#include "libCore/core/source/registration/homography.h"
#include "libCore/core/source/registration/jacobi_eigen9.h"
#include "libCore/core/source/registration/reprojection.h"

namespace eis {

namespace {

constexpr int kSampleSize = 4;
constexpr int kMaxRejectedDraws = 100;
constexpr int32_t kMinSquaredDistance = 20000;
constexpr int kSampleIterFactor = 2;
constexpr int32_t kFirstSamples = 8;

// Multiply-with-carry (Marsaglia), the same sequence at every call.
class Generator {
  public:
    uint32_t below(uint32_t n) {
        state_ = (state_ & 0xFFFFFFFF) * 4164903690U + (state_ >> 32);
        return static_cast<uint32_t>(state_ & 0xFFFFFFFF) % n;
    }

  private:
    uint64_t state_ = UINT64_MAX;
};

// The caller's scratch: both inlier masks, the eigensolver's workspace, then the coordinates and the errors of all
// pairs.
struct Workspace {
    Workspace(const ST_MATCH_PAIRS& pairs, void* scratch) : pairCount(pairs.pointNum) {
        const auto n = static_cast<size_t>(pairCount);
        auto* bytes = static_cast<uint8_t*>(scratch);
        masks[0] = bytes;
        masks[1] = bytes + n;
        eigen = bytes + 2 * n;
        std::memset(bytes, 0, 2 * n);
        auto* column = alignedTo<float>(eigen + kJacobiWorkspaceBytes, alignof(float));
        for (float*& values : columns) values = std::exchange(column, column + n);
        for (int32_t i = 0; i < pairCount; ++i) {
            const Point ref = loadPoint(pairs.pRefPoints, i);
            const Point cur = loadPoint(pairs.pCurPoints, i);
            columns[0][i] = ref.x;
            columns[1][i] = ref.y;
            columns[2][i] = cur.x;
            columns[3][i] = cur.y;
        }
    }

    PairColumns pairColumns() const { return {columns[0], columns[1], columns[2], columns[3], pairCount}; }
    float* errors() const { return columns[4]; }
    Point ref(uint32_t i) const { return {columns[0][i], columns[1][i]}; }
    Point cur(uint32_t i) const { return {columns[2][i], columns[3][i]}; }

    int32_t pairCount;
    uint8_t* masks[2];
    uint8_t* eigen;
    float* columns[5];
};
// The fewest pairs that are laid out have room for it all.
static_assert(kSampleSize * kRansacScratchPerPair >=
              kSampleSize * (2 + 5 * sizeof(float)) + kJacobiWorkspaceBytes + alignof(float) - 1);

struct IntVector {
    int32_t dx;
    int32_t dy;
};

IntVector truncatedDifference(Point a, Point b) {
    return {truncSat32(a.x - b.x), truncSat32(a.y - b.y)};
}

// Keeps samples spread out. A reference point is held against a current-frame point on purpose.
bool farApart(Point earlierRef, Point newCur) {
    const auto [dx, dy] = truncatedDifference(earlierRef, newCur);
    return wrapAdd(wrapMul(dx, dx), wrapMul(dy, dy)) >= kMinSquaredDistance;
}

// Whether three points, seen from the first, are too nearly on a line.
bool collinear(Point from, Point a, Point b) {
    const auto [dx1, dy1] = truncatedDifference(a, from);
    const auto [dx2, dy2] = truncatedDifference(b, from);
    const int64_t lengths = std::llabs(dx1) + std::llabs(dy1) + std::llabs(dx2) + std::llabs(dy2);
    const int32_t cross = wrapSub(wrapMul(dx2, dy1), wrapMul(dy2, dx1));
    return 0.1 * static_cast<double>(lengths) >= wrapAbs(cross);
}

bool anyCollinear(const Point* points) {
    for (int i = 1; i < kSampleSize; ++i) {
        for (int j = 0; j < i; ++j) {
            for (int k = 0; k < j; ++k) {
                if (collinear(points[i], points[j], points[k])) return true;
            }
        }
    }
    return false;
}

struct Sample {
    Point ref[kSampleSize];
    Point cur[kSampleSize];
};

// One draw; false at the first index that fails a gate.
bool drawSample(const Workspace& work, Generator& generator, Sample& sample) {
    uint32_t indices[kSampleSize];
    for (int k = 0; k < kSampleSize; ++k) {
        indices[k] = generator.below(static_cast<uint32_t>(work.pairCount));
        sample.ref[k] = work.ref(indices[k]);
        sample.cur[k] = work.cur(indices[k]);
        for (int e = 0; e < k; ++e) {
            if (indices[e] == indices[k]) return false;
        }
        for (int e = 0; e < k; ++e) {
            if (!farApart(sample.ref[e], sample.cur[k])) return false;
        }
    }
    return !anyCollinear(sample.ref) && !anyCollinear(sample.cur);
}

bool drawUsableSample(const Workspace& work, Generator& generator, Sample& sample) {
    for (int rejected = 0; rejected < kMaxRejectedDraws; ++rejected) {
        if (drawSample(work, generator, sample)) return true;
    }
    return false;
}

// Samples and the models fitted to them. The draws do not depend on the models' scores, so several samples are drawn
// ahead and fitted together, which is faster.
struct Batch {
    Sample samples[kFitBatch];
    HomographyFit fits[kFitBatch];
    int count = 0;
    bool last = false;  // no further sample can be drawn

    void draw(const Workspace& work, int wanted, Generator& generator) {
        for (count = 0; count < wanted; ++count) {
            Sample& sample = samples[count];
            last = !drawUsableSample(work, generator, sample);
            if (last) break;
            fits[count].pRefPoints = &sample.ref[0].x;
            fits[count].pCurPoints = &sample.cur[0].x;
        }
        CalcHomographies(fits, count, kSampleSize, kSampleIterFactor, work.eigen);
    }

    // The batch size at iteration i. The first batch is small, since its models often cut the number of iterations; the
    // remaining iterations are divided evenly, since a small batch takes nearly as long as a large one.
    static int wanted(int32_t i, int32_t iterations) {
        const int32_t left = iterations - i;
        if (i == 0) return std::min(left, kFirstSamples);
        const int32_t batches = (left - 1) / kFitBatch + 1;
        return (left - 1) / batches + 1;
    }
};

struct Score {
    int32_t inliers;
    float error;  // sum of the inliers' squared errors, in the order of the pairs

    bool beats(const Score& best) const {
        return inliers > best.inliers || (inliers == best.inliers && error < best.error);
    }
};

// In the order of the pairs.
float sumOfErrors(const Workspace& work, const uint8_t* mask) {
    float sum = 0.0F;
    for (int32_t i = 0; i < work.pairCount; ++i) sum += mask[i] != 0 ? work.errors()[i] : 0.0F;
    return sum;
}

// Inliers of a model, with their mask. While no model is accepted the mask of the last one scored is the result, so all
// pairs are counted; afterwards counting stops where the model can no longer win. The error sum only breaks ties.
Score scoreModel(const Workspace& work, const float* model, float threshold, const Score& best, bool accepted,
                 uint8_t* mask) {
    const int32_t inliers =
        ReprojectionInliers(work.pairColumns(), model, threshold, accepted ? best.inliers : 0, work.errors(), mask);
    return {inliers, inliers < best.inliers ? 0.0F : sumOfErrors(work, mask)};
}

// Iterations after which a sample free of outliers was drawn with the wanted confidence; never more than before.
int32_t updateIterations(int32_t inliers, int32_t n, float confidence, int32_t iterations) {
    const float outliers = std::clamp(static_cast<float>(n - inliers) * (1.0F / static_cast<float>(n)), 0.0F, 1.0F);
    const float p = std::clamp(confidence, 0.0F, 1.0F);
    const float num = p >= 1.0F ? FLT_MIN : 1.0F - p;
    const double q = 1.0F - outliers;
    const auto denom = static_cast<float>(1.0 - q * q * q * q);
    if (static_cast<double>(denom) < DBL_MIN) return 0;
    const float logNum = std::log(num);
    const float logDenom = std::log(denom);
    if (!(logDenom < 0) || -logNum >= -(logDenom * static_cast<float>(iterations))) return iterations;
    return truncSat32(static_cast<double>(logNum / logDenom) + 0.5);
}

void compact(ST_MATCH_PAIRS& pairs, const uint8_t* mask) {
    int32_t to = 0;
    for (int32_t i = 0; i < pairs.pointNum; ++i) {
        if (mask[i] != 0) movePair(pairs, to++, i);
    }
}

// Draws at most `ahead` samples at a time.
int estimate(ST_MATCH_PAIRS* matchPairs, float* homographyOut, const RansacParams* params, void* scratch, int ahead) {
    const int32_t n = matchPairs->pointNum;
    // Three pairs and fewer can never make a sample of four.
    if (n < kSampleSize) return -1;
    const Workspace work(*matchPairs, scratch);
    Generator generator;
    float model[9] = {};
    Score best{kSampleSize, 0.0F};
    uint8_t* working = work.masks[0];
    uint8_t* spare = work.masks[1];
    // Of the best model, or of the last one scored while none is accepted.
    const uint8_t* kept = working;
    int32_t iterations = params->maxIters;
    Batch batch;
    for (int32_t i = 0, first = 0; i < iterations; ++i) {
        if (i - first == batch.count) {
            if (batch.last) return -1;
            first = i;
            batch.draw(work, std::min(Batch::wanted(i, iterations), ahead), generator);
            if (batch.count == 0) return -1;
        }
        // A sample without spread leaves the preceding model, which is then scored again.
        const HomographyFit& fit = batch.fits[i - first];
        if (fit.written) std::memcpy(model, fit.homography, sizeof model);
        const Score score = scoreModel(work, model, params->threshold, best, kept != working, working);
        if (!score.beats(best)) continue;
        best = score;
        std::memcpy(homographyOut, model, sizeof model);
        kept = working;
        std::swap(working, spare);
        iterations = updateIterations(best.inliers, n, params->confidence, iterations);
    }
    compact(*matchPairs, kept);
    matchPairs->pointNum = best.inliers;
    return 0;
}

}  // namespace

int RansacEstimation(ST_MATCH_PAIRS* matchPairs, float* homographyOut, const RansacParams* params, void* scratch) {
    return estimate(matchPairs, homographyOut, params, scratch, kFitBatch);
}

int RansacEstimation_plain(ST_MATCH_PAIRS* matchPairs, float* homographyOut, const RansacParams* params,
                           void* scratch) {
    return estimate(matchPairs, homographyOut, params, scratch, 1);
}

}  // namespace eis
