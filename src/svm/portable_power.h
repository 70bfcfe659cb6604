// Real powers in the same bits on every machine.
#pragma once

namespace qrvml {

/// x^y within 1.5 + |y log(x)| / 32 ulp; no library function of that kind is used. A negative x has
/// a power only for an integral y (else not-a-number); x^0 = 1; 0^y is 0, or infinite for y < 0. A
/// not-a-number gives one, except that x^0 = 1 always.
double PortablePower(double x, double y);

}  // namespace qrvml
