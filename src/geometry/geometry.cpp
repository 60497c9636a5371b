#include <libutility/geometry/geometry.h>

#include <libutility/logging/trace.h>

#include <QLineF>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>

namespace {

constexpr double kVirtualZero = 1e-9;
// 2^-52, the double machine epsilon: keeps a zero tolerance in isEqual usable.
constexpr double kMachineEpsilon = 2.220446049250313e-16;

double cross(const QPointF &v1, const QPointF &v2) { return v1.x() * v2.y() - v1.y() * v2.x(); }

int threeWaySign(double value)
{
    if (Util::isVirtuallyZero(value))
        return 0;
    // A NaN falls through to -1.
    return value > 0.0 ? 1 : -1;
}

// Translation that moves the four points next to the origin, so that the products of the
// line coefficients stay small.
QPointF lowerLeftOf(const QPointF &p1, const QPointF &p2, const QPointF &p3, const QPointF &p4)
{
    return QPointF(
        std::min({ p1.x(), p2.x(), p3.x(), p4.x() }), std::min({ p1.y(), p2.y(), p3.y(), p4.y() }));
}

// The first horizontal (or vertical, with byX) edge of the triangle in the order p0p1,
// p1p2, p2p0; -1 when there is none. edgeStart and third receive the edge's first vertex
// and the vertex opposite it.
int findAlignedEdge(const QPolygonF &tri, bool byX, QPointF &edgeStart, QPointF &third)
{
    static const int kEdges[3][3] = { { 0, 1, 2 }, { 1, 2, 0 }, { 0, 2, 1 } };
    for (int e = 0; e < 3; ++e) {
        const QPointF &u = tri[kEdges[e][0]];
        const QPointF &v = tri[kEdges[e][1]];
        // The edge p2p0 is tested as "p2 against p0" but its first vertex is p0.
        const bool aligned = e == 2
            ? (byX ? Util::isEqual(v.x(), u.x(), 0.09) : Util::isEqual(v.y(), u.y(), 0.09))
            : (byX ? Util::isEqual(u.x(), v.x(), 0.09) : Util::isEqual(u.y(), v.y(), 0.09));
        if (aligned) {
            edgeStart = u;
            third = tri[kEdges[e][2]];
            return e;
        }
    }
    return -1;
}

double turningAngle(const QLineF &from, const QLineF &to)
{
    double t = std::fabs(from.angleTo(to));
    if (t > 180.0)
        t = std::fabs(t - 360.0);
    return t;
}

} // namespace

