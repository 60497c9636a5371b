#include "figureshape.h"

#include <libutility/geometry/strokeutil.h>
#include <libutility/recognition/figurerecogniser.h>

#include <cmath>

using namespace CFigureRecogniser;

namespace {

QPolygonF chord(const QVector<QPointF> &stroke)
{
    return stroke.size() < 2 ? QPolygonF()
                             : QPolygonF(QVector<QPointF> { stroke.first(), stroke.last() });
}

double distance(const QPointF &a, const QPointF &b)
{
    return std::hypot(a.x() - b.x(), a.y() - b.y());
}

// A corner drawn as two straight strokes: the legs run from the far ends to the midpoint
// of the nearest pair of ends.
QPolygonF twoLegs(const QVector<QPointF> &a, const QVector<QPointF> &b)
{
    if (a.size() < 2 || b.size() < 2)
        return QPolygonF();
    QPointF nearA = a.first(), farA = a.last(), nearB = b.first(), farB = b.last();
    double best = distance(nearA, nearB);
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) {
            const QPointF pa = i ? a.last() : a.first(), pb = j ? b.last() : b.first();
            if (distance(pa, pb) < best) {
                best = distance(pa, pb);
                nearA = pa;
                nearB = pb;
                farA = i ? a.first() : a.last();
                farB = j ? b.first() : b.last();
            }
        }
    }
    return QPolygonF(QVector<QPointF> { farA, (nearA + nearB) / 2.0, farB });
}

} // namespace

Recognition recognise(const Strokes &strokes, int cornerLimit, bool normalize)
{
    Recognition r;
    r.category = classifyScribble(strokes, r.rect, r.corners, cornerLimit, normalize, &r.prepared);
    if (r.category == cCLOSED_CURVE && normalize) {
        QVector<QPointF> points;
        for (const QVector<QPointF> &stroke : strokes)
            points += stroke;
        r.ellipse = fitEllipse(points);
    }
    return r;
}

QString categoryName(int category)
{
    struct Name
    {
        const int &code;
        const char *name;
    };
    static const Name names[] = {
        { cHANDWRITE_DATA, "Handwriting" },
        { cCLOSED_CURVE, "Closed curve" },
        { cPOLYGON, "Polygon" },
        { cLINE, "Line" },
        { cHORIZONTAL_LINE, "Horizontal line" },
        { cBENT_LINE, "Bent line" },
        { cTHREE_SEGMENT_LINE, "Three-segment line" },
        { cUNEQUAL_BEND_A, "Check mark" },
        { cUNEQUAL_BEND_B, "Mirrored check mark" },
        { cTWO_STROKE_FIGURE, "Two-stroke figure" },
    };
    for (const Name &n : names) {
        if (n.code == category)
            return QString::fromLatin1(n.name);
    }
    return QStringLiteral("Category %1").arg(category);
}

QString statusText(const Recognition &recognition)
{
    QString text = QStringLiteral("%1 (%2)")
                       .arg(categoryName(recognition.category))
                       .arg(recognition.category);
    if (recognition.category == cPOLYGON)
        text += QStringLiteral(", %1 corners").arg(recognition.corners.size());
    const CEllipseFit &e = recognition.ellipse;
    if (recognition.category == cCLOSED_CURVE && e.ok)
        text += e.circle ? QStringLiteral(", circle of radius %1").arg(qRound(e.rx))
                         : QStringLiteral(", ellipse %1 x %2").arg(qRound(2 * e.rx)).arg(qRound(2 * e.ry));
    return text;
}

QVector<QPolygonF> cleanFigure(const Recognition &r)
{
    const Strokes &prepared = r.prepared;
    if (r.category == cPOLYGON) {
        if (r.corners.size() < 3)
            return {};
        QPolygonF polygon(r.corners);
        polygon << r.corners.first();
        return { polygon };
    }
    if (r.category == cCLOSED_CURVE && r.ellipse.ok)
        return { QPolygonF(ellipseOutline(r.ellipse, 96)) };
    if (r.category == cCLOSED_CURVE && prepared.size() == 1 && prepared[0].size() > 2) {
        QPolygonF outline(prepared[0]);
        if (outline.first() != outline.last())
            outline << outline.first();
        return { outline };
    }
    if (r.category == cLINE || r.category == cHORIZONTAL_LINE)
        return { QPolygonF(QVector<QPointF> { r.rect.topLeft(), r.rect.bottomRight() }) };
    if (r.category == cTWO_STROKE_FIGURE && prepared.size() == 2)
        return { chord(prepared[0]), chord(prepared[1]) };
    if (r.category == cBENT_LINE && prepared.size() == 2)
        return { twoLegs(prepared[0], prepared[1]) };
    if ((r.category == cBENT_LINE || r.category == cUNEQUAL_BEND_A || r.category == cUNEQUAL_BEND_B
            || r.category == cTHREE_SEGMENT_LINE)
        && prepared.size() == 1) {
        // The open-line test judges the prepared stroke smoothed once more (factor 0.1):
        // those points are the figure's corners.
        QVector<QPointF> points;
        Util::getSmoothPoints(prepared[0], points, 0.1);
        const int wanted = r.category == cTHREE_SEGMENT_LINE ? 4 : 3;
        if (points.size() == wanted)
            return { QPolygonF(points) };
    }
    return {};
}
