#include "std/math/polyroot.h"

#include <cmath>

int yfSolveQuadratic(double a, double b, double c, double& r1, double& r2)
{
    if (a == 0.0) {
        if (b == 0.0) return 0;
        r1 = r2 = -c / b;
        return 1;
    }
    double d = b * b - 4.0 * a * c;
    if (d < 0.0) return 0;
    double q = -0.5 * (b + std::copysign(std::sqrt(d), b < 0.0 ? -1.0 : 1.0));
    if (q == 0.0) { // b == 0 and c == 0: the double root 0
        r1 = r2 = 0.0;
        return 1;
    }
    r1 = c / q;
    r2 = q / a;
    return d == 0.0 ? 1 : 2;
}
