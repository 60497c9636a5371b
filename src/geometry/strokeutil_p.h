// Smoothing for the library's own callers that have strokes in pairs. Not installed.
#ifndef LIBUTILITY_GEOMETRY_STROKEUTIL_P_H
#define LIBUTILITY_GEOMETRY_STROKEUTIL_P_H

#include <QPointF>
#include <QVector>

namespace Util {
namespace detail {

/// Util::getSmoothPoints(a, outA, ratio) and then (b, outB, ratio), with the same lists
/// as the result. The two strokes are thinned side by side: the thinning of a stroke is
/// one long chain of dependent steps, and two independent chains interleaved take about
/// the time of one. While tracing, or when a list is empty or an output is also an
/// input, it is exactly the two calls (so the trace shows both).
void getSmoothPointsOfTwo(const QVector<QPointF> &a, const QVector<QPointF> &b,
    QVector<QPointF> &outA, QVector<QPointF> &outB, double ratio);

} // namespace detail
} // namespace Util

#endif