namespace Util {

bool isVirtuallyZero(double x) { return std::fabs(x) < kVirtualZero; }

bool isEqual(double a, double b, double tol)
{
    const double scale = std::fabs(a) >= 0.01 ? std::fabs(a) : 1.0;
    return std::fabs(a - b) <= (tol + kMachineEpsilon) * scale;
}

double getInnerProduct(const QPointF &v1, const QPointF &v2)
{
    return v1.x() * v2.x() + v1.y() * v2.y();
}

double getVectorSize(const QPointF &v) { return std::sqrt(v.x() * v.x() + v.y() * v.y()); }

double getVectorSize(const QPoint &v)
{
    // Summed in 32-bit int as the ink model always has; done unsigned so that an overflow
    // wraps instead of being undefined.
    const auto x = static_cast<std::uint32_t>(v.x());
    const auto y = static_cast<std::uint32_t>(v.y());
    const auto sum = static_cast<std::int32_t>(x * x + y * y);
    return std::sqrt(static_cast<double>(sum));
}

QPointF getVectorDiff(const QPointF &a, const QPointF &b)
{
    return QPointF(a.x() - b.x(), a.y() - b.y());
}

double getDistance(const QPointF &a, const QPointF &b)
{
    return getVectorSize(getVectorDiff(a, b));
}

int getIntDistance(const QPointF &a, const QPointF &b)
{
    const double rounded = getDistance(a, b) + 0.5;
    if (std::isnan(rounded))
        return 0;
    if (rounded >= static_cast<double>(INT_MAX))
        return INT_MAX;
    return static_cast<int>(rounded);
}

double degToRad(double degrees) { return degrees * 0.017453292519943295; }

double radToDeg(double radians) { return radians * 57.29577951308232; }

bool pointInRect(const QRectF &r, const QPointF &p)
{
    return r.x() <= p.x() && p.x() <= r.x() + r.width() && r.y() <= p.y()
        && p.y() <= r.y() + r.height();
}

void differentiate(const QVector<QPointF> &pts, QVector<QPointF> &out)
{
    TRACE_FUNCTION("geometry", "differentiate");
    const int n = pts.size();
    if (n < 2) {
        out.clear();
        TRACE_EXIT();
        return;
    }
    out.resize(n - 1);
    QPointF *d = out.data();
    for (int i = 0; i + 1 < n; ++i)
        d[i] = pts[i + 1] - pts[i];
    TRACE_EXIT();
}

void getLineCoefficient(const QPointF &p1, const QPointF &p2, double &a, double &b, double &c)
{
    TRACE_FUNCTION("geometry", "getLineCoefficient");
    a = p2.y() - p1.y();
    b = p1.x() - p2.x();
    c = p2.x() * p1.y() - p1.x() * p2.y();
    TRACE_EXIT();
}

double getCos(const QPointF &v1, const QPointF &v2)
{
    TRACE_FUNCTION("geometry", "getCos");
    if ((isVirtuallyZero(v1.x()) && isVirtuallyZero(v1.y()))
        || (isVirtuallyZero(v2.x()) && isVirtuallyZero(v2.y())))
        return TRACE_RETURN(1.0);
    // Deliberately not clamped: callers compare the raw quotient.
    return TRACE_RETURN(getInnerProduct(v1, v2) / (getVectorSize(v1) * getVectorSize(v2)));
}

int vectorLeftOrRight(const QPointF &v1, const QPointF &v2) { return threeWaySign(cross(v1, v2)); }

int vectorFrontOrBack(const QPointF &v1, const QPointF &v2)
{
    return threeWaySign(getInnerProduct(v1, v2));
}

bool getIntersection(double a1, double b1, double c1, double a2, double b2, double c2, QPointF *out)
{
    TRACE_FUNCTION("geometry", "getIntersection");
    const double det = a1 * b2 - a2 * b1;
    if (isVirtuallyZero(det))
        return TRACE_RETURN(false);
    if (out)
        *out = QPointF((b1 * c2 - b2 * c1) / det, (a2 * c1 - a1 * c2) / det);
    return TRACE_RETURN(true);
}

bool getIntersection(QPointF p1, QPointF p2, QPointF p3, QPointF p4, QPointF *out)
{
    TRACE_FUNCTION("geometry", "getIntersection");
    const QPointF origin = lowerLeftOf(p1, p2, p3, p4);
    p1 -= origin;
    p2 -= origin;
    p3 -= origin;
    p4 -= origin;
    double a1, b1, c1, a2, b2, c2;
    getLineCoefficient(p1, p2, a1, b1, c1);
    getLineCoefficient(p3, p4, a2, b2, c2);
    QPointF crossing;
    if (!getIntersection(a1, b1, c1, a2, b2, c2, &crossing))
        return TRACE_RETURN(false);
    if (out)
        *out = crossing + origin;
    return TRACE_RETURN(true);
}

double getDistanceToLine(double a, double b, double c, const QPointF &p, QPointF *foot)
{
    TRACE_FUNCTION("geometry", "getDistanceToLine");
    if (foot) {
        // The perpendicular through p: b*x - a*y + (a*p.y - b*p.x) = 0.
        getIntersection(a, b, c, b, -a, a * p.y() - b * p.x(), foot);
    }
    return TRACE_RETURN(std::fabs(a * p.x() + b * p.y() + c) / std::sqrt(a * a + b * b));
}

double calcDistanceToLineSegment(
    const QPointF &a, const QPointF &b, const QPointF &p, QPointF *nearest)
{
    TRACE_FUNCTION("geometry", "calcDistanceToLineSegment");
    // "Not less than zero" rather than ">= 0" so that a NaN product also picks a.
    if (!(getInnerProduct(a - b, p - a) < 0.0)) {
        if (nearest)
            *nearest = a;
        return TRACE_RETURN(getDistance(p, a));
    }
    if (getInnerProduct(b - a, p - b) >= 0.0) {
        if (nearest)
            *nearest = b;
        return TRACE_RETURN(getDistance(p, b));
    }
    double la, lb, lc;
    getLineCoefficient(a, b, la, lb, lc);
    return TRACE_RETURN(getDistanceToLine(la, lb, lc, p, nearest));
}

bool intersectLineSegments(QPointF p1, QPointF p2, QPointF p3, QPointF p4, QPointF *out)
{
    TRACE_FUNCTION("geometry", "intersectLineSegments");
    const QPointF origin = lowerLeftOf(p1, p2, p3, p4);
    p1 -= origin;
    p3 -= origin;
    const QPointF d1 = p2 - origin - p1;
    const QPointF d2 = p4 - origin - p3;
    const double det = cross(d1, d2);
    if (isVirtuallyZero(det))
        return TRACE_RETURN(false);

    // p1 + t*d1 = p3 + s*d2, solved by Cramer's rule; where a direction is axis-parallel
    // the other segment's parameter comes from that axis alone, which keeps touching end
    // points of horizontal and vertical segments exact.
    const QPointF w = p3 - p1;
    double t = cross(w, d2) / det;
    double s = cross(w, d1) / det;
    if (isVirtuallyZero(d1.x()) && !isVirtuallyZero(d2.x()))
        s = -w.x() / d2.x();
    else if (isVirtuallyZero(d1.y()) && !isVirtuallyZero(d2.y()))
        s = -w.y() / d2.y();
    if (isVirtuallyZero(d2.x()) && !isVirtuallyZero(d1.x()))
        t = w.x() / d1.x();
    else if (isVirtuallyZero(d2.y()) && !isVirtuallyZero(d1.y()))
        t = w.y() / d1.y();

    if (!(t >= 0.0 && t <= 1.0 && s >= 0.0 && s <= 1.0))
        return TRACE_RETURN(false);
    if (out) {
        // Exactly the constant coordinate of an axis-parallel segment.
        QPointF crossing = p1 + t * d1;
        if (isVirtuallyZero(d1.x()))
            crossing.setX(p1.x());
        else if (isVirtuallyZero(d2.x()))
            crossing.setX(p3.x());
        if (isVirtuallyZero(d1.y()))
            crossing.setY(p1.y());
        else if (isVirtuallyZero(d2.y()))
            crossing.setY(p3.y());
        *out = crossing + origin;
    }
    return TRACE_RETURN(true);
}

QPointF getIntersectPoint(const QRectF &r, const QPointF &p1, const QPointF &p2)
{
    TRACE_FUNCTION("geometry", "getIntersectPoint");
    const double left = r.x();
    const double right = r.x() + r.width();
    const double top = r.y();
    const double bottom = r.y() + r.height();
    // Travelling right can only leave through the right edge, travelling down only
    // through the bottom edge (and so on), so the first crossing found is the exit.
    const double xEdge = p1.x() <= p2.x() ? right : left;
    const double yEdge = p1.y() <= p2.y() ? bottom : top;
    QPointF result(0.0, 0.0);
    if (intersectLineSegments(p1, p2, QPointF(xEdge, top), QPointF(xEdge, bottom), &result))
        return TRACE_RETURN(result);
    if (intersectLineSegments(p1, p2, QPointF(left, yEdge), QPointF(right, yEdge), &result))
        return TRACE_RETURN(result);
    return TRACE_RETURN(result);
}

bool intersectRectAndLine(
    const QRectF &r, const QPointF &p1, const QPointF &p2, QPointF *out1, QPointF *out2)
{
    TRACE_FUNCTION("geometry", "intersectRectAndLine");
    const double left = r.x();
    const double right = r.x() + r.width();
    const double top = r.y();
    const double bottom = r.y() + r.height();
    QPointF entry, exit;

    if (p1.x() != p2.x() && p1.y() != p2.y()) {
        // A line going down-right (signs agree) meets r exactly when it crosses the
        // diagonal from the top-right to the bottom-left corner; otherwise the other one.
        const bool signsAgree = (p1.y() - p2.y() > 0.0) == (p1.x() - p2.x() > 0.0);
        const QPointF c1 = signsAgree ? QPointF(right, top) : QPointF(left, top);
        const QPointF c2 = signsAgree ? QPointF(left, bottom) : QPointF(right, bottom);
        // Stand-in segment for the unbounded line: p1 - k*d to p2 + k*d with k a power of
        // two, so that for coordinates of moderate size the ends lie exactly on the line
        // (a line through a corner still meets it). k is large enough that the segment
        // covers every point of the line inside r and its ends lie outside r.
        const QPointF dir = p2 - p1;
        const QPointF centre(left + r.width() * 0.5, top + r.height() * 0.5);
        const double needed
            = (getDistance(p1, centre) + std::hypot(r.width(), r.height())) / getVectorSize(dir);
        if (!std::isfinite(needed))
            return TRACE_RETURN(false);
        const double k = needed < 1.0 ? 1.0 : std::ldexp(1.0, std::ilogb(needed) + 1);
        const QPointF farBack = p1 - k * dir;
        const QPointF farAhead = p2 + k * dir;
        QPointF onDiagonal;
        if (!intersectLineSegments(c1, c2, farBack, farAhead, &onDiagonal))
            return TRACE_RETURN(false);
        entry = getIntersectPoint(r, onDiagonal, farBack);
        exit = getIntersectPoint(r, onDiagonal, farAhead);
    } else if (p1.y() == p2.y() && p1.x() != p2.x()) {
        const double y = p1.y();
        if (!(top <= y && y <= bottom))
            return TRACE_RETURN(false);
        const bool rightward = p1.x() < p2.x();
        entry = QPointF(rightward ? left : right, y);
        exit = QPointF(rightward ? right : left, y);
    } else if (p1.x() == p2.x() && p1.y() != p2.y()) {
        const double x = p1.x();
        if (!(left <= x && x <= right))
            return TRACE_RETURN(false);
        const bool downward = p1.y() < p2.y();
        entry = QPointF(x, downward ? top : bottom);
        exit = QPointF(x, downward ? bottom : top);
    } else {
        // Equal points (or NaN coordinates) define no line.
        return TRACE_RETURN(false);
    }
    if (out1)
        *out1 = entry;
    if (out2)
        *out2 = exit;
    return TRACE_RETURN(true);
}

int identifyTriangle(const QPolygonF &tri, EAlignedEdge &first, EAlignedEdge &second)
{
    TRACE_FUNCTION("geometry", "identifyTriangle");
    if (tri.size() != 3)
        return TRACE_RETURN(int(eTriangleNone));

    const QLineF l0(tri[0], tri[1]);
    const QLineF l1(tri[1], tri[2]);
    const QLineF l2(tri[2], tri[0]);
    const double t0 = turningAngle(l0, l1);
    const double t1 = turningAngle(l1, l2);
    const double t2 = turningAngle(l2, l0);

    first = eNoEdge;
    second = eNoEdge;
    QPointF edgeStart, third;
    const bool horizontal = findAlignedEdge(tri, false, edgeStart, third) >= 0;
    if (horizontal)
        first = third.y() <= edgeStart.y() ? eBottomEdge : eTopEdge;
    if (findAlignedEdge(tri, true, edgeStart, third) >= 0) {
        const EAlignedEdge vertical = third.x() > edgeStart.x() ? eLeftEdge : eRightEdge;
        (horizontal ? second : first) = vertical;
    }

    // The tests run on turning angles, not interior angles; callers rely on exactly this
    // classification (a scalene triangle is usually kind 4).
    if (isEqual(t0, 90.0, 0.09) || isEqual(t1, 90.0, 0.09) || isEqual(t2, 90.0, 0.09))
        return TRACE_RETURN(int(eTriangleRight));
    if (isEqual(t0, t1, 0.09) || isEqual(t0, t2, 0.09) || isEqual(t1, t2, 0.09))
        return TRACE_RETURN(int(eTriangleIsosceles));
    if (t0 > 90.0 || t1 > 90.0 || t2 > 90.0)
        return TRACE_RETURN(int(eTriangleGeneral));
    return TRACE_RETURN(int(eTriangleAcuteTurn));
}

QRectF calcKeepAspectRect(const QRectF &bound, const QRectF &source, bool alwaysScale, bool centre)
{
    TRACE_FUNCTION("geometry", "calcKeepAspectRect");
    const double boundW = bound.width();
    const double boundH = bound.height();
    double w = source.width();
    double h = source.height();
    if (alwaysScale || !(w <= boundW && h <= boundH)) {
        if (boundH * w < boundW * h) {
            w = boundH * w / h;
            h = boundH;
        } else {
            h = boundW * h / w;
            w = boundW;
        }
    }
    QPointF topLeft = bound.topLeft();
    if (centre)
        topLeft += QPointF((boundW - w) * 0.5, (boundH - h) * 0.5);
    return TRACE_RETURN(QRectF(topLeft, QSizeF(w, h)));
}

} // namespace Util
