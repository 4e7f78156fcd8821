#include "std/math/xfpoly.h"

#include <cmath>
#include <utility>

namespace {
using Coefficients = std::vector<double>;

// Position of x^i y^j in the coefficient list.
constexpr std::size_t slot(int i, int j)
{
    int k = i + j;
    return static_cast<std::size_t>(k) * static_cast<std::size_t>(k + 1) / 2 + static_cast<std::size_t>(j);
}

// The product of two polynomials whose degrees add up to at most `degree`.
Coefficients multiply(const Coefficients& a, const Coefficients& b, int degree)
{
    Coefficients r(a.size(), 0.0);
    for (int ka = 0; ka <= degree; ++ka) {
        for (int ja = 0; ja <= ka; ++ja) {
            double ca = a[slot(ka - ja, ja)];
            if (ca == 0.0) continue;
            for (int kb = 0; ka + kb <= degree; ++kb) {
                for (int jb = 0; jb <= kb; ++jb) {
                    r[slot(ka - ja + kb - jb, ja + jb)] += ca * b[slot(kb - jb, jb)];
                }
            }
        }
    }
    return r;
}

// 1, x, x^2, ..., x^degree.
void powers(double x, int degree, double* out)
{
    out[0] = 1.0;
    for (int i = 1; i <= degree; ++i) out[i] = out[i - 1] * x;
}
} // namespace

yc2XformPoly::yc2XformPoly() : cx_{0.0, 1.0, 0.0}, cy_{0.0, 0.0, 1.0} {}

yc2XformPoly::yc2XformPoly(int degree, std::vector<double> xCoefficients, std::vector<double> yCoefficients)
{
    check(degree, xCoefficients, yCoefficients);
    degree_ = degree;
    cx_ = std::move(xCoefficients);
    cy_ = std::move(yCoefficients);
}

yc2XformPoly::yc2XformPoly(int degree, const ycXform<2>& x)
{
    if (degree < 1 || degree > kMaxDegree) throw BadParams();
    Coefficients cx(coefficientCount(degree), 0.0);
    Coefficients cy(cx.size(), 0.0);
    const ycMatrix<2>& m = x.matrix();
    cx[0] = x.trans().x();
    cx[1] = m.element(0, 0);
    cx[2] = m.element(0, 1);
    cy[0] = x.trans().y();
    cy[1] = m.element(1, 0);
    cy[2] = m.element(1, 1);
    check(degree, cx, cy);
    degree_ = degree;
    cx_ = std::move(cx);
    cy_ = std::move(cy);
}

yc2XformPoly::yc2XformPoly(const std::vector<ycVector<2>>&, const std::vector<ycVector<2>>&, int)
{
    throw yc2XformDefs::NotImplemented();
}

yc2XformPoly::~yc2XformPoly() = default;

void yc2XformPoly::check(int degree, const std::vector<double>& cx, const std::vector<double>& cy)
{
    if (degree < 1 || degree > kMaxDegree) throw BadParams();
    std::size_t n = coefficientCount(degree);
    if (cx.size() != n || cy.size() != n) throw BadParams();
    for (std::size_t i = 0; i < n; ++i) {
        if (!std::isfinite(cx[i]) || !std::isfinite(cy[i])) throw BadParams();
    }
}

void yc2XformPoly::leftCompose(const ycXform<2>& l)
{
    const ycMatrix<2>& m = l.matrix();
    Coefficients cx(cx_.size());
    Coefficients cy(cy_.size());
    for (std::size_t i = 0; i < cx.size(); ++i) {
        cx[i] = m.element(0, 0) * cx_[i] + m.element(0, 1) * cy_[i];
        cy[i] = m.element(1, 0) * cx_[i] + m.element(1, 1) * cy_[i];
    }
    cx[0] += l.trans().x();
    cy[0] += l.trans().y();
    mutating();
    cx_ = std::move(cx);
    cy_ = std::move(cy);
}

ycVector<2> yc2XformPoly::mapPoint(const ycVector<2>& p) const
{
    double xp[kMaxDegree + 1];
    double yp[kMaxDegree + 1];
    powers(p.x(), degree_, xp);
    powers(p.y(), degree_, yp);
    double u = 0.0;
    double v = 0.0;
    std::size_t n = 0;
    for (int k = 0; k <= degree_; ++k) {
        for (int j = 0; j <= k; ++j, ++n) {
            double term = xp[k - j] * yp[j];
            u += cx_[n] * term;
            v += cy_[n] * term;
        }
    }
    return ycVector<2>(u, v);
}

