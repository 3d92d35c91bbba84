#include "libCore/core/source/neon/curve_powers.h"

#include <bit>
#include <cstdint>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "libCore/core/source/neon/curve_powers.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace eis {
namespace HWY_NAMESPACE {

void CurvePowers(const double* HWY_RESTRICT logs, int count, double exponent, double* HWY_RESTRICT powers) {
    constexpr double kRound = 6755399441055744.0;  // added, leaves an integer in the lowest bits
    for (int k = 0; k < count; ++k) {
        const double wanted = exponent * logs[k];
        const double x = wanted > -700.0 ? wanted : -700.0;
        const double shifted = x * 1.4426950408889634 + kRound;
        const double halvings = shifted - kRound;
        const double r = (x - halvings * 0.693147180369123816) - halvings * 1.90821492927058770e-10;
        double sum = 1.0 + r * (1.0 / 12);
        for (int i = 11; i >= 1; --i) sum = 1.0 + r * (1.0 / i) * sum;
        powers[k] = sum * std::bit_cast<double>((std::bit_cast<uint64_t>(shifted) + 1023) << 52);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace eis
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace eis {

HWY_EXPORT(CurvePowers);

void CurvePowers_neon(const double* logs, int count, double exponent, double* powers) {
    HWY_DYNAMIC_DISPATCH(CurvePowers)(logs, count, exponent, powers);
}

}  // namespace eis
#endif
