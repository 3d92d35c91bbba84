#include "libCore/core/source/jacobi_eigen9.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iterator>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/jacobi_eigen9.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

constexpr int kN = 9;
constexpr float kEpsilon = 2.220446e-16F;
// A row holds eight elements of the matrix, eight of the vectors, then the ninth of each and some that are not used.
constexpr int kVectors = 8;
constexpr int kNinths = 16;
constexpr int kPitch = 24;

using Floats = HWY_CAPPED(float, 8);
using Keys = hn::RebindToSigned<Floats>;
constexpr int kLanes = static_cast<int>(hn::MaxLanes(Floats()));
constexpr int kRowEnd = kNinths + kLanes;

// What a row's or column's number selects, as masks, and the column's place in a row.
struct Selection {
    int32_t itself[kPitch];  // its element in a row
    int32_t upTo[8];         // of the first eight elements those up to it
    int32_t from[8];         // and those from it on
    int32_t at;
    int32_t unused[7];
};
struct Selections {
    HWY_ALIGN Selection of[kN] = {};

    constexpr Selections() {
        for (int k = 0; k < kN; ++k) {
            of[k].at = k < 8 ? k : kNinths;
            of[k].itself[of[k].at] = -1;
            for (int i = 0; i < 8; ++i) {
                of[k].upTo[i] = i <= k ? -1 : 0;
                of[k].from[i] = i >= k ? -1 : 0;
            }
        }
    }
};
constexpr Selections kSelections;

// Magnitudes are compared by their bits, which rise with them.
HWY_INLINE hn::Vec<Keys> Magnitudes(hn::Vec<Floats> elements) {
    return hn::BitCast(Keys(), hn::Abs(elements));
}

// The largest of eight keys, in every lane; keys(i) are those from i on.
template <class Eight>
HWY_INLINE hn::Vec<Keys> LargestOf(const Eight& keys) {
    auto best = keys(0);
    for (int i = kLanes; i < 8; i += kLanes) best = hn::Max(best, keys(i));
    return hn::MaxOfLanes(Keys(), best);
}

// The first of eight keys that is the given one; 8 if there is none.
template <class Eight>
HWY_INLINE int FirstOf(const Eight& keys, hn::Vec<Keys> key) {
    unsigned bits = 1U << 8;
    for (int i = 0; i < 8; i += kLanes) {
        uint8_t some[8];
        hn::StoreMaskBits(Keys(), hn::Eq(keys(i), key), some);
        bits |= unsigned{some[0]} << i;
    }
    return std::countr_zero(bits);
}

struct Pivot {
    uint8_t k;
    uint8_t l;
};

constexpr int kSquad = 4;

// The largest off-diagonal elements of the rows, at 0 to 7, and of the columns, at 10 to 17, as they were when they
// were looked for. A rotation touches other rows and columns, too: their entries go stale, by design.
struct Maxima {
    static constexpr int kColumns = kN;
    static constexpr int kCount = 2 * kN;
    HWY_ALIGN int32_t keys[kCount][kSquad] = {};  // of each solver of a squad
};

// One matrix on its way. It is kept whole, without its diagonal, so that a row holds what stands right of it and above
// it.
struct Solver {
    HWY_ALIGN float rows[kN][kPitch];
    Pivot places[Maxima::kCount];  // of the maxima
    float values[kN];

    void start(const float* matrix) {
        for (int k = 0; k < kN; ++k) {
            values[k] = matrix[k * kN + k];
            places[k].k = places[Maxima::kColumns + k].l = static_cast<uint8_t>(k);
            std::fill_n(rows[k], kPitch, 0.0F);
            rows[k][k < 8 ? kVectors + k : kNinths + 1] = 1.0F;
            for (int m = 0; m < kN; ++m) {
                if (m != k) rows[k][kSelections.of[m].at] = matrix[std::min(k, m) * kN + std::max(k, m)];
            }
        }
    }

    void finish(float* eigenvalues, float* eigenvectors) const {
        std::copy_n(values, kN, eigenvalues);
        for (int k = 0; k < kN; ++k) {
            std::copy_n(rows[k] + kVectors, 8, eigenvectors + k * kN);
            eigenvectors[k * kN + 8] = rows[k][kNinths + 1];
        }
    }

    HWY_INLINE float element(Pivot pivot) const { return rows[pivot.k][kSelections.of[pivot.l].at]; }

    // Row 8 has nothing to its right, column 0 nothing above it: what is found there is not looked at.
    HWY_INLINE void findMaxima(int k, Maxima& maxima, int i) {
        const Floats d;
        const Keys dKeys;
        const Selection& selection = kSelections.of[k];
        const auto right = [&](int m) HWY_ATTR {
            return hn::Or(Magnitudes(hn::Load(d, rows[k] + m)), hn::Load(dKeys, selection.upTo + m));
        };
        const auto above = [&](int m) HWY_ATTR {
            return hn::Or(Magnitudes(hn::Load(d, rows[k] + m)), hn::Load(dKeys, selection.from + m));
        };
        const auto bestRight = hn::Max(LargestOf(right), Magnitudes(hn::Set(d, rows[k][kNinths])));
        const auto bestAbove = LargestOf(above);
        const auto column = static_cast<uint8_t>(FirstOf(right, bestRight));
        const auto row = static_cast<uint8_t>(FirstOf(above, bestAbove));
        places[k].l = column;
        places[Maxima::kColumns + k].k = row;
        maxima.keys[k][i] = hn::GetLane(bestRight);
        maxima.keys[Maxima::kColumns + k][i] = hn::GetLane(bestAbove);
    }

