#include "std/math/lsfit.h"

#include "std/math/polyroot.h"
#include "std/math/scalar.h"

#include <cmath>

namespace {

constexpr double kStable = 1e-15;

// num / den, refused when den is not clearly larger than num's rounding.
double guardedDivide(double num, double den)
{
    if (!(std::fabs(den) > kStable * std::fabs(num))) throw ycLSPointToPointFitter::UnstableErr();
    return num / den;
}

} // namespace

ycLSPointToPointFitter::ycLSPointToPointFitter(const std::vector<ycVector<2>>& targets,
                                               const std::vector<ycVector<2>>& sources)
{
    if (targets.size() != sources.size()) throw BadArgErr();
    for (std::size_t i = 0; i < targets.size(); ++i) update(targets[i], sources[i]);
}

ycXform<2> ycLSPointToPointFitter::fit(int dof) const
{
    switch (dof) {
    case 3:
        return rigid();
    case 4:
        return similarity();
    case 5:
        return fiveParameter();
    case 6:
        return affine();
    default:
        throw BadArgErr();
    }
}

ycXform<2> ycLSPointToPointFitter::withTranslation(double m00, double m01, double m10, double m11) const
{
    const double n = n_;
    ycVector<2> t((s_.x1 - m00 * s_.x2 - m01 * s_.y2) / n, (s_.y1 - m10 * s_.x2 - m11 * s_.y2) / n);
    return ycXform<2>(ycMatrix<2>(m00, m01, m10, m11), t);
}

ycXform<2> ycLSPointToPointFitter::rigid() const
{
    const double n = n_;
    if (n < 2.0) throw UnstableErr();
    double u = n * (s_.x1x2 + s_.y1y2) - s_.x1 * s_.x2 - s_.y1 * s_.y2;
    double v = n * (s_.y1x2 - s_.x1y2) + s_.x1 * s_.y2 - s_.y1 * s_.x2;
    double theta = std::atan2(v, u);
    if (yfRealEq(u, 0.0, kStable) && yfRealEq(v, 0.0, kStable)) throw UnstableErr();
    double c = std::cos(theta), s = std::sin(theta);
    ycVector<2> t((s_.x1 - c * s_.x2 + s * s_.y2) / n, (s_.y1 - s * s_.x2 - c * s_.y2) / n);
    return yc2Rigid(ycDegree(ycRadian(theta)), t).linear();
}

ycXform<2> ycLSPointToPointFitter::similarity() const
{
    const double n = n_;
    if (n < 2.0) throw UnstableErr();
    double d = n * (s_.x2x2 + s_.y2y2) - s_.x2 * s_.x2 - s_.y2 * s_.y2;
    double a = n * (s_.x1x2 + s_.y1y2) - s_.x1 * s_.x2 - s_.y1 * s_.y2;
    double b = n * (s_.y1x2 - s_.x1y2) + s_.x1 * s_.y2 - s_.y1 * s_.x2;
    double alpha = guardedDivide(a, d);
    double beta = guardedDivide(b, d);
    ycVector<2> t((s_.x1 - alpha * s_.x2 + beta * s_.y2) / n, (s_.y1 - beta * s_.x2 - alpha * s_.y2) / n);
    return ycXform<2>(ycMatrix<2>(alpha, -beta, beta, alpha), t);
}

ycLSPointToPointFitter::Centred ycLSPointToPointFitter::centred() const
{
    const double n = n_;
    return {s_.x2x2 - s_.x2 * s_.x2 / n, s_.x2y2 - s_.x2 * s_.y2 / n, s_.y2y2 - s_.y2 * s_.y2 / n,
            s_.x1x2 - s_.x1 * s_.x2 / n, s_.x1y2 - s_.x1 * s_.y2 / n, s_.y1x2 - s_.y1 * s_.x2 / n,
            s_.y1y2 - s_.y1 * s_.y2 / n};
}

