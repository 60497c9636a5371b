#include "closedcurve_p.h"

#include <libutility/geometry/strokeutil.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace CFigureRecogniser {
namespace detail {

namespace {

constexpr int kMinCorners = 7;
// The smoothing (factor 0.1) cuts a curve into pieces that each turn by less than about
// 46 degrees, so a curve turns at most ~90 degrees at one point: more is a hook or a
// spike where the pen closed the figure.
constexpr double kSpikeDegrees = 110.0;
constexpr int kMaxSpikes = 2;
constexpr double kFlatDegrees = 1.0;
constexpr double kFullTurnSlack = 20.0;
constexpr double kGroupEdgeShare = 0.04; // a rounded corner cut into pieces
constexpr double kGroupEdgeOfMean = 0.5;
constexpr double kCornerEvenness = 0.5;
constexpr double kQuadrangleShare = 0.8;

// Signed turn at corner i of a closed list, in degrees (-180 .. 180).
double turnAt(const QVector<QPointF> &pts, int i)
{
    const int corners = pts.size() - 1;
    const QPointF a = pts[i] - pts[(i + corners - 1) % corners];
    const QPointF b = pts[(i + 1) % corners] - pts[i];
    return std::atan2(a.x() * b.y() - a.y() * b.x(), a.x() * b.x() + a.y() * b.y()) * 57.29577951308232;
}

bool turnsOf(const QVector<QPointF> &pts, QVector<double> &turns)
{
    turns.resize(pts.size() - 1);
    for (int i = 0; i < turns.size(); ++i) {
        turns[i] = turnAt(pts, i);
        if (!std::isfinite(turns[i]))
            return false;
    }
    return true;
}

// Takes out wobble (corners turning against the figure or not at all) and closing
// hooks, worst first; false when that leaves too few corners or takes too many.
bool removePenNoise(QVector<QPointF> &pts, double sign)
{
    const int budget = (pts.size() - 1) / 3;
    QVector<double> turns;
    for (int erased = 0;; ++erased) {
        if (!turnsOf(pts, turns))
            return false;
        int worst = -1;
        double badness = 0.0;
        for (int i = 0; i < turns.size(); ++i) {
            const double t = sign * turns[i];
            const double b = std::fabs(t) > kSpikeDegrees ? std::fabs(t)
                : t < kFlatDegrees                       ? kFlatDegrees - t
                                                         : 0.0;
            if (b > badness) {
                badness = b;
                worst = i;
            }
        }
        if (worst < 0)
            return true;
        if (erased >= budget || pts.size() - 1 <= kMinCorners)
            return false;
        eraseCorner(pts, worst);
    }
}

// Whether a few corners carry the turning: the four largest turns 80% of it, or, with
// corners joined by short edges grouped, k groups (3 <= k <= 6) that each turn at least
// half as much as the largest while the next group turns at most half as much as them.
bool turningIsConcentrated(const QVector<QPointF> &pts, const QVector<double> &turns)
{
    QVector<double> sorted = turns;
    std::sort(sorted.begin(), sorted.end(), std::greater<double>());
    double total = 0.0;
    for (double t : turns)
        total += t;
    if (sorted[0] + sorted[1] + sorted[2] + sorted[3] >= kQuadrangleShare * total)
        return true;

    QVector<double> lengths;
    const double perimeter = Util::calcStrokeLength(pts, lengths);
    const int n = turns.size();
    // Short for a figure of many corners is also short against their mean edge.
    const double shortEdge = perimeter * std::min(kGroupEdgeShare, kGroupEdgeOfMean / n);
    int first = 0; // a corner after a long edge starts a group
    while (first < n && lengths[(first + n - 1) % n] < shortEdge)
        ++first;
    QVector<double> groups;
    double group = 0.0;
    for (int k = 0; k < n; ++k) {
        const int i = (first + k) % n;
        group += turns[i];
        if (lengths[i] >= shortEdge || k == n - 1) {
            groups << group;
            group = 0.0;
        }
    }
    std::sort(groups.begin(), groups.end(), std::greater<double>());
    for (int k = 3; k <= 6 && k <= groups.size(); ++k) {
        const double next = k < groups.size() ? groups[k] : 0.0;
        if (groups[k - 1] >= kCornerEvenness * groups[0] && next <= kCornerEvenness * groups[k - 1])
            return true;
    }
    return false;
}

} // namespace

void eraseCorner(QVector<QPointF> &pts, int i)
{
    if (i == 0) {
        pts.removeLast();
        pts.removeFirst();
        pts.append(pts.first());
    } else {
        pts.remove(i);
    }
}

bool keepClosedCurve(QVector<QPointF> &points)
{
    if (points.size() < kMinCorners + 1 || points.first() != points.last())
        return false;
    QVector<double> turns;
    if (!turnsOf(points, turns))
        return false;
    // The figure's own sense of turning, with hooks and spikes left out. A closing hook
    // makes one or two sharp turns; more of them are the points of a star.
    double net = 0.0;
    int sharp = 0;
    for (double t : turns) {
        net += std::fabs(t) <= kSpikeDegrees ? t : 0.0;
        sharp += std::fabs(t) > kSpikeDegrees;
    }
    if (sharp > kMaxSpikes)
        return false;
    const double sign = net >= 0.0 ? 1.0 : -1.0;

    QVector<QPointF> clean = points;
    if (!removePenNoise(clean, sign) || !turnsOf(clean, turns))
        return false;
    double total = 0.0;
    for (double &t : turns) {
        t *= sign;
        total += t;
    }
    if (std::fabs(total - 360.0) > kFullTurnSlack || turningIsConcentrated(clean, turns))
        return false;
    points = clean;
    return true;
}

} // namespace detail
} // namespace CFigureRecogniser
