// Powers for the strength curves.
#pragma once

namespace eis {

// powers[k] becomes the exponent-th power of the number whose natural logarithm is logs[k], at most 0: e to
// exponent * logs[k], by reduction to half a binary logarithm and a Taylor polynomial. The exponent is above 0, the
// count at least 8. Its relative error is below 1e-11 where the power is above 1e-17; below, both are too small for any
// table.
void CurvePowers(const double* logs, int count, double exponent, double* powers);
void CurvePowers_plain(const double* logs, int count, double exponent, double* powers);

}  // namespace eis
