// Classical Jacobi rotations with a row in a vector or two, for several matrices at a time. What a rotation of one
// matrix has to wait for, roots and quotients above all, is found for all of them before any is turned: that is twice
// as fast as one matrix after the other.
#include "libCore/core/source/registration/jacobi_eigen9.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/registration/jacobi_eigen9.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr int kN = 9;
constexpr float kEpsilon = 2.220446e-16F;

using Floats = HWY_CAPPED(float, 8);
using Keys = hn::RebindToSigned<Floats>;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(Floats()));
constexpr int kPitch = (kN + kLanes - 1) / kLanes * kLanes;

// hypot of the widened values, cut to single precision. Neither overflow nor the error of the plain formula shows in
// the result, unless the root lies at the middle between two floats or below the normal ones: these are left to hypot.
HWY_INLINE float HypotSingle(float a, float b) {
    const double x = a;
    const double y = b;
    const double root = std::sqrt(x * x + y * y);
    constexpr uint64_t kCutOff = (uint64_t{1} << 29) - 1;  // bits of a double that a float has no room for
    const uint64_t fromMiddle = (std::bit_cast<uint64_t>(root) + 8 - (uint64_t{1} << 28)) & kCutOff;
    if (fromMiddle <= 16 || root < 1.2e-38) [[unlikely]]
        return static_cast<float>(std::hypot(x, y));
    return static_cast<float>(root);
}

// The largest magnitude of a row, or of a column, when it was looked for, and where it stood. Magnitudes are compared
// by their bits, which rise with them.
struct Largest {
    int32_t key;
    int32_t at;
};

// Of the eight that begin at `largest`, the first with the largest key.
HWY_INLINE int FirstLargest(const Largest* largest) {
    int64_t best = 0;
    for (int i = 0; i < 8; ++i) best = std::max(best, int64_t{largest[i].key} << 3 | (7 - i));
    return 7 - static_cast<int>(best & 7);
}

// One matrix on its way. It is kept whole: a row holds what stands right of its diagonal element and, in front of it,
// what stands above it. The diagonal is in `values`.
class Solver {
  public:
    void start(const float* matrix) {
        for (int k = 0; k < kN; ++k) {
            values_[k] = matrix[k * kN + k];
            for (int m = 0; m < kPitch; ++m) {
                rows_[k][m] = m < kN ? matrix[std::min(k, m) * kN + std::max(k, m)] : 0.0F;
                vectors_[k][m] = k == m ? 1.0F : 0.0F;
            }
            findMaxima(k);
        }
    }

    // Rows first, a column only when strictly above. False when there is nothing left to rotate away.
    HWY_INLINE bool findRotation() {
        const int row = FirstLargest(right_);
        const int column = 1 + FirstLargest(above_ + 1);
        const bool inColumn = above_[column].key > right_[row].key;
        k_ = inColumn ? above_[column].at : row;
        l_ = inColumn ? column : right_[row].at;
        const float p = rows_[k_][l_];
        if (std::fabs(p) <= kEpsilon) return false;
        const float y = (values_[l_] - values_[k_]) * 0.5F;
        const float t = std::fabs(y) + HypotSingle(p, y);
        const float s = HypotSingle(p, t);
        const float sign = y < 0 ? -1.0F : 1.0F;
        cosine_ = t / s;
        sine_ = sign * (p / s);
        const float shift = sign * ((p / t) * p);
        values_[k_] -= shift;
        values_[l_] += shift;
        return true;
    }

    HWY_INLINE void rotate() {
        turn<false>(vectors_[k_], vectors_[l_]);
        turn<true>(rows_[k_], rows_[l_]);
        // A rotation touches other rows and columns, too: their entries go stale, by design.
        findMaxima(k_);
        findMaxima(l_);
        // Last, for vector loads right behind stores of single elements have to wait for them.
        for (int m = 0; m < kN; ++m) {
            rows_[m][k_] = rows_[k_][m];
            rows_[m][l_] = rows_[l_][m];
        }
    }

    void finish(float* eigenvalues, float* eigenvectors) const {
        std::copy_n(values_, kN, eigenvalues);
        for (int k = 0; k < kN; ++k) std::copy_n(vectors_[k], kN, eigenvectors + k * kN);
    }

  private:
    // In the matrix the element that is rotated away becomes 0 (as does the diagonal, which is not looked at).
    template <bool ofMatrix>
    HWY_INLINE void turn(float* HWY_RESTRICT a, float* HWY_RESTRICT b) const {
        const Floats d;
        const auto c = hn::Set(d, cosine_);
        const auto s = hn::Set(d, sine_);
        for (int m = 0; m < kPitch; m += kLanes) {
            const auto x = hn::Load(d, a + m);
            const auto y = hn::Load(d, b + m);
            auto turnedX = hn::Sub(hn::Mul(x, c), hn::Mul(y, s));
            auto turnedY = hn::Add(hn::Mul(x, s), hn::Mul(y, c));
            if constexpr (ofMatrix) {
                const auto at = hn::Iota(Keys(), m);
                const auto away =
                    hn::RebindMask(d, hn::Or(hn::Eq(at, hn::Set(Keys(), k_)), hn::Eq(at, hn::Set(Keys(), l_))));
                turnedX = hn::IfThenZeroElse(away, turnedX);
                turnedY = hn::IfThenZeroElse(away, turnedY);
            }
            hn::Store(turnedX, d, a + m);
            hn::Store(turnedY, d, b + m);
        }
    }

