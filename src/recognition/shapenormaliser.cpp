// The shape normalisers of the figure recogniser: snapping a rough polygon to the
// regular form it is close to. The rules are documented in figurerecogniser.h.

#include <libutility/recognition/figurerecogniser.h>

#include <libutility/geometry/geometry.h>
#include <libutility/logging/trace.h>

#include <cmath>

namespace CFigureRecogniser {

namespace {

constexpr double kPi = 3.14159265358979323846;

bool isClosedCornerList(const QVector<QPointF> &pts, int corners)
{
    return pts.size() == corners + 1 && pts.first() == pts.last();
}

QPointF unit(const QPointF &v)
{
    const double s = Util::getVectorSize(v);
    return Util::isVirtuallyZero(s) ? QPointF(1.0, 0.0) : v / s;
}

QPointF perpendicular(const QPointF &v) { return QPointF(-v.y(), v.x()); }

double cross(const QPointF &a, const QPointF &b) { return a.x() * b.y() - a.y() * b.x(); }

// Interior angle at corner i of a closed list of the given corner count, in degrees.
double interiorAngle(const QVector<QPointF> &pts, int corners, int i)
{
    const QPointF &p = pts[i];
    return calcAngle180(Util::getVectorDiff(pts[(i + corners - 1) % corners], p),
        Util::getVectorDiff(pts[(i + 1) % corners], p));
}

QPointF edge(const QVector<QPointF> &pts, int corners, int i)
{
    return Util::getVectorDiff(pts[(i + 1) % corners], pts[i % corners]);
}

QPointF centroid(const QVector<QPointF> &pts, int corners)
{
    QPointF c;
    for (int i = 0; i < corners; ++i)
        c += pts[i];
    return c / corners;
}

// Turns a unit direction onto the nearest axis when it is within the angle tolerance.
QPointF snapToAxis(const QPointF &direction)
{
    const QPointF d = unit(direction);
    const double fromX = calcAngle(QPointF(1.0, 0.0), d);
    if (isHorizontal(fromX, THRESHOLD_ANGLE))
        return QPointF(1.0, 0.0);
    if (isHorizontal(180.0 - fromX, THRESHOLD_ANGLE))
        return QPointF(-1.0, 0.0);
    if (isVertical(fromX, THRESHOLD_ANGLE))
        return QPointF(0.0, d.y() > 0 ? 1.0 : -1.0);
    return d;
}

bool isNearAxis(const QPointF &direction)
{
    const double fromX = calcAngle(QPointF(1.0, 0.0), unit(direction));
    return isHorizontal(fromX, THRESHOLD_ANGLE) || isHorizontal(180.0 - fromX, THRESHOLD_ANGLE)
        || isVertical(fromX, THRESHOLD_ANGLE);
}

bool nearlyParallelOpposite(const QPointF &a, const QPointF &b)
{
    return isHorizontal(calcAngle(a, -b), THRESHOLD_ANGLE);
}

void close(QVector<QPointF> &pts, int corners) { pts[corners] = pts[0]; }

// Places the corners on a circle about their centroid, each `stepDegrees` further on in
// the drawing's turning sense; a vertex or an edge midpoint is turned onto an axis when it
// is within the angle tolerance of one.
void snapRegular(QVector<QPointF> &pts, int corners, double stepDegrees, bool alignEdges)
{
    const QPointF c = centroid(pts, corners);
    double area = 0.0;
    double radius = 0.0;
    for (int i = 0; i < corners; ++i) {
        area += cross(pts[i] - c, pts[(i + 1) % corners] - c);
        radius += Util::getDistance(pts[i], c);
    }
    radius /= corners;
    const double step = Util::degToRad(area >= 0 ? stepDegrees : -stepDegrees);
    double sx = 0.0, sy = 0.0;
    for (int i = 0; i < corners; ++i) {
        const QPointF v = pts[i] - c;
        const double phase = std::atan2(v.y(), v.x()) - i * step;
        sx += std::cos(phase);
        sy += std::sin(phase);
    }
    double phase = std::atan2(sy, sx);

    double bestShift = kPi;
    for (int i = 0; i < corners; ++i) {
        for (int half = 0; half <= (alignEdges ? 1 : 0); ++half) {
            const double a = phase + i * step + half * step * 0.5;
            const double quarter = kPi / 2.0;
            const double shift = std::round(a / quarter) * quarter - a;
            if (std::fabs(shift) < std::fabs(bestShift))
                bestShift = shift;
        }
    }
    if (isHorizontal(Util::radToDeg(bestShift), THRESHOLD_ANGLE))
        phase += bestShift;
    for (int i = 0; i < corners; ++i) {
        const double a = phase + i * step;
        pts[i] = c + radius * QPointF(std::cos(a), std::sin(a));
    }
    close(pts, corners);
}

bool allSidesAlmostSame(const QVector<QPointF> &pts, int corners)
{
    for (int i = 0; i < corners; ++i) {
        for (int j = i + 1; j < corners; ++j) {
            if (!areSidesAlmostSameLength(Util::getVectorSize(edge(pts, corners, i)),
                    Util::getVectorSize(edge(pts, corners, j))))
                return false;
        }
    }
    return true;
}

bool allAnglesNear(const QVector<QPointF> &pts, int corners, double degrees)
{
    for (int i = 0; i < corners; ++i) {
        if (!isHorizontal(interiorAngle(pts, corners, i) - degrees, THRESHOLD_ANGLE))
            return false;
    }
    return true;
}

bool isFinitePolygon(const QVector<QPointF> &pts)
{
    for (const QPointF &p : pts) {
        if (!std::isfinite(p.x()) || !std::isfinite(p.y()))
            return false;
    }
    return true;
}

} // namespace

void normalizeTriangle(QVector<QPointF> &pts)
{
    TRACE_FUNCTION("figurerecogniser", "normalizeTriangle");
    const int n = 3;
    if (!isClosedCornerList(pts, n) || !isFinitePolygon(pts)) {
        TRACE_EXIT();
        return;
    }
    if (allSidesAlmostSame(pts, n) && allAnglesNear(pts, n, 60.0)) {
        snapRegular(pts, n, 120.0, true);
        TRACE_EXIT();
        return;
    }
    for (int i = 0; i < n; ++i) {
        if (!isVertical(interiorAngle(pts, n, i), THRESHOLD_ANGLE))
            continue;
        const QPointF r = pts[i];
        const QPointF u = pts[(i + 1) % n] - r;
        const QPointF v = pts[(i + 2) % n] - r;
        // Only a right triangle lying along the axes snaps: squaring the corner of a
        // tilted one swings a whole leg off the ink.
        if (!isNearAxis(u) && !isNearAxis(v))
            continue;
        double lu = Util::getVectorSize(u);
        double lv = Util::getVectorSize(v);
        // Equal legs only when they nearly are: the side predicate alone accepts a 4:5
        // ratio, and equalising such legs visibly redraws the triangle.
        if (areSidesAlmostSameLength(lu, lv) && qMin(lu, lv) > 0.9 * qMax(lu, lv))
            lu = lv = (lu + lv) * 0.5;
        const bool alongU = isNearAxis(u);
        const QPointF axis = snapToAxis(alongU ? u : v);
        const QPointF other = alongU ? v : u;
        QPointF across = perpendicular(axis);
        if (Util::getInnerProduct(across, other) < 0)
            across = -across;
        pts[(i + 1) % n] = r + (alongU ? axis : across) * lu;
        pts[(i + 2) % n] = r + (alongU ? across : axis) * lv;
        close(pts, n);
        TRACE_EXIT();
        return;
    }
    for (int apex = 0; apex < n; ++apex) {
        const int b1 = (apex + 1) % n;
        const int b2 = (apex + 2) % n;
        if (!isHorizontal(interiorAngle(pts, n, b1) - interiorAngle(pts, n, b2), THRESHOLD_ANGLE))
            continue;
        const QPointF base = pts[b2] - pts[b1];
        const QPointF mid = (pts[b1] + pts[b2]) * 0.5;
        const double half = Util::getVectorSize(base) * 0.5;
        const QPointF d = snapToAxis(base);
        QPointF normal = perpendicular(d);
        double height = Util::getInnerProduct(pts[apex] - mid, normal);
        if (height < 0) {
            normal = -normal;
            height = -height;
        }
        pts[b1] = mid - d * half;
        pts[b2] = mid + d * half;
        pts[apex] = mid + normal * height;
        close(pts, n);
        TRACE_EXIT();
        return;
    }
    TRACE_EXIT();
}

void normalizeQuadrangle(QVector<QPointF> &pts)
{
    TRACE_FUNCTION("figurerecogniser", "normalizeQuadrangle");
    const int n = 4;
    if (!isClosedCornerList(pts, n) || !isFinitePolygon(pts)) {
        TRACE_EXIT();
        return;
    }
    QPointF e[n];
    double s[n];
    for (int i = 0; i < n; ++i) {
        e[i] = edge(pts, n, i);
        s[i] = Util::getVectorSize(e[i]);
    }
    const QPointF c = centroid(pts, n);
    const bool turnSign = cross(e[0], e[1]) >= 0;
    const bool parallel02 = nearlyParallelOpposite(e[0], e[2]);
    const bool parallel13 = nearlyParallelOpposite(e[1], e[3]);
    const bool equalSides = allSidesAlmostSame(pts, n);

    if (allAnglesNear(pts, n, 90.0)) {
        // Square or rectangle, centred where the drawing was.
        const QPointF u = snapToAxis(e[0] - e[2]);
        QPointF v = perpendicular(u);
        if ((cross(u, v) >= 0) != turnSign)
            v = -v;
        double w = (s[0] + s[2]) * 0.5;
        double h = (s[1] + s[3]) * 0.5;
        if (equalSides)
            w = h = (w + h) * 0.5;
        pts[0] = c - u * (w * 0.5) - v * (h * 0.5);
        pts[1] = pts[0] + u * w;
        pts[2] = pts[1] + v * h;
        pts[3] = pts[0] + v * h;
    } else if (parallel02 && parallel13 && equalSides) {
        // Rhombus: perpendicular diagonals crossing at the centre.
        const QPointF d1 = pts[2] - pts[0];
        const QPointF d2 = pts[3] - pts[1];
        const QPointF u = snapToAxis(d1);
        QPointF v = perpendicular(u);
        if (Util::getInnerProduct(v, d2) < 0)
            v = -v;
        const double h1 = Util::getVectorSize(d1) * 0.5;
        const double h2 = Util::getVectorSize(d2) * 0.5;
        pts[0] = c - u * h1;
        pts[2] = c + u * h1;
        pts[1] = c - v * h2;
        pts[3] = c + v * h2;
    } else if (parallel02 && parallel13) {
        const QPointF avgU = (e[0] - e[2]) * 0.5;
        const QPointF u = snapToAxis(avgU) * Util::getVectorSize(avgU);
        const QPointF v = (e[1] - e[3]) * 0.5;
        pts[0] = c - (u + v) * 0.5;
        pts[1] = pts[0] + u;
        pts[2] = pts[1] + v;
        pts[3] = pts[0] + v;
    } else {
        // Kite: one diagonal is the axis of symmetry, the sides meeting on it pairwise equal.
        int axis = -1;
        if (areSidesAlmostSameLength(s[0], s[3]) && areSidesAlmostSameLength(s[1], s[2])
            && !areSidesAlmostSameLength(s[0], s[1]))
            axis = 0;
        else if (areSidesAlmostSameLength(s[0], s[1]) && areSidesAlmostSameLength(s[2], s[3])
            && !areSidesAlmostSameLength(s[1], s[2]))
            axis = 1;
        if (axis >= 0) {
            const QPointF a = pts[axis];
            const QPointF b = pts[axis + 2];
            const QPointF d = snapToAxis(b - a);
            const QPointF normal = perpendicular(d);
            const QPointF w1 = pts[axis + 1] - a;
            const QPointF w2 = pts[(axis + 3) % n] - a;
            const double t = (Util::getInnerProduct(w1, d) + Util::getInnerProduct(w2, d)) * 0.5;
            const double h = (std::fabs(Util::getInnerProduct(w1, normal))
                                 + std::fabs(Util::getInnerProduct(w2, normal)))
                * 0.5;
            const double side = Util::getInnerProduct(w1, normal) >= 0 ? 1.0 : -1.0;
            pts[axis + 2] = a + d * Util::getVectorSize(b - a);
            pts[axis + 1] = a + d * t + normal * (h * side);
            pts[(axis + 3) % n] = a + d * t - normal * (h * side);
        } else if (parallel02 != parallel13) {
            // Trapezium: the two nearly parallel sides made exactly parallel about their
            // midpoints, keeping their lengths.
            const int i = parallel02 ? 0 : 1;
            const QPointF d = snapToAxis(e[i] - e[i + 2]);
            const QPointF m1 = (pts[i] + pts[i + 1]) * 0.5;
            const QPointF m2 = (pts[i + 2] + pts[(i + 3) % n]) * 0.5;
            pts[i] = m1 - d * (s[i] * 0.5);
            pts[i + 1] = m1 + d * (s[i] * 0.5);
            pts[i + 2] = m2 + d * (s[i + 2] * 0.5);
            pts[(i + 3) % n] = m2 - d * (s[i + 2] * 0.5);
        }
    }
    close(pts, n);
    TRACE_EXIT();
}

void normalizePentagon(QVector<QPointF> &pts)
{
    TRACE_FUNCTION("figurerecogniser", "normalizePentagon");
    const int n = 5;
    if (!isClosedCornerList(pts, n) || !isFinitePolygon(pts) || !allSidesAlmostSame(pts, n)) {
        TRACE_EXIT();
        return;
    }
    if (allAnglesNear(pts, n, 108.0))
        snapRegular(pts, n, 72.0, true);
    else if (allAnglesNear(pts, n, 36.0))
        snapRegular(pts, n, 144.0, false);
    TRACE_EXIT();
}

void normalizeHexagon(QVector<QPointF> &pts)
{
    TRACE_FUNCTION("figurerecogniser", "normalizeHexagon");
    const int n = 6;
    if (isClosedCornerList(pts, n) && isFinitePolygon(pts) && allSidesAlmostSame(pts, n)
        && allAnglesNear(pts, n, 120.0))
        snapRegular(pts, n, 60.0, true);
    TRACE_EXIT();
}

} // namespace CFigureRecogniser
