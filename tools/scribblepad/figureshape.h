// What the pad shows for a recognised scribble: the category's name and the clean
// figure that replaces the ink.
#ifndef SCRIBBLEPAD_FIGURESHAPE_H
#define SCRIBBLEPAD_FIGURESHAPE_H

#include "inkfile.h"

#include <libutility/recognition/ellipsefit.h>

#include <QPolygonF>
#include <QRectF>
#include <QString>
#include <QVector>

// The outcome of one classifyScribble call.
struct Recognition
{
    int category = 0;
    QRectF rect;
    QVector<QPointF> corners; // each corner once, for polygons
    Strokes prepared; // the smoothed and joined strokes
    CFigureRecogniser::CEllipseFit ellipse; // closed curves, when normalising
};

// Classifies the strokes; a closed curve recognised with normalising on also gets the
// ellipse fitted to its ink.
Recognition recognise(const Strokes &strokes, int cornerLimit, bool normalize);

// "Polygon", "Horizontal line", ... ("Handwriting" for 0, "Category N" for a code the pad
// does not know).
QString categoryName(int category);

// The status bar text: "Polygon (102), 4 corners", "Closed curve (101), ellipse 240 x 120",
// "Handwriting (0)".
QString statusText(const Recognition &recognition);

// The clean figure as open polylines (a closed one repeats its first point):
//  - polygon: the corners;
//  - closed curve: the fitted ellipse when there is one (normalising on), otherwise the
//    smoothed outline the recogniser prepared;
//  - straight lines: the chord from the first point to the last;
//  - bent lines, check marks, three-segment lines: the corner points the recogniser's
//    last smoothing leaves (the points its open-line test judged); a bent line drawn in
//    two strokes: both legs straight, meeting halfway between their nearest ends;
//  - two-stroke figure: each stroke as its chord.
// Empty for handwriting, and for anything the pad cannot draw cleanly (it then keeps the
// ink).
QVector<QPolygonF> cleanFigure(const Recognition &recognition);

#endif
