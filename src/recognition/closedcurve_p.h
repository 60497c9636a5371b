// The curve test of the corner reduction (see removeShortSegment in figurerecogniser.h):
// whether a smoothed closed stroke is a curve, whose points are kept, or a polygon with
// rounded corners, which is cut down to its corners.
#ifndef LIBUTILITY_RECOGNITION_CLOSEDCURVE_P_H
#define LIBUTILITY_RECOGNITION_CLOSEDCURVE_P_H

#include <QPointF>
#include <QVector>

namespace CFigureRecogniser {
namespace detail {

// True when the closed list (first point repeated at the end) is a curve; its pen noise
// is then taken out in place and it keeps at least 7 corners, all turning one way.
// False (list unchanged) for a polygon, a list of fewer than 8 points, an open list, or a
// non-finite coordinate.
bool keepClosedCurve(QVector<QPointF> &points);

// Erases corner i of a closed list and keeps the list closed.
void eraseCorner(QVector<QPointF> &pts, int i);

} // namespace detail
} // namespace CFigureRecogniser

#endif
