// Polynomial roots.
//
// yfSolveQuadratic(a, b, c, r1, r2) solves a x^2 + b x + c = 0 and returns
// how many distinct real roots it found:
//   2  r1 = c / q, r2 = q / a, with q = -(b + sign(b) sqrt(b^2 - 4ac)) / 2
//      (sign(0) taken as +1). This pair avoids the cancellation of
//      (-b +- sqrt(D)) / 2a, and r1 is the root of smaller magnitude.
//   1  a double root (D == 0), or a == 0 and the linear equation b x + c = 0
//      has its one root; r1 == r2.
//   0  D < 0, or a == 0 and b == 0; r1 and r2 are left as they were.
// Callers that want "the" root of a nearly linear quadratic take r1: as a
// tends to 0 it tends to the root of b x + c = 0 while r2 runs away.
#ifndef TLVSTD_MATH_POLYROOT_H
#define TLVSTD_MATH_POLYROOT_H

#include "std/except/except.h"

class ycPolynomialRootFinder {
public:
    ymErrorGroup(ycException);
    ymError(BadParams, Errors);
};

TLVSTD_API int yfSolveQuadratic(double a, double b, double c, double& r1, double& r2);

#endif
