#include <libutility/recognition/ellipsefit.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace CFigureRecogniser {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kCircleRatio = 0.9; // ry >= 0.9 rx: a circle
constexpr double kMaxAxisOverSpread = 1000.0;
constexpr int kResidualPoints = 256; // the residual of a longer stroke is sampled

using Vec3 = std::array<double, 3>;
using Mat3 = std::array<Vec3, 3>;

Vec3 cross(const Vec3 &a, const Vec3 &b)
{
    return { a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0] };
}

double dot(const Vec3 &a, const Vec3 &b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Mat3 multiply(const Mat3 &a, const Mat3 &b)
{
    Mat3 c {};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k)
                c[i][j] += a[i][k] * b[k][j];
    return c;
}

Mat3 transposed(const Mat3 &a)
{
    Mat3 t {};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            t[i][j] = a[j][i];
    return t;
}

// Inverse of a symmetric positive definite 3x3 matrix by cofactors; false when it is
// (numerically) singular.
bool invert(const Mat3 &m, Mat3 &inv)
{
    const Vec3 c0 = cross(m[1], m[2]), c1 = cross(m[2], m[0]), c2 = cross(m[0], m[1]);
    const double det = dot(m[0], c0);
    double scale = 0.0;
    for (const Vec3 &row : m)
        for (double v : row)
            scale = std::max(scale, std::fabs(v));
    if (!(std::fabs(det) > 1e-12 * scale * scale * scale))
        return false;
    for (int i = 0; i < 3; ++i) {
        inv[i][0] = c0[i] / det;
        inv[i][1] = c1[i] / det;
        inv[i][2] = c2[i] / det;
    }
    return true;
}

// The real roots of x^3 + a x^2 + b x + c.
int cubicRoots(double a, double b, double c, double roots[3])
{
    const double q = (a * a - 3.0 * b) / 9.0;
    const double r = (2.0 * a * a * a - 9.0 * a * b + 27.0 * c) / 54.0;
    if (r * r < q * q * q) {
        const double theta = std::acos(std::max(-1.0, std::min(1.0, r / std::sqrt(q * q * q))));
        const double s = -2.0 * std::sqrt(q);
        roots[0] = s * std::cos(theta / 3.0) - a / 3.0;
        roots[1] = s * std::cos((theta + 2.0 * kPi) / 3.0) - a / 3.0;
        roots[2] = s * std::cos((theta - 2.0 * kPi) / 3.0) - a / 3.0;
        return 3;
    }
    const double big = -std::copysign(std::cbrt(std::fabs(r) + std::sqrt(r * r - q * q * q)), r);
    const double small = big != 0.0 ? q / big : 0.0;
    roots[0] = big + small - a / 3.0;
    return 1;
}

// The eigenvector of m for the eigenvalue lambda: the longest cross product of two rows
// of m - lambda I.
Vec3 eigenvector(Mat3 m, double lambda)
{
    for (int i = 0; i < 3; ++i)
        m[i][i] -= lambda;
    Vec3 best = cross(m[0], m[1]);
    for (const Vec3 &v : { cross(m[1], m[2]), cross(m[2], m[0]) })
        if (dot(v, v) > dot(best, best))
            best = v;
    return best;
}

bool finite(std::initializer_list<double> values)
{
    for (double v : values)
        if (!std::isfinite(v))
            return false;
    return true;
}

// First-order geometric distance of the points from the ellipse (the algebraic error over
// its gradient), as a root-mean-square over the mean radius. Squared throughout: no root
// per point. A long stroke is sampled at an even stride: the division per point would
// otherwise cost as much as the whole fit.
double relativeResidual(const QVector<QPointF> &points, const CEllipseFit &e)
{
    const double a = e.angle * kPi / 180.0, c = std::cos(a), s = std::sin(a);
    const double irx = 1.0 / e.rx, iry = 1.0 / e.ry;
    const int stride = std::max(1, int(points.size()) / kResidualPoints);
    double sum = 0.0;
    int count = 0;
    for (int i = 0; i < points.size(); i += stride, ++count) {
        const QPointF &p = points[i];
        const double dx = p.x() - e.cx, dy = p.y() - e.cy;
        const double u = (c * dx + s * dy) * irx, v = (-s * dx + c * dy) * iry;
        const double q = u * u + v * v - 1.0;
        const double gu = u * irx, gv = v * iry;
        const double g2 = 4.0 * (gu * gu + gv * gv);
        // At the centre the gradient vanishes; the distance there is the minor axis.
        sum += g2 > 0.0 ? q * q / g2 : e.ry * e.ry;
    }
    return std::sqrt(sum / count) / ((e.rx + e.ry) * 0.5);
}

} // namespace

