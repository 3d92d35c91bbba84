#include "libCore/core/source/control/curve_powers.h"

#include <algorithm>
#include <cmath>

#define HWY_TARGET_INCLUDE "libCore/core/source/control/curve_powers.cpp"
#include "libCore/core/source/frame/vector_unit.h"

EIS_BEFORE_TARGET();

void Powers(const double* HWY_RESTRICT logs, int count, double exponent, double* HWY_RESTRICT powers) {
    const hn::ScalableTag<double> d;
    const hn::RebindToUnsigned<decltype(d)> dU;
    const auto one = hn::Set(d, 1.0);
    const auto round = hn::Set(d, 6755399441055744.0);  // added, leaves an integer in the lowest bits
    const int step = static_cast<int>(hn::Lanes(d));
    for (int k = 0; k < count; k += step) {
        const int at = std::min(k, count - step);
        const auto x = hn::Max(hn::Mul(hn::Set(d, exponent), hn::LoadU(d, logs + at)), hn::Set(d, -700.0));
        const auto shifted = hn::MulAdd(x, hn::Set(d, 1.4426950408889634), round);
        const auto halvings = hn::Sub(shifted, round);
        const auto r = hn::NegMulAdd(halvings, hn::Set(d, 1.90821492927058770e-10),
                                     hn::NegMulAdd(halvings, hn::Set(d, 0.693147180369123816), x));
        auto sum = one;
        for (int i = 12; i >= 1; --i) sum = hn::MulAdd(hn::Mul(r, hn::Set(d, 1.0 / i)), sum, one);
        const auto scale = hn::ShiftLeft<52>(hn::Add(hn::BitCast(dU, shifted), hn::Set(dU, 1023)));
        hn::StoreU(hn::Mul(sum, hn::BitCast(d, scale)), d, powers + at);
    }
}

EIS_AFTER_TARGET();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(Powers);

void CurvePowers(const double* logs, int count, double exponent, double* powers) {
    HWY_DYNAMIC_DISPATCH(Powers)(logs, count, exponent, powers);
}

void CurvePowers_plain(const double* logs, int count, double exponent, double* powers) {
    for (int k = 0; k < count; ++k) powers[k] = std::exp(exponent * logs[k]);
}

}  // namespace eis
#endif