    HWY_INLINE void rotate(Pivot pivot, float cosine, float sine) {
        const Floats d;
        const Keys dKeys;
        const Selection& k = kSelections.of[pivot.k];
        const Selection& l = kSelections.of[pivot.l];
        float* HWY_RESTRICT a = rows[pivot.k];
        float* HWY_RESTRICT b = rows[pivot.l];
        const auto c = hn::Set(d, cosine);
        const auto s = hn::Set(d, sine);
        for (int m = 0; m < kRowEnd; m += kLanes) {
            const auto x = hn::Load(d, a + m);
            const auto y = hn::Load(d, b + m);
            const auto turnedX = hn::Sub(hn::Mul(x, c), hn::Mul(y, s));
            const auto turnedY = hn::Add(hn::Mul(x, s), hn::Mul(y, c));
            if (m >= kVectors && m < kNinths) {
                hn::Store(turnedX, d, a + m);
                hn::Store(turnedY, d, b + m);
                continue;
            }
            // What is rotated away becomes 0.
            const auto away = hn::Or(hn::Load(dKeys, k.itself + m), hn::Load(dKeys, l.itself + m));
            hn::Store(hn::AndNot(hn::BitCast(d, away), turnedX), d, a + m);
            hn::Store(hn::AndNot(hn::BitCast(d, away), turnedY), d, b + m);
        }
    }

    // To the columns what has become of the rows. Vector loads right behind these stores have to wait for them.
    HWY_INLINE void mirror(Pivot pivot) {
        const int k = kSelections.of[pivot.k].at;
        const int l = kSelections.of[pivot.l].at;
        const float* a = rows[pivot.k];
        const float* b = rows[pivot.l];
        for (int m = 0; m < kN; ++m) {
            rows[m][k] = a[m < 8 ? m : kNinths];
            rows[m][l] = b[m < 8 ? m : kNinths];
        }
    }
};

using Doubles = HWY_CAPPED(double, 4);
using Singles = hn::Rebind<float, Doubles>;

// hypot of the widened values, cut to single precision. Neither overflow nor the error of any sane hypot shows in the
// result, unless the root lies at the middle between two floats or below the normal ones.
HWY_INLINE hn::Vec<Singles> Hypot(hn::Vec<Singles> a, hn::Vec<Singles> b) {
    const Doubles d;
    const hn::RebindToSigned<Doubles> dBits;
    const Singles dSingle;
    const auto wideA = hn::PromoteTo(d, a);
    const auto wideB = hn::PromoteTo(d, b);
    const auto root = hn::Sqrt(hn::Add(hn::Mul(wideA, wideA), hn::Mul(wideB, wideB)));
    constexpr int64_t kBelow = (int64_t{1} << 29) - 1;  // bits that are cut off
    const auto fromMiddle =
        hn::And(hn::Add(hn::BitCast(dBits, root), hn::Set(dBits, 8 - (int64_t{1} << 28))), hn::Set(dBits, kBelow));
    const auto atMiddle = hn::RebindMask(d, hn::Lt(fromMiddle, hn::Set(dBits, 17)));
    if (hn::AllFalse(d, hn::Or(atMiddle, hn::Lt(root, hn::Set(d, 1.2e-38))))) [[likely]] {
        return hn::DemoteTo(dSingle, root);
    }
    HWY_ALIGN float x[4];
    HWY_ALIGN float y[4];
    hn::Store(a, dSingle, x);
    hn::Store(b, dSingle, y);
    for (size_t i = 0; i < hn::MaxLanes(dSingle); ++i) {
        x[i] = static_cast<float>(std::hypot(double{x[i]}, double{y[i]}));
    }
    return hn::Load(dSingle, x);
}

// Up to four solvers that take each step together, for the steps of one wait for each other.
struct Squad {
    int count = 0;
    Solver* solvers[kSquad];
    Maxima maxima;
    Pivot pivots[kSquad];
    // Of those that have left: any numbers with which hypot is quick.
    HWY_ALIGN float p[kSquad] = {1, 1, 1, 1};
    HWY_ALIGN float y[kSquad] = {1, 1, 1, 1};
    HWY_ALIGN float t[kSquad];
    HWY_ALIGN float cosine[kSquad];
    HWY_ALIGN float sine[kSquad];
    HWY_ALIGN float shift[kSquad];

    void add(Solver& solver) {
        for (int k = 0; k < kN; ++k) solver.findMaxima(k, maxima, count);
        solvers[count++] = &solver;
    }

