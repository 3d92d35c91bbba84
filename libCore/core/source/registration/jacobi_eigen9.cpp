// Classical Jacobi eigenvalue method (Jacobi 1846), vectorised: a row of the matrix takes one or two vectors, and
// several matrices are solved together. A rotation's angle is a chain of two square roots and three divisions, each of
// which needs the result before it; the angles of all matrices are computed before any matrix is rotated, so that
// these chains overlap. That takes half the time of one matrix after the other.
#include "libCore/core/source/registration/jacobi_eigen9.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#define HWY_TARGET_INCLUDE "libCore/core/source/registration/jacobi_eigen9.cpp"
#include "libCore/core/source/frame/vector_unit.h"

EIS_BEFORE_TARGET();

constexpr int kN = 9;
constexpr float kEpsilon = 2.220446e-16F;

using Floats = HWY_CAPPED(float, 16);
using Keys = hn::RebindToSigned<Floats>;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(Floats()));
constexpr int kPitch = (kN + kLanes - 1) / kLanes * kLanes;

// hypot in double precision, rounded to single, of operands one of which is above kEpsilon. The square root of the sum
// of squares is within a unit of the last place of a double, which changes the rounded result only near the middle
// between two floats: there the C library's hypot decides.
HWY_INLINE float HypotSingle(float a, float b) {
    const double x = a;
    const double y = b;
    const double root = std::sqrt(x * x + y * y);
    constexpr uint64_t kCutOff = (uint64_t{1} << 29) - 1;  // bits of a double that a float has no room for
    const uint64_t fromMiddle = (std::bit_cast<uint64_t>(root) + 8 - (uint64_t{1} << 28)) & kCutOff;
    if (fromMiddle <= 16) [[unlikely]]
        return static_cast<float>(std::hypot(x, y));
    return static_cast<float>(root);
}

// The largest magnitude of a row or column at the time of its last search, and its index. Bit patterns of
// non-negative floats order as their values do, so integers are compared.
struct Largest {
    int32_t key;
    int32_t at;
};

// Index of the largest of eight keys, the first one of equals: the index is packed, inverted, below the key.
HWY_INLINE int FirstLargest(const Largest* largest) {
    int64_t best = 0;
    for (int i = 0; i < 8; ++i) best = std::max(best, int64_t{largest[i].key} << 3 | (7 - i));
    return 7 - static_cast<int>(best & 7);
}

// A bit for each lane.
HWY_INLINE uint32_t Bits(hn::Mask<Keys> mask) {
    uint8_t bytes[8] = {};
    hn::StoreMaskBits(Keys(), mask, bytes);
    uint16_t bits;
    std::memcpy(&bits, bytes, sizeof bits);
    return bits;
}

// The state of one matrix. Both triangles are stored, so that a rotation works on whole rows: row k holds row k of the
// upper triangle from column k + 1 on and column k of it before that. The diagonal is in `values_`.
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
        // Last: the vector loads above would stall if single elements of their rows had just been stored.
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
    // Rotates two rows. In those of the matrix the element that is annihilated is set to exactly 0, and so are the
    // diagonal elements, which are unused.
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

    // The maxima of row and column k. Row 8 and column 0 have no elements; their entries are never read.
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
            rightAt |= Bits(hn::Eq(right[i], bestRight)) << (i * kLanes);
            aboveAt |= Bits(hn::Eq(above[i], bestAbove)) << (i * kLanes);
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

EIS_AFTER_TARGET();

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
