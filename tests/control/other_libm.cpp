#include "tests/control/other_libm.h"

#include <bit>
#include <cmath>

namespace {

struct State {
    int64_t powUlps = 0;
    int64_t logUlps = 0;
    bool alternating = false;
    bool fromLongDouble = false;
};
State g_state;

// 0 and 1 are exact in every library, as are infinities and NaNs.
double shifted(double value, int64_t ulps) {
    if (ulps == 0 || value == 0.0 || value == 1.0 || !std::isfinite(value)) return value;
    return std::bit_cast<double>(std::bit_cast<int64_t>(value) + ulps);
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {
double __real_pow(double base, double exponent);
double __real_log(double value);

double __wrap_pow(double base, double exponent) {
    if (g_state.fromLongDouble) return static_cast<double>(std::pow(static_cast<long double>(base), exponent));
    const int64_t ulps = g_state.powUlps;
    if (g_state.alternating) g_state.powUlps = -ulps;
    return shifted(__real_pow(base, exponent), ulps);
}

double __wrap_log(double value) {
    if (g_state.fromLongDouble) return static_cast<double>(std::log(static_cast<long double>(value)));
    return shifted(__real_log(value), g_state.logUlps);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace eis::test {

OtherLibm OtherLibm::shiftedPow(int64_t ulps, Pattern pattern) {
    g_state.powUlps = ulps;
    g_state.alternating = pattern == Pattern::kAlternating;
    return {};
}

OtherLibm OtherLibm::shiftedLog(int64_t ulps) {
    g_state.logUlps = ulps;
    return {};
}

OtherLibm OtherLibm::fromLongDouble() {
    g_state.fromLongDouble = true;
    return {};
}

OtherLibm::~OtherLibm() {
    g_state = State{};
}

}  // namespace eis::test