    // Rows first, a column only when strictly above. Solvers that have nothing left to rotate away leave.
    HWY_INLINE void findPivots() {
        HWY_ALIGN int32_t found[kSquad];
        for (int lane = 0; lane < kSquad; lane += static_cast<int>(hn::MaxLanes(SquadKeys()))) {
            const auto row = firstLargest(0, lane);
            const auto column = firstLargest(Maxima::kColumns + 1, lane);
            hn::Store(hn::IfThenElse(hn::Gt(column.key, row.key), column.at, row.at), SquadKeys(), found + lane);
        }
        for (int i = 0; i < count;) {
            const Solver& solver = *solvers[i];
            const Pivot pivot = solver.places[found[i]];
            p[i] = solver.element(pivot);
            y[i] = (solver.values[pivot.l] - solver.values[pivot.k]) * 0.5F;
            pivots[i] = pivot;
            if (std::fabs(p[i]) <= kEpsilon) [[unlikely]] {
                leave(i);
                found[i] = found[count];
                continue;
            }
            ++i;
        }
    }

    HWY_INLINE void findTangents() {
        const Singles d;
        for (int i = 0; i < kSquad; i += static_cast<int>(hn::MaxLanes(d))) {
            const auto half = hn::Load(d, y + i);
            hn::Store(hn::Add(hn::Abs(half), Hypot(hn::Load(d, p + i), half)), d, t + i);
        }
    }

    HWY_INLINE void findAngles() {
        const Singles d;
        for (int i = 0; i < kSquad; i += static_cast<int>(hn::MaxLanes(d))) {
            const auto pivot = hn::Load(d, p + i);
            const auto sum = hn::Load(d, t + i);
            const auto s = Hypot(pivot, sum);
            const auto sign = hn::IfThenElseZero(hn::Lt(hn::Load(d, y + i), hn::Zero(d)), hn::SignBit(d));
            hn::Store(hn::Div(sum, s), d, cosine + i);
            hn::Store(hn::Xor(hn::Div(pivot, s), sign), d, sine + i);
            hn::Store(hn::Xor(hn::Mul(hn::Div(pivot, sum), pivot), sign), d, shift + i);
        }
    }

    HWY_INLINE void rotate(int i) {
        Solver& solver = *solvers[i];
        const Pivot pivot = pivots[i];
        solver.values[pivot.k] -= shift[i];
        solver.values[pivot.l] += shift[i];
        solver.rotate(pivot, cosine[i], sine[i]);
        solver.findMaxima(pivot.k, maxima, i);
        solver.findMaxima(pivot.l, maxima, i);
        solver.mirror(pivot);
    }

  private:
    using SquadKeys = HWY_CAPPED(int32_t, kSquad);
    struct Largest {
        hn::Vec<SquadKeys> key;
        hn::Vec<SquadKeys> at;
    };

    // Of the eight maxima from `from` on.
    HWY_INLINE Largest firstLargest(int from, int lane) const {
        const SquadKeys d;
        Largest largest{hn::Load(d, &maxima.keys[from][lane]), hn::Set(d, from)};
        for (int i = from + 1; i < from + 8; ++i) {
            const auto key = hn::Load(d, &maxima.keys[i][lane]);
            largest.at = hn::IfThenElse(hn::Gt(key, largest.key), hn::Set(d, i), largest.at);
            largest.key = hn::Max(key, largest.key);
        }
        return largest;
    }

    HWY_NOINLINE void leave(int i) {
        --count;
        solvers[i] = solvers[count];
        for (auto& keys : maxima.keys) keys[i] = keys[count];
        p[count] = y[count] = 1;
    }
};

// One rotation of each matrix of a squad. What the squads that turned last and turn next need is spread between them, a
// step at a time and long after the one before, so that none has to wait.
HWY_NOINLINE void Turn(Squad& turning, Squad& next, Squad& last) {
    for (int i = 0; i < kSquad; ++i) {
        if (i < turning.count) turning.rotate(i);
        if (i == 0 && next.count != 0) next.findTangents();
        if (i == 2 && next.count != 0) next.findAngles();
        if (i == 3 && last.count != 0) last.findPivots();
    }
}

void Solve(const EigenProblem* problems, int count, int iterFactor) {
    Solver solvers[kJacobiBatch];
    Squad a, b, c;
    Squad* const squads[] = {&a, &b, &c};
    static_assert(kJacobiBatch == std::size(squads) * kSquad);
    for (int i = 0; i < count; ++i) {
        solvers[i].start(problems[i].matrix);
        squads[i % std::size(squads)]->add(solvers[i]);
    }
    for (Squad* squad : squads) {
        squad->findPivots();
        squad->findTangents();
        squad->findAngles();
    }
    for (int64_t i = 0; i < int64_t{81} * iterFactor && a.count + b.count + c.count != 0; ++i) {
        Turn(a, b, c);
        Turn(b, c, a);
        Turn(c, a, b);
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