ycXform<2> ycLSPointToPointFitter::affine() const
{
    if (n_ < 3) throw UnstableErr();
    const Centred c = centred();
    double delta = c.sxx * c.syy - c.sxy * c.sxy;
    return withTranslation(guardedDivide(c.syy * c.pxx - c.sxy * c.pxy, delta),
                           guardedDivide(c.sxx * c.pxy - c.sxy * c.pxx, delta),
                           guardedDivide(c.syy * c.qyx - c.sxy * c.qyy, delta),
                           guardedDivide(c.sxx * c.qyy - c.sxy * c.qyx, delta));
}

ycXform<2> ycLSPointToPointFitter::fiveParameter() const
{
    if (n_ < 3) throw UnstableErr();
    const Centred c = centred();
    double k = c.pxx * c.pxy + c.qyx * c.qyy;
    double l = c.sxx * (c.pxy * c.pxy + c.qyy * c.qyy) + c.syy * (c.pxx * c.pxx + c.qyx * c.qyx);
    double m = c.sxx * c.syy * k;
    double t = 0.0, other = 0.0;
    if (yfSolveQuadratic(k, l, m, t, other) == 0) throw UnstableErr();
    double delta = c.sxx * c.syy - t * t;
    return withTranslation(guardedDivide(c.syy * c.pxx + t * c.pxy, delta),
                           guardedDivide(c.sxx * c.pxy + t * c.pxx, delta),
                           guardedDivide(c.syy * c.qyx + t * c.qyy, delta),
                           guardedDivide(c.sxx * c.qyy + t * c.qyx, delta));
}

double ycLSPointToPointFitter::error(const ycXform<2>& x) const
{
    const double n = n_;
    const ycMatrix<2>& m = x.matrix();
    const double m00 = m.element(0, 0), m01 = m.element(0, 1), m10 = m.element(1, 0), m11 = m.element(1, 1);
    const double tx = x.trans().x(), ty = x.trans().y();
    return s_.x1x1 + n * tx * tx + s_.y1y1 + n * ty * ty + (m00 * m00 + m10 * m10) * s_.x2x2 +
           (m01 * m01 + m11 * m11) * s_.y2y2 +
           2.0 * ((m00 * tx + m10 * ty) * s_.x2 + (m01 * tx + m11 * ty) * s_.y2 + (m00 * m01 + m10 * m11) * s_.x2y2 -
                  tx * s_.x1 - ty * s_.y1 - m00 * s_.x1x2 - m01 * s_.x1y2 - m10 * s_.y1x2 - m11 * s_.y1y2);
}

ycLSPointToPointFitter operator*(const ycXform<2>& x, const ycLSPointToPointFitter& f)
{
    const ycMatrix<2>& m = x.matrix();
    const double a = m.element(0, 0), b = m.element(0, 1), c = m.element(1, 0), d = m.element(1, 1);
    const double tx = x.trans().x(), ty = x.trans().y(), n = f.n_;
    const auto& s = f.s_;
    ycLSPointToPointFitter out = f;
    auto& o = out.s_;
    // Targets become x1' = a x1 + b y1 + tx, y1' = c x1 + d y1 + ty.
    o.x1 = a * s.x1 + b * s.y1 + n * tx;
    o.y1 = c * s.x1 + d * s.y1 + n * ty;
    o.x1x1 = a * a * s.x1x1 + b * b * s.y1y1 + n * tx * tx + 2.0 * (a * b * s.x1y1 + a * tx * s.x1 + b * tx * s.y1);
    o.y1y1 = c * c * s.x1x1 + d * d * s.y1y1 + n * ty * ty + 2.0 * (c * d * s.x1y1 + c * ty * s.x1 + d * ty * s.y1);
    o.x1y1 = a * c * s.x1x1 + b * d * s.y1y1 + (a * d + b * c) * s.x1y1 + (a * ty + c * tx) * s.x1 +
             (b * ty + d * tx) * s.y1 + n * tx * ty;
    o.x1x2 = a * s.x1x2 + b * s.y1x2 + tx * s.x2;
    o.x1y2 = a * s.x1y2 + b * s.y1y2 + tx * s.y2;
    o.y1x2 = c * s.x1x2 + d * s.y1x2 + ty * s.x2;
    o.y1y2 = c * s.x1y2 + d * s.y1y2 + ty * s.y2;
    return out;
}
