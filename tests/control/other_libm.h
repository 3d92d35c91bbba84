// Stands in for another C library: shifts the results of pow and log, or rounds them from the longer type. What no
// OtherLibm is alive for, the real functions answer.
#pragma once

#include <cstdint>

namespace eis::test {

class OtherLibm {
  public:
    enum class Pattern { kSame, kAlternating };  // the shift's sign, call by call

    // Results move away from zero by so many units in their last place.
    static OtherLibm shiftedPow(int64_t ulps, Pattern pattern = Pattern::kSame);
    static OtherLibm shiftedLog(int64_t ulps);
    // Computed in long double and rounded once: correct but for values within 2^-11 ulp or less of a tie.
    static OtherLibm fromLongDouble();

    OtherLibm(const OtherLibm&) = delete;
    OtherLibm& operator=(const OtherLibm&) = delete;
    ~OtherLibm();

  private:
    OtherLibm() = default;
};

}  // namespace eis::test
