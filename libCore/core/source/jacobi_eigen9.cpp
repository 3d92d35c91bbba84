#include "libCore/core/source/jacobi_eigen9.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/jacobi_eigen9.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr int kN = 9;
constexpr int kPitch = 16;  // rows in whole vectors; what is behind their ninth element is not used
constexpr float kEpsilon = 2.220446e-16F;

using Floats = HWY_CAPPED(float, 8);
using Keys = hn::RebindToSigned<Floats>;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(Floats()));

// A magnitude and where it stands. Magnitudes are compared by their bits, which rise with them.
struct Largest {
    int32_t key;
    int32_t index;
};

HWY_INLINE hn::Vec<Keys> LoadKeys(const float* elements) {
    const Floats d;
    return hn::BitCast(Keys(), hn::Abs(hn::Load(d, elements)));
}
HWY_INLINE hn::Vec<Keys> LoadKeys(const int32_t* keys) {
    return hn::Load(Keys(), keys);
}

// The first largest of the eight elements' or keys' lanes from `from` to `to` - 1; -1 is below all.
template <class T>
HWY_INLINE Largest LargestOf(const T* HWY_RESTRICT keys, int from, int to) {
    const Keys d;
    const auto select = [&](int i) HWY_ATTR {
        const auto lane = hn::Iota(d, i);
        const auto in = hn::And(hn::Gt(lane, hn::Set(d, from - 1)), hn::Gt(hn::Set(d, to), lane));
        return hn::IfThenElse(in, LoadKeys(keys + i), hn::Set(d, -1));
    };
    auto best = hn::Set(d, -1);
    for (int i = 0; i < 8; i += kLanes) best = hn::Max(best, select(i));
    best = hn::MaxOfLanes(d, best);
    for (int i = 0; i < 8; i += kLanes) {
        const intptr_t found = hn::FindFirstTrue(d, hn::Eq(select(i), best));
        if (found >= 0) return {hn::GetLane(best), static_cast<int32_t>(i + found)};
    }
    return {-1, 0};
}

// The whole symmetric matrix without its diagonal, so that a row holds what stands right of it and above it.
struct Solver {
    HWY_ALIGN float matrix[kN][kPitch];
    HWY_ALIGN float vectors[kN][kPitch];
    // Largest off-diagonal elements as they were when they were looked for: of row i, 0 to 7, and of column i + 1. A
    // rotation touches other rows and columns, too: their entries go stale, by design.
    HWY_ALIGN int32_t rowKeys[8];
    HWY_ALIGN int32_t columnKeys[8];
    int32_t columnOfRow[8];
    int32_t rowOfColumn[8];

    void findMaxima(int k) {
        if (k < kN - 1) {
            Largest right = LargestOf(matrix[k], k + 1, 8);
            const int32_t last = std::bit_cast<int32_t>(std::fabs(matrix[k][8]));
            if (last > right.key) right = {last, 8};
            rowKeys[k] = right.key;
            columnOfRow[k] = right.index;
        }
        if (k > 0) {
            const Largest above = LargestOf(matrix[k], 0, k);
            columnKeys[k - 1] = above.key;
            rowOfColumn[k - 1] = above.index;
        }
    }

    // Rows first, a column only when strictly above.
    std::pair<int, int> pivot() const {
        const Largest row = LargestOf(rowKeys, 0, 8);
        const Largest column = LargestOf(columnKeys, 0, 8);
        if (column.key > row.key) return {rowOfColumn[column.index], column.index + 1};
        return {row.index, columnOfRow[row.index]};
    }

    void rotate(int k, int l, float cosine, float sine) {
        rotateRows(matrix[k], matrix[l], cosine, sine, k, l);
        rotateRows(vectors[k], vectors[l], cosine, sine, -1, -1);
        for (int m = 0; m < kN; ++m) {
            matrix[m][k] = matrix[k][m];
            matrix[m][l] = matrix[l][m];
        }
    }