bool yc2XformPoly::isLinear() const
{
    for (std::size_t n = 3; n < cx_.size(); ++n) {
        if (cx_[n] != 0.0 || cy_[n] != 0.0) return false;
    }
    return true;
}

yc2XformLinear yc2XformPoly::linearXform(const ycVector<2>& at) const
{
    double xp[kMaxDegree + 1];
    double yp[kMaxDegree + 1];
    powers(at.x(), degree_, xp);
    powers(at.y(), degree_, yp);
    // Partial derivatives of both outputs: d/dx x^i y^j = i x^(i-1) y^j.
    double uxx = 0.0, uxy = 0.0, uyx = 0.0, uyy = 0.0;
    std::size_t n = 0;
    for (int k = 0; k <= degree_; ++k) {
        for (int j = 0; j <= k; ++j, ++n) {
            int i = k - j;
            double dx = i > 0 ? i * xp[i - 1] * yp[j] : 0.0;
            double dy = j > 0 ? j * xp[i] * yp[j - 1] : 0.0;
            uxx += cx_[n] * dx;
            uxy += cx_[n] * dy;
            uyx += cy_[n] * dx;
            uyy += cy_[n] * dy;
        }
    }
    ycMatrix<2> jac(uxx, uxy, uyx, uyy);
    return yc2XformLinear(jac, mapPoint(at) - jac * at);
}

ycPtrHandle<yc2XformBase> yc2XformPoly::composeBase(const yc2XformBase& rhs) const
{
    if (!rhs.isLinear()) return yc2XformBase::composeBase(rhs);
    // Substitute u = a x + b y + tx and v = c x + d y + ty into both outputs.
    ycXform<2> l = rhs.linearXform(ycVector<2>()).xform();
    const ycMatrix<2>& m = l.matrix();
    std::size_t count = cx_.size();
    Coefficients u(count, 0.0);
    Coefficients v(count, 0.0);
    u[0] = l.trans().x();
    u[1] = m.element(0, 0);
    u[2] = m.element(0, 1);
    v[0] = l.trans().y();
    v[1] = m.element(1, 0);
    v[2] = m.element(1, 1);
    Coefficients one(count, 0.0);
    one[0] = 1.0;
    Coefficients rx(count, 0.0);
    Coefficients ry(count, 0.0);
    Coefficients ui = one; // u^i
    for (int i = 0; i <= degree_; ++i) {
        Coefficients term = ui; // u^i v^j
        for (int j = 0; i + j <= degree_; ++j) {
            double ax = cx_[slot(i, j)];
            double ay = cy_[slot(i, j)];
            for (std::size_t n = 0; n < count; ++n) {
                rx[n] += ax * term[n];
                ry[n] += ay * term[n];
            }
            if (i + j < degree_) term = multiply(term, v, degree_);
        }
        if (i < degree_) ui = multiply(ui, u, degree_);
    }
    for (std::size_t n = 0; n < count; ++n) {
        if (!std::isfinite(rx[n]) || !std::isfinite(ry[n])) return yc2XformBase::composeBase(rhs);
    }
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformPoly(degree_, std::move(rx), std::move(ry)));
}

ycPtrHandle<yc2XformBase> yc2XformPoly::inverseBase() const
{
    if (!isLinear()) throw yc2XformDefs::NotImplemented();
    ycXform<2> l = linearXform(ycVector<2>()).xform();
    if (l.isSingular()) throw IllDefined();
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformPoly(1, l.inverse()));
}

ycPtrHandle<yc2XformBase> yc2XformPoly::clone() const
{
    return ycPtrHandle<yc2XformBase>(ymNew yc2XformPoly(*this));
}

void yc2XformPoly::dispatchSerialize(ycArchive& ar)
{
    serializeLevel(ar, this, 0, [&](std::uint8_t version) { yc2XformPoly::serialize_(ar, version); });
}

void yc2XformPoly::serialize_(ycArchive& ar, std::uint8_t version)
{
    if (version != 0) unknownVersion(kSourceName, __LINE__);
    yc2XformBase::dispatchSerialize(ar);
    std::int32_t degree = degree_;
    ar || degree;
    if (ar.isStoring()) {
        for (double& c : cx_) ar || c;
        for (double& c : cy_) ar || c;
        return;
    }
    if (degree < 1 || degree > kMaxDegree) throw BadParams();
    Coefficients cx(coefficientCount(degree));
    Coefficients cy(cx.size());
    for (double& c : cx) ar || c;
    for (double& c : cy) ar || c;
    check(degree, cx, cy);
    mutating();
    degree_ = degree;
    cx_ = std::move(cx);
    cy_ = std::move(cy);
}
