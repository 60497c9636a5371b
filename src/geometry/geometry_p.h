// Inline forms of the geometry kernel's arithmetic for the library's own hot loops.
//
// Each helper performs exactly the operations, in exactly the order, of the exported
// function it stands for, so that a loop using it gets the same bits as one calling the
// exported function (the build does not contract a*b + c into fused operations, so
// inlining changes no rounding). What the helpers save is the call through the PLT,
// the per-call setup (a chord's line rebuilt for every point) and, with tracing off, the
// trace scope.
//
// The exported functions that write trace lines stay the reference: a loop that uses a
// helper standing in for one of them is written once, as a template, and runs with the
// Traced* twin while tracing, which calls the exported function itself, so that the trace
// shows every call it always showed.
#ifndef LIBUTILITY_GEOMETRY_GEOMETRY_P_H
#define LIBUTILITY_GEOMETRY_GEOMETRY_P_H

#include <libutility/geometry/geometry.h>
#include <libutility/logging/logsystem.h>

#include <QPointF>
#include <QRectF>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Util {
namespace detail {

/// Util::getInnerProduct.
inline double dot(const QPointF &v1, const QPointF &v2)
{
    return v1.x() * v2.x() + v1.y() * v2.y();
}

/// Util::getDistance.
inline double distance(const QPointF &a, const QPointF &b)
{
    const double dx = a.x() - b.x();
    const double dy = a.y() - b.y();
    return std::sqrt(dx * dx + dy * dy);
}

/// 1 if value is an infinity or a NaN (its exponent field all ones), else 0: a flag that
/// a loop can gather with | and no jump, so that the compiler checks several at a time.
inline std::uint64_t nonFinite(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return (((bits >> 52) & 0x7ff) + 1) >> 11;
}

/// Util::vectorLeftOrRight: sign of the cross product, 0 within 1e-9, -1 for a NaN.
inline int leftOrRight(const QPointF &v1, const QPointF &v2)
{
    const double value = v1.x() * v2.y() - v1.y() * v2.x();
    // Written without jumps: the sign of a point's side of a chord is not predictable.
    const int sign = value > 0.0 ? 1 : -1;
    return std::fabs(value) < 1e-9 ? 0 : sign;
}

#if defined(__SSE2__)
/// distance(p[0], p[1]) and distance(p[1], p[2]), lane by lane: two steps of a stroke
/// with one root instruction.
inline __m128d twoStepLengths(const QPointF *p)
{
    const __m128d p0 = _mm_loadu_pd(reinterpret_cast<const double *>(p));
    const __m128d p1 = _mm_loadu_pd(reinterpret_cast<const double *>(p + 1));
    const __m128d p2 = _mm_loadu_pd(reinterpret_cast<const double *>(p + 2));
    const __m128d dx = _mm_sub_pd(_mm_unpacklo_pd(p0, p1), _mm_unpacklo_pd(p1, p2));
    const __m128d dy = _mm_sub_pd(_mm_unpackhi_pd(p0, p1), _mm_unpackhi_pd(p1, p2));
    return _mm_sqrt_pd(_mm_add_pd(_mm_mul_pd(dx, dx), _mm_mul_pd(dy, dy)));
}
#endif

/// One box of CFigureRecogniser::getAllSegmentRect: segment a-b's bounding box, with no
/// width or no height for an upright or level segment.
inline QRectF segmentBox(const QPointF &a, const QPointF &b)
{
    return QRectF(std::min(a.x(), b.x()), std::min(a.y(), b.y()), std::fabs(b.x() - a.x()),
        std::fabs(b.y() - a.y()));
}

/// Util::getLineCoefficient(a, b, ...): la * x + lb * y + lc = 0 on the line through a
/// and b; with la * la + lb * lb, whose root is the length of a-b.
struct LineCoefficients
{
    LineCoefficients(const QPointF &a, const QPointF &b)
        : la(b.y() - a.y())
        , lb(a.x() - b.x())
        , lc(b.x() * a.y() - a.x() * b.y())
        , squaredNorm(la * la + lb * lb)
    { }

    double la, lb, lc, squaredNorm;
};

/// Util::calcDistanceToLineSegment(a, b, p, nullptr) for many p against one chord a-b:
/// the chord's line coefficients and their norm are computed once.
class SegmentDistance
{
public:
    SegmentDistance(const QPointF &a, const QPointF &b)
        : m_a(a)
        , m_b(b)
        , m_ab(a - b)
        , m_ba(b - a)
        , m_line(a, b)
        , m_norm(std::sqrt(m_line.squaredNorm))
    { }

    double operator()(const QPointF &p) const
    {
        // "Not less than zero" so that a NaN product also picks a, as the original does.
        if (!(dot(m_ab, p - m_a) < 0.0))
            return distance(p, m_a);
        if (dot(m_ba, p - m_b) >= 0.0)
            return distance(p, m_b);
        return std::fabs(m_line.la * p.x() + m_line.lb * p.y() + m_line.lc) / m_norm;
    }

    /// The chord's length: bit for bit Util::getDistance(a, b), since the sum of squares
    /// is the same sum in another order of its two terms.
    double length() const { return m_norm; }

private:
    QPointF m_a, m_b, m_ab, m_ba;
    LineCoefficients m_line;
    double m_norm;
};

/// SegmentDistance through the exported, traced function: what a loop uses while tracing,
/// so that the trace shows every call.
class TracedSegmentDistance
{
public:
    TracedSegmentDistance(const QPointF &a, const QPointF &b)
        : m_a(a)
        , m_b(b)
    { }

    double operator()(const QPointF &p) const
    {
        return calcDistanceToLineSegment(m_a, m_b, p, nullptr);
    }

    double length() const { return getDistance(m_a, m_b); }

private:
    QPointF m_a, m_b;
};

} // namespace detail
} // namespace Util

#endif
