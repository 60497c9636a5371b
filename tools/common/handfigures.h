// Hand-like closed figures drawn from a seed: the test data of the closed-figure
// analysis (round curves and the polygons that are confused with them). The figures are
// made on the fly by the recognition tests and by `makesamples --hand-figures`; the data
// itself is never committed.
//
// Every figure is one stroke that a simulated hand draws round an ideal outline:
//  - outlines: ellipses of aspect 1 to 3 at any rotation ("circle" up to 1.15, "oval"
//    above), triangles with every angle at least 30 degrees, squares, rectangles of
//    aspect 1.15 to 3, diamonds (a square or a rhombus of aspect up to 1.6 standing on a
//    corner), regular pentagons and hexagons; polygons turned by up to 15 degrees
//    (triangles by any angle), their corners rounded off by up to 15% of the shorter
//    adjacent side;
//  - the hand starts anywhere on the outline, goes either way round, and ends up to 8% of
//    the perimeter past its start (overshoot) or short of it (a gap), while its radius
//    drifts by up to 3% over the figure;
//  - tremor: a slow wobble across the path of up to 1.5% of the figure's size, a faster
//    one of up to 1% and a jitter of up to 0.8% of it;
//  - speed: the pen slows down in bends and speeds up on straight runs, and is sampled at
//    a fixed rate: tablet-like (200 to 400 points, each point repeated now and then) or
//    mouse-like (40 to 80 points on integer pixels), half of the seeds each.
// Sizes run from 60 to 300 units across. The randomness comes from std::mt19937 read
// raw, so a seed gives the same figure on every machine and standard library.
#ifndef LIBUTILITY_TOOLS_HANDFIGURES_H
#define LIBUTILITY_TOOLS_HANDFIGURES_H

#include <QPointF>
#include <QString>
#include <QStringList>
#include <QVector>

#include <random>

namespace HandFigures {

/// The random source of the sample generators: the same numbers from the same seed on
/// every standard library (the raw 32-bit output of mt19937, scaled by hand).
class Rng
{
public:
    explicit Rng(quint32 seed)
        : m_rng(seed)
    { }
    /// Uniform in [lo, hi).
    double uniform(double lo, double hi)
    {
        return lo + (hi - lo) * (static_cast<double>(m_rng()) / 4294967296.0);
    }
    bool chance(double p) { return uniform(0.0, 1.0) < p; }

private:
    std::mt19937 m_rng;
};

/// One generated figure: its label, the corners a recogniser should find (0 for a
/// curve), the ideal outline's centre, semi-axes (rx >= ry) and rotation (degrees) for
/// curves, and the drawn stroke.
struct Figure
{
    QString label;
    int corners = 0;
    QPointF centre;
    double rx = 0.0;
    double ry = 0.0;
    double angle = 0.0;
    bool tablet = false;
    QVector<QPointF> points;
};

/// The labels in a fixed order: circle, oval, triangle, square, rectangle, diamond,
/// pentagon, hexagon.
const QStringList &labels();

/// Draws the figure of `label` (one of labels()) for `seed`. An unknown label gives a
/// figure without points.
Figure draw(const QString &label, quint32 seed);

} // namespace HandFigures

#endif