  private:
    // Elements k and l become 0: in the same store, for rows are soon read as vectors again.
    static void rotateRows(float* HWY_RESTRICT a, float* HWY_RESTRICT b, float cosine, float sine, int k, int l) {
        const Floats d;
        const Keys dKeys;
        const auto c = hn::Set(d, cosine);
        const auto s = hn::Set(d, sine);
        for (int m = 0; m < kPitch; m += kLanes) {
            const auto x = hn::Load(d, a + m);
            const auto y = hn::Load(d, b + m);
            const auto lane = hn::Iota(dKeys, m);
            const auto cleared = hn::Or(hn::Eq(lane, hn::Set(dKeys, k)), hn::Eq(lane, hn::Set(dKeys, l)));
            const auto clear = hn::MaskFromVec(hn::BitCast(d, hn::VecFromMask(dKeys, cleared)));
            hn::Store(hn::IfThenZeroElse(clear, hn::Sub(hn::Mul(x, c), hn::Mul(y, s))), d, a + m);
            hn::Store(hn::IfThenZeroElse(clear, hn::Add(hn::Mul(x, s), hn::Mul(y, c))), d, b + m);
        }
    }
};

// hypot of the widened values, cut to single precision. Neither overflow nor the error of any sane hypot shows in the
// result, unless the root lies at the middle between two floats or below the normal ones.
HWY_INLINE float HypotSingle(float a, float b) {
    const double root = std::sqrt(double{a} * double{a} + double{b} * double{b});
    constexpr uint64_t kBelow = (uint64_t{1} << 29) - 1;  // bits that are cut off
    const uint64_t fromMiddle = (std::bit_cast<uint64_t>(root) + 8 - (uint64_t{1} << 28)) & kBelow;
    if (fromMiddle <= 16 || root < 1.2e-38) [[unlikely]] {
        return static_cast<float>(std::hypot(double{a}, double{b}));
    }
    return static_cast<float>(root);
}

void Solve(const float* matrix, float* eigenvalues, float* eigenvectors, int iterFactor) {
    Solver solver{};
    for (int k = 0; k < kN; ++k) {
        eigenvalues[k] = matrix[k * kN + k];
        solver.vectors[k][k] = 1.0F;
        for (int m = k + 1; m < kN; ++m) solver.matrix[k][m] = solver.matrix[m][k] = matrix[k * kN + m];
    }
    for (int k = 0; k < kN; ++k) solver.findMaxima(k);
    for (int64_t i = 0; i < int64_t{81} * iterFactor; ++i) {
        const auto [k, l] = solver.pivot();
        const float p = solver.matrix[k][l];
        if (std::fabs(p) <= kEpsilon) break;
        const float y = (eigenvalues[l] - eigenvalues[k]) * 0.5F;
        const float t = std::fabs(y) + HypotSingle(p, y);
        const float s = HypotSingle(p, t);
        const float sine = y < 0 ? -(p / s) : p / s;
        const float shift = y < 0 ? -((p / t) * p) : (p / t) * p;
        eigenvalues[k] -= shift;
        eigenvalues[l] += shift;
        solver.rotate(k, l, t / s, sine);
        solver.findMaxima(k);
        solver.findMaxima(l);
    }
    for (int k = 0; k < kN; ++k) std::copy_n(solver.vectors[k], kN, eigenvectors + k * kN);
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(Solve);

int JacobiEigen9(float* matrix, float* eigenvalues, float* eigenvectors, int iterFactor, void* workspace) {
    // Rotations keep the sum of squares: what begins in this range cannot overflow, nor turn into a NaN.
    const bool common = std::all_of(matrix, matrix + 81, [](float element) { return std::fabs(element) < 1e15F; });
    if (!common || eigenvectors == nullptr) {
        return JacobiEigen9_plain(matrix, eigenvalues, eigenvectors, iterFactor, workspace);
    }
    HWY_DYNAMIC_DISPATCH(Solve)(matrix, eigenvalues, eigenvectors, iterFactor);
    SortEigenpairs(eigenvalues, eigenvectors);
    return 0;
}

}  // namespace eis
#endif