CEllipseFit fitEllipse(const QVector<QPointF> &stroke)
{
    const CEllipseFit failed;
    const int n = stroke.size();
    if (n < 5)
        return failed;

    double mx = 0.0, my = 0.0;
    for (const QPointF &p : stroke) {
        if (!finite({ p.x(), p.y() }))
            return failed;
        mx += p.x();
        my += p.y();
    }
    mx /= n;
    my /= n;
    // Moments of the centred points up to the fourth order, in one pass; those of the
    // normalised points follow by dividing by powers of the scale.
    double m40 = 0, m31 = 0, m22 = 0, m13 = 0, m04 = 0, m30 = 0, m21 = 0, m12 = 0, m03 = 0;
    double m20 = 0, m11 = 0, m02 = 0, m10 = 0, m01 = 0;
    for (const QPointF &p : stroke) {
        const double x = p.x() - mx, y = p.y() - my;
        const double xx = x * x, xy = x * y, yy = y * y;
        m40 += xx * xx;
        m31 += xx * xy;
        m22 += xx * yy;
        m13 += xy * yy;
        m04 += yy * yy;
        m30 += xx * x;
        m21 += xx * y;
        m12 += x * yy;
        m03 += yy * y;
        m20 += xx;
        m11 += xy;
        m02 += yy;
        m10 += x;
        m01 += y;
    }
    // Collinear points (or one spot): the scatter has no second direction.
    const double spread = m20 + m02;
    if (!finite({ mx, my, spread, m40, m04 }) || !(spread > 0.0)
        || m20 * m02 - m11 * m11 <= 1e-12 * spread * spread)
        return failed;
    const double scale = std::sqrt(spread / n);
    const double k1 = 1.0 / scale, k2 = k1 * k1, k3 = k2 * k1, k4 = k2 * k2;
    m40 *= k4, m31 *= k4, m22 *= k4, m13 *= k4, m04 *= k4;
    m30 *= k3, m21 *= k3, m12 *= k3, m03 *= k3;
    m20 *= k2, m11 *= k2, m02 *= k2, m10 *= k1, m01 *= k1;

    // Scatter matrices of the quadratic terms (x^2, xy, y^2) and the linear ones (x, y, 1).
    const Mat3 s1 { Vec3 { m40, m31, m22 }, Vec3 { m31, m22, m13 }, Vec3 { m22, m13, m04 } };
    const Mat3 s2 { Vec3 { m30, m21, m20 }, Vec3 { m21, m12, m11 }, Vec3 { m12, m03, m02 } };
    const Mat3 s3 { Vec3 { m20, m11, m10 }, Vec3 { m11, m02, m01 }, Vec3 { m10, m01, double(n) } };
    Mat3 s3inv {};
    if (!invert(s3, s3inv))
        return failed;
    // The linear part in terms of the quadratic one: a2 = t a1.
    Mat3 t = multiply(s3inv, transposed(s2));
    for (Vec3 &row : t)
        for (double &v : row)
            v = -v;
    Mat3 m = multiply(s2, t);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            m[i][j] += s1[i][j];
    // Premultiplied by the inverse of the constraint matrix [[0,0,2],[0,-1,0],[2,0,0]].
    const Mat3 reduced { Vec3 { m[2][0] / 2, m[2][1] / 2, m[2][2] / 2 },
        Vec3 { -m[1][0], -m[1][1], -m[1][2] }, Vec3 { m[0][0] / 2, m[0][1] / 2, m[0][2] / 2 } };

    const double trace = reduced[0][0] + reduced[1][1] + reduced[2][2];
    const double minors = reduced[0][0] * reduced[1][1] - reduced[0][1] * reduced[1][0]
        + reduced[0][0] * reduced[2][2] - reduced[0][2] * reduced[2][0]
        + reduced[1][1] * reduced[2][2] - reduced[1][2] * reduced[2][1];
    const double det = dot(reduced[0], cross(reduced[1], reduced[2]));
    double roots[3];
    const int count = cubicRoots(-trace, minors, -det, roots);

    // The ellipse is the eigenvector whose conic has 4AC - B^2 > 0; of several, the one of
    // the least algebraic error (the smallest eigenvalue).
    Vec3 a1 {};
    double bestLambda = 0.0;
    bool found = false;
    for (int k = 0; k < count; ++k) {
        const Vec3 v = eigenvector(reduced, roots[k]);
        const double norm = std::sqrt(dot(v, v));
        if (!(norm > 0.0) || !std::isfinite(norm))
            continue;
        const Vec3 u { v[0] / norm, v[1] / norm, v[2] / norm };
        if (4.0 * u[0] * u[2] - u[1] * u[1] <= 1e-12)
            continue;
        if (!found || roots[k] < bestLambda) {
            a1 = u;
            bestLambda = roots[k];
            found = true;
        }
    }
    if (!found)
        return failed;
    if (a1[0] < 0.0) // 4AC > B^2 makes A and C of one sign: make it positive
        a1 = { -a1[0], -a1[1], -a1[2] };
    const Vec3 a2 { dot(t[0], a1), dot(t[1], a1), dot(t[2], a1) };

    // A x^2 + B xy + C y^2 + D x + E y + F = 0 in normalised coordinates.
    const double A = a1[0], B = a1[1], C = a1[2], D = a2[0], E = a2[1], F = a2[2];
    const double den = 4.0 * A * C - B * B;
    const double x0 = (B * E - 2.0 * C * D) / den, y0 = (B * D - 2.0 * A * E) / den;
    const double f0 = F + (D * x0 + E * y0) * 0.5;
    const double mean = (A + C) * 0.5, diff = std::hypot((A - C) * 0.5, B * 0.5);
    const double lMin = mean - diff, lMax = mean + diff; // both positive
    const double major = std::sqrt(-f0 / lMin), minor = std::sqrt(-f0 / lMax);
    // An axis a thousand times the spread of the points is a parabola or a line in
    // disguise: no ellipse the points show.
    if (!finite({ x0, y0, major, minor }) || !(minor > 0.0) || !(major >= minor)
        || major > kMaxAxisOverSpread)
        return failed;
    // The major axis lies along the eigenvector of the smaller eigenvalue.
    double angle = 0.5 * std::atan2(B, A - C) * 180.0 / kPi + 90.0;
    while (angle > 90.0)
        angle -= 180.0;
    while (angle <= -90.0)
        angle += 180.0;

    CEllipseFit fit;
    fit.ok = true;
    fit.cx = mx + x0 * scale;
    fit.cy = my + y0 * scale;
    fit.rx = major * scale;
    fit.ry = minor * scale;
    fit.angle = angle;
    if (fit.ry >= kCircleRatio * fit.rx) {
        fit.circle = true;
        fit.rx = fit.ry = (fit.rx + fit.ry) * 0.5;
        fit.angle = 0.0;
    }
    fit.residual = relativeResidual(stroke, fit);
    if (!finite({ fit.cx, fit.cy, fit.rx, fit.ry, fit.residual }))
        return failed;
    return fit;
}

QVector<QPointF> ellipseOutline(const CEllipseFit &ellipse, int count)
{
    QVector<QPointF> out;
    if (!ellipse.ok)
        return out;
    count = std::max(8, count);
    const double a = ellipse.angle * kPi / 180.0, c = std::cos(a), s = std::sin(a);
    out.reserve(count + 1);
    for (int i = 0; i < count; ++i) {
        const double t = 2.0 * kPi * i / count;
        const double u = ellipse.rx * std::cos(t), v = ellipse.ry * std::sin(t);
        out << QPointF(ellipse.cx + c * u - s * v, ellipse.cy + s * u + c * v);
    }
    out << out.first();
    return out;
}

} // namespace CFigureRecogniser