    // Row 8 has nothing to its right, column 0 nothing above it: what is found there is not looked at.
    HWY_INLINE void findMaxima(int k) {
        const Floats d;
        const Keys dKeys;
        const auto self = hn::Set(dKeys, k);
        const auto none = hn::Set(dKeys, -1);
        decltype(hn::Zero(dKeys)) right[kPitch / kLanes], above[kPitch / kLanes];
        auto bestRight = none;
        auto bestAbove = none;
        for (int i = 0; i < kPitch / kLanes; ++i) {
            const auto key = hn::BitCast(dKeys, hn::Abs(hn::Load(d, rows_[k] + i * kLanes)));
            const auto m = hn::Iota(dKeys, i * kLanes);
            right[i] = hn::IfThenElse(hn::Gt(m, self), key, none);
            above[i] = hn::IfThenElse(hn::Lt(m, self), key, none);
            bestRight = hn::Max(bestRight, right[i]);
            bestAbove = hn::Max(bestAbove, above[i]);
        }
        bestRight = hn::MaxOfLanes(dKeys, bestRight);
        bestAbove = hn::MaxOfLanes(dKeys, bestAbove);
        uint32_t rightAt = 0;
        uint32_t aboveAt = 0;
        for (int i = 0; i < kPitch / kLanes; ++i) {
            uint8_t bits[8];
            hn::StoreMaskBits(dKeys, hn::Eq(right[i], bestRight), bits);
            rightAt |= uint32_t{bits[0]} << (i * kLanes);
            hn::StoreMaskBits(dKeys, hn::Eq(above[i], bestAbove), bits);
            aboveAt |= uint32_t{bits[0]} << (i * kLanes);
        }
        right_[k] = {hn::GetLane(bestRight), std::countr_zero(rightAt)};
        above_[k] = {hn::GetLane(bestAbove), std::countr_zero(aboveAt)};
    }

    HWY_ALIGN float rows_[kN][kPitch];
    HWY_ALIGN float vectors_[kN][kPitch];
    float values_[kN];
    Largest right_[kN];  // of row k, right of the diagonal
    Largest above_[kN];  // of column k, above it
    int k_;              // the element to rotate away, k < l
    int l_;
    float cosine_;
    float sine_;
};

void Solve(const EigenProblem* problems, int count, int iterFactor) {
    Solver solvers[kJacobiBatch];
    Solver* active[kJacobiBatch];
    for (int i = 0; i < count; ++i) {
        solvers[i].start(problems[i].matrix);
        active[i] = &solvers[i];
    }
    int left = count;
    for (int64_t i = 0; i < int64_t{81} * iterFactor && left != 0; ++i) {
        left = static_cast<int>(std::partition(active, active + left, [](Solver* s) { return s->findRotation(); }) -
                                active);
        for (int j = 0; j < left; ++j) active[j]->rotate();
    }
    for (int i = 0; i < count; ++i) solvers[i].finish(problems[i].eigenvalues, problems[i].eigenvectors);
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(Solve);

namespace {

// Rotations keep the sum of squares: what begins in this range cannot overflow, nor turn into a NaN.
bool isCommon(const float* matrix) {
    int common = 0;
    for (int i = 0; i < 81; ++i) common += std::fabs(matrix[i]) < 1e15F ? 1 : 0;
    return common == 81;
}

}  // namespace

void JacobiEigen9Batch(const EigenProblem* problems, int count, int iterFactor, void* workspace) {
    EigenProblem common[kJacobiBatch] = {};
    int commonCount = 0;
    for (int i = 0; i < count; ++i) {
        const EigenProblem& problem = problems[i];
        if (problem.eigenvectors != nullptr && isCommon(problem.matrix)) {
            common[commonCount++] = problem;
        } else {
            JacobiEigen9_plain(problem.matrix, problem.eigenvalues, problem.eigenvectors, iterFactor, workspace);
        }
    }
    HWY_DYNAMIC_DISPATCH(Solve)(common, commonCount, iterFactor);
    for (int i = 0; i < commonCount; ++i) SortEigenpairs(common[i].eigenvalues, common[i].eigenvectors);
}

int JacobiEigen9(float* matrix, float* eigenvalues, float* eigenvectors, int iterFactor, void* workspace) {
    const EigenProblem problem{matrix, eigenvalues, eigenvectors};
    JacobiEigen9Batch(&problem, 1, iterFactor, workspace);
    return 0;
}

}  // namespace eis
#endif
