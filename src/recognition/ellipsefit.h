/*
 * The ellipse that best fits a stroke: what a closed curve (cCLOSED_CURVE) is when the
 * application wants a clean figure instead of the ink.
 *
 * Method: the direct least-squares fit of a conic restricted to ellipses (the constraint
 * 4AC - B^2 = 1), in the numerically stable form that splits the scatter matrix into its
 * quadratic and linear parts and reduces the problem to a 3x3 eigenproblem. The points
 * are first moved to their centroid and scaled to a root-mean-square radius of one, so
 * that the result does not depend on where the stroke lies or how large it is. Every
 * point counts once (a repeated point counts twice): the fit is meant for strokes that
 * go round once, as a closed curve does; an open arc gives the ellipse it belongs to.
 *
 * Results:
 *  - rx >= ry are the semi-major and semi-minor axes; angle is the direction of the
 *    major axis in degrees, in (-90, 90], measured from the x axis towards the y axis
 *    (clockwise on a screen, where y grows downwards).
 *  - Axes within 10% of each other (ry >= 0.9 rx) snap to a circle: both become their
 *    mean, angle 0 and circle true.
 *  - residual is the root-mean-square distance of the points from the returned ellipse
 *    (first-order geometric distance), divided by its mean radius (rx + ry) / 2: about
 *    0.01 for careful ink, 0.1 for a sloppy oval, more for what is not an ellipse. Of a
 *    stroke of more than 511 points it is taken over every k-th point (k = n / 256,
 *    rounded down), which keeps its cost below that of the fit itself.
 *
 * Failure (ok false, every number 0): fewer than five points, a NaN or infinite
 * coordinate, all points on one line or one spot, or points that no ellipse fits (the
 * best conic is a hyperbola or a parabola, or an ellipse with an axis more than a
 * thousand times the root-mean-square distance of the points from their centroid). The
 * result never holds a NaN or an infinity.
 */
#ifndef LIBUTILITY_RECOGNITION_ELLIPSEFIT_H
#define LIBUTILITY_RECOGNITION_ELLIPSEFIT_H

#include <libutility/utility_export.h>

#include <QPointF>
#include <QVector>

namespace CFigureRecogniser {

/// An ellipse fitted to a stroke; see fitEllipse. A plain value: all members public.
struct CEllipseFit
{
    /// False when no ellipse could be fitted; every other member is then 0 or false.
    bool ok = false;
    /// True when the axes were within 10% of each other and snapped to a circle.
    bool circle = false;
    /// Centre, in the stroke's coordinates.
    double cx = 0.0;
    /// Centre, in the stroke's coordinates.
    double cy = 0.0;
    /// Semi-major axis (rx >= ry > 0 on success).
    double rx = 0.0;
    /// Semi-minor axis.
    double ry = 0.0;
    /// Direction of the major axis in degrees, in (-90, 90]; 0 for a circle.
    double angle = 0.0;
    /// Root-mean-square distance of the points from the ellipse over its mean radius.
    double residual = 0.0;
};

/**
 * Fits an ellipse to the points of a stroke by direct least squares restricted to
 * ellipses, on coordinates normalised to the centroid and scale of the points.
 *
 * @param stroke the points, in any order along the curve; at least five, not all on one
 *               line, all finite.
 * @return the fitted ellipse, snapped to a circle when its axes are within 10% of each
 *         other; ok is false (and every number 0) when no ellipse fits the points.
 *
 * The cost is linear in the number of points (two passes: centroid, moments; the
 * residual takes at most about 512 points) plus a fixed 3x3 eigenproblem.
 */
UTILITY_EXPORT CEllipseFit fitEllipse(const QVector<QPointF> &stroke);

/**
 * Points along a fitted ellipse, for drawing it: `count` points evenly spaced in the
 * ellipse's parameter, the first repeated at the end (count + 1 points).
 *
 * @param ellipse a fit with ok set; an ellipse with ok false gives an empty list.
 * @param count   the number of distinct points, at least 8 (smaller values are raised).
 * @return the closed outline, in the stroke's coordinates.
 */
UTILITY_EXPORT QVector<QPointF> ellipseOutline(const CEllipseFit &ellipse, int count = 72);

} // namespace CFigureRecogniser

#endif
