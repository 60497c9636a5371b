#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>
#include <libutility/recognition/figurerecogniser.h>
#include <libutility/recognition/openstroke.h>

#include "support/logcapture.h"
#include "support/printers.h"

#include <QLineF>
#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <memory>

#include <cmath>
#include <limits>
#include <random>
#include <tuple>

using namespace CFigureRecogniser;

namespace {

using Stroke = QVector<QPointF>;
using Strokes = QVector<Stroke>;

const double kPi = 3.14159265358979323846;

// A closed polyline through the corners, sampled every 2 units, with jitter of up to
// `noise` units from a fixed seed.
Stroke drawClosed(const QVector<QPointF> &corners, double noise = 0.8, unsigned seed = 7)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> jitter(-noise, noise);
    Stroke stroke;
    for (int i = 0; i < corners.size(); ++i) {
        const QPointF a = corners[i];
        const QPointF b = corners[(i + 1) % corners.size()];
        const int steps = std::max(1, int(std::hypot(b.x() - a.x(), b.y() - a.y()) / 2.0));
        for (int k = 0; k < steps; ++k) {
            const QPointF p = a + (b - a) * (double(k) / steps);
            stroke << p + QPointF(jitter(rng), jitter(rng));
        }
    }
    stroke << corners.first();
    return stroke;
}

QVector<QPointF> regular(int n, double radius, double startDegrees = -90.0, int step = 1)
{
    QVector<QPointF> corners;
    for (int i = 0; i < n; ++i) {
        const double a = (startDegrees + 360.0 * step * i / n) * kPi / 180.0;
        corners << QPointF(200 + radius * std::cos(a), 200 + radius * std::sin(a));
    }
    return corners;
}

// An ellipse of semi-axes rx, ry about (cx, cy), its rx axis turned by `degrees`, as n
// points from parameter `start` once round (first point not repeated), with Gaussian
// noise of `sigma` units from a fixed seed.
Stroke ellipse(QPointF centre, double rx, double ry, double degrees, int n, double sigma = 0.0,
    unsigned seed = 3, double start = 0.3)
{
    std::mt19937 rng(seed);
    std::normal_distribution<double> noise(0.0, sigma > 0 ? sigma : 1.0);
    const double a = degrees * kPi / 180.0;
    Stroke stroke;
    for (int i = 0; i < n; ++i) {
        const double t = start + 2 * kPi * i / n;
        const double x = rx * std::cos(t), y = ry * std::sin(t);
        stroke << centre + QPointF(std::cos(a) * x - std::sin(a) * y, std::sin(a) * x + std::cos(a) * y)
            + (sigma > 0 ? QPointF(noise(rng), noise(rng)) : QPointF());
    }
    return stroke;
}

// A polygon whose corners are cut by arcs (`cut` of the shorter side before each corner).
QVector<QPointF> rounded(const QVector<QPointF> &corners, double cut)
{
    QVector<QPointF> out;
    for (int i = 0; i < corners.size(); ++i) {
        const QPointF prev = corners[(i + corners.size() - 1) % corners.size()];
        const QPointF c = corners[i], next = corners[(i + 1) % corners.size()];
        const QPointF a = c + (prev - c) * cut, b = c + (next - c) * cut;
        for (int k = 0; k <= 6; ++k) {
            const double t = k / 6.0;
            out << a * ((1 - t) * (1 - t)) + c * (2 * t * (1 - t)) + b * (t * t);
        }
    }
    return out;
}

bool isAxisParallel(const QPointF &a, const QPointF &b)
{
    return std::fabs(a.x() - b.x()) < 1e-6 || std::fabs(a.y() - b.y()) < 1e-6;
}

} // namespace

TEST(FigurePredicates, StrictBoundsAndSymmetry)
{
    struct Case
    {
        const char *what;
        bool got;
        bool expected;
    } cases[] = {
        { "horizontal at +tol", isHorizontal(10.0, 10.0), false },
        { "horizontal at -tol", isHorizontal(-10.0, 10.0), false },
        { "horizontal inside", isHorizontal(9.999, 10.0), true },
        { "180 is not horizontal", isHorizontal(180.0, 10.0), false },
        { "vertical at 80", isVertical(80.0, 10.0), false },
        { "vertical at 100", isVertical(100.0, 10.0), false },
        { "vertical at 95", isVertical(95.0, 10.0), true },
        { "zero tolerance horizontal", isHorizontal(0.0, 0.0), false },
        { "zero tolerance vertical", isVertical(90.0, 0.0), false },
        { "sides 10 / 8", areSidesAlmostSameLength(10.0, 8.0), false },
        { "sides 10 / 8.1", areSidesAlmostSameLength(10.0, 8.1), true },
        { "sides 8.1 / 10", areSidesAlmostSameLength(8.1, 10.0), true },
        { "sides 0 / 0", areSidesAlmostSameLength(0.0, 0.0), false },
    };
    for (const Case &c : cases)
        EXPECT_EQ(c.got, c.expected) << c.what;
}

TEST(FigureRecogniserHelpers, RectBoundOfEmptyListIsInverted)
{
    const QRectF r = getStrokeRectBound({});
    const double big = 3.4028234663852886e38; // FLT_MAX, exactly
    EXPECT_EQ(std::make_tuple(r.x(), r.y(), r.width(), r.height()),
        std::make_tuple(big, big, -2 * big, -2 * big));

    QVector<QRectF> rects;
    getAllSegmentRect({ QPointF(5, 5), QPointF(1, 9), QPointF(4, 2) }, rects);
    ASSERT_EQ(rects.size(), 2);
    EXPECT_EQ(rects[0], QRectF(1, 5, 4, 4));
    EXPECT_EQ(rects[1], QRectF(1, 2, 3, 7));
    getAllSegmentRect({ QPointF(5, 5) }, rects);
    EXPECT_TRUE(rects.isEmpty());
}

TEST(ConnectOneStroke, ClosesOnlyStrictlyInsideATenth)
{
    // A U of length 100 whose ends are exactly 10 apart: not closed.
    Stroke u = { QPointF(0, 0), QPointF(0, 45), QPointF(10, 45), QPointF(10, 0) };
    const Stroke before = u;
    EXPECT_FALSE(connect1Stroke(u));
    EXPECT_EQ(u, before);

    Stroke narrower = { QPointF(0, 0), QPointF(0, 45), QPointF(9.9, 45), QPointF(9.9, 0) };
    EXPECT_TRUE(connect1Stroke(narrower));
    EXPECT_EQ(narrower.first(), QPointF(4.95, 0));
    EXPECT_EQ(narrower.last(), QPointF(4.95, 0));
}

TEST(ClosedFigureTests, DirectionAndSelfIntersection)
{
    const Stroke square
        = { QPointF(0, 0), QPointF(10, 0), QPointF(10, 10), QPointF(0, 10), QPointF(0, 0) };
    const Stroke collinear = { QPointF(0, 0), QPointF(5, 0), QPointF(10, 0), QPointF(10, 10),
        QPointF(0, 10), QPointF(0, 0) };
    const Stroke arrowhead
        = { QPointF(0, 0), QPointF(10, 5), QPointF(0, 10), QPointF(3, 5), QPointF(0, 0) };
    const Stroke bowtie
        = { QPointF(0, 0), QPointF(10, 10), QPointF(10, 0), QPointF(0, 10), QPointF(0, 0) };
    EXPECT_TRUE(checkVectorDirection(square));
    EXPECT_FALSE(checkVectorDirection(collinear)) << "a turn of 0 is not convex";
    EXPECT_FALSE(checkVectorDirection(arrowhead));
    EXPECT_FALSE(hasSelfIntersection(square));
    EXPECT_TRUE(hasSelfIntersection(bowtie));
    EXPECT_FALSE(checkVectorDirection({ QPointF(0, 0), QPointF(1, 1) }));
}

TEST(ClosedFigureTests, PentagramIsTheOnlySelfCrossingPolygon)
{
    QVector<QPointF> star = regular(5, 100, -90, 2);
    star << star.first();
    QVector<QPointF> copy = star;
    EXPECT_EQ(classifyCloseFigure(copy, 6, false), cPOLYGON);
    EXPECT_EQ(copy, star) << "no normalising unless asked";

    // A self-crossing heptagram turns one way throughout, like the star, but is rejected,
    // before the corner limit is looked at.
    QVector<QPointF> heptagram = regular(7, 100, -90, 2);
    heptagram << heptagram.first();
    ASSERT_TRUE(checkVectorDirection(heptagram));
    EXPECT_EQ(classifyCloseFigure(heptagram, 6, false), cHANDWRITE_DATA);
}

TEST(CornerReduction, RemoveExtraPointOnlyOnSixOrSevenPoints)
{
    // A rectangle with a point in the middle of its top edge and one at the closing
    // corner that is not a corner: 7 points, two of them straight.
    Stroke seven = { QPointF(50, 0), QPointF(100, 0), QPointF(100, 60), QPointF(50, 60),
        QPointF(0, 60), QPointF(0, 0), QPointF(50, 0) };
    removeExtraPoint(seven);
    ASSERT_EQ(seven.size(), 5);
    EXPECT_EQ(seven.first(), seven.last());
    for (const QPointF &p : seven)
        EXPECT_NE(p.x(), 50.0) << "straight points are erased";

    Stroke five = { QPointF(0, 0), QPointF(5, 0), QPointF(10, 0), QPointF(0, 10), QPointF(0, 0) };
    const Stroke before = five;
    removeExtraPoint(five);
    EXPECT_EQ(five, before);
}

TEST(CornerReduction, AnglesAreUnsignedAndNullSafe)
{
    EXPECT_NEAR(calcAngle(QPointF(1, 0), QPointF(0, 1)), 90.0, 1e-12);
    EXPECT_NEAR(calcAngle(QPointF(1, 0), QPointF(0, -1)), 90.0, 1e-12);
    EXPECT_NEAR(calcAngle180(QPointF(1, 0), QPointF(-1, 1e-12)), 180.0, 1e-6);
    EXPECT_EQ(calcAngle(QPointF(0, 0), QPointF(1, 0)), 0.0);
    // Parallel vectors whose cosine rounds above 1 still give a number.
    EXPECT_FALSE(std::isnan(calcAngle(QPointF(0.1, 0.3), QPointF(0.1, 0.3) * 3.0)));
}

TEST(ClassifyScribble, SyntheticFiguresInOneStroke)
{
    const QVector<QPointF> square = { { 100, 100 }, { 300, 100 }, { 300, 300 }, { 100, 300 } };
    const struct
    {
        const char *name;
        Stroke stroke;
        int cornerLimit, category, corners;
    } cases[] = {
        { "triangle", drawClosed(regular(3, 100)), 6, 102, 3 },
        { "square", drawClosed(square), 6, 102, 4 },
        { "square at limit 3", drawClosed(square), 3, 101, 0 },
        { "pentagon", drawClosed(regular(5, 120)), 6, 102, 5 },
        { "hexagon", drawClosed(regular(6, 120, 0)), 6, 102, 6 },
        { "one-stroke star", drawClosed(regular(5, 120, -90, 2)), 6, 102, 5 },
        { "heptagon above the limit", drawClosed(regular(7, 150)), 6, 101, 0 },
        { "heptagon within the limit", drawClosed(regular(7, 150)), 8, 102, 7 },
        { "circle", regular(120, 100, 0) << QPointF(300, 200), 6, 101, 0 },
        // Ovals stay curves however tight their ends; rounded corners stay corners.
        { "oval 3:1, tilted", drawClosed(ellipse({ 200, 200 }, 150, 50, 30, 150)), 6, 101, 0 },
        { "oval 2:1", drawClosed(ellipse({ 200, 200 }, 120, 60, 0, 120)), 6, 101, 0 },
        { "rounded square", drawClosed(rounded(square, 0.15)), 6, 102, 4 },
        { "rounded rectangle 3:1",
            drawClosed(rounded({ { 50, 150 }, { 350, 150 }, { 350, 250 }, { 50, 250 } }, 0.15)), 6,
            102, 4 },
        { "arrowhead (concave)",
            drawClosed({ { 100, 100 }, { 300, 200 }, { 100, 300 }, { 170, 200 } }), 6, 0, 0 },
        { "closed L (concave)",
            drawClosed({ { 100, 100 }, { 160, 100 }, { 160, 240 }, { 300, 240 }, { 300, 300 },
                { 100, 300 } }),
            6, 0, 0 },
        { "bow tie (self-crossing, four corners)",
            drawClosed({ { 100, 100 }, { 300, 300 }, { 300, 100 }, { 100, 300 } }), 6, 0, 0 },
    };
    for (const auto &c : cases) {
        for (bool normalize : { false, true }) {
            SCOPED_TRACE(std::string(c.name) + (normalize ? ", normalised" : ""));
            QRectF rect;
            QVector<QPointF> result = { QPointF(-1, -1) };
            ASSERT_EQ(
                classifyScribble({ c.stroke }, rect, result, c.cornerLimit, normalize), c.category);
            if (c.category != cPOLYGON) {
                EXPECT_EQ(result, QVector<QPointF>({ QPointF(-1, -1) })) << "result untouched";
                continue;
            }
            // The front copy of the closing point is dropped after the rect was taken.
            ASSERT_EQ(result.size(), c.corners);
            EXPECT_NE(result.first(), result.last());
            EXPECT_EQ(rect, getStrokeRectBound(result));
        }
    }
}

TEST(ClassifyScribble, BadInputGivesHandwritingAndLeavesOutputsAlone)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const Stroke square = drawClosed({ { 100, 100 }, { 300, 100 }, { 300, 300 }, { 100, 300 } });
    Stroke withNan = square;
    withNan[10].setX(nan);
    Stroke withInf = square;
    withInf[3].setY(-inf);
    Stroke huge = square;
    for (QPointF &p : huge)
        p *= 1e200;
    const struct
    {
        const char *what;
        Strokes strokes;
    } cases[] = {
        { "no stroke", {} },
        { "empty stroke", { Stroke() } },
        { "one-point stroke", { Stroke { QPointF(3, 4) } } },
        { "empty stroke beside a square", { square, Stroke() } },
        { "NaN", { withNan } },
        { "infinity", { withInf } },
        { "huge coordinates", { huge } },
    };
    for (const auto &c : cases) {
        QRectF rect;
        QVector<QPointF> result = { QPointF(1, 2) };
        Strokes prepared = { Stroke { QPointF(7, 7) } };
        EXPECT_EQ(classifyScribble(c.strokes, rect, result, 6, true, &prepared), cHANDWRITE_DATA)
            << c.what;
        EXPECT_EQ(result.size(), 1) << c.what;
        EXPECT_EQ(prepared.size(), 1) << c.what;
    }

    // Large but finite drawings are classified like small ones.
    Stroke big = square;
    for (QPointF &p : big)
        p = p * 1e6;
    QRectF rect;
    QVector<QPointF> result;
    EXPECT_EQ(classifyScribble({ big }, rect, result, 6, true), cPOLYGON);
}

TEST(ClassifyScribble, PreparedStrokesInputUntouchedAndExitTraceLine)
{
    auto capture = std::make_unique<LogCapture<>>();
    const Strokes strokes = { drawClosed(regular(3, 100)) }, copy = strokes;
    QRectF rect;
    QVector<QPointF> result;
    Strokes prepared;
    const int category = classifyScribble(strokes, rect, result, 6, true, &prepared);
    // The open-stroke analysis writes under the recogniser's file name too.
    check1OpenStroke({ QPointF(0, 0), QPointF(10, 0) }, rect);
    const QStringList lines = capture->lines;
    capture.reset();

    ASSERT_EQ(category, cPOLYGON);
    EXPECT_EQ(strokes, copy);
    ASSERT_EQ(prepared.size(), 1);
    EXPECT_LT(prepared[0].size(), strokes[0].size()) << "prepared strokes are smoothed";
    EXPECT_TRUE(lines.first().endsWith("\tEnter classifyScribble")) << lines.first().toStdString();
    EXPECT_TRUE(lines.filter("\tExit classifyScribble").value(0).endsWith("(102 )"));
    EXPECT_TRUE(lines.last().contains("\tExit check1OpenStroke")) << lines.last().toStdString();
    for (const QString &line : lines.filter(QRegularExpression("(classifyScribble|OpenStroke)$")))
        EXPECT_TRUE(line.startsWith("figurerecogniser\t")) << line.toStdString();
}

// With tracing off the recogniser's loops run inline copies of the geometry kernel's
// arithmetic; with tracing on they call the traced functions. Both ways must give the same
// bits, on ink of every kind and scale.
TEST(ClassifyScribble, SameBitsWithTracingOnAndOff)
{
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    auto walk = [&](int n, double step) {
        Stroke s = { QPointF(300 * unit(rng), 300 * unit(rng)) };
        double heading = 6.3 * unit(rng);
        for (int i = 1; i < n; ++i) {
            heading += unit(rng) - 0.5;
            s << s.last() + step * QPointF(std::cos(heading), std::sin(heading));
        }
        return s;
    };
    auto bits = [](const QVector<QPointF> &points, const QRectF &rect) {
        QByteArray b(reinterpret_cast<const char *>(points.constData()),
            int(points.size() * sizeof(QPointF)));
        const double r[4] = { rect.x(), rect.y(), rect.width(), rect.height() };
        return b + QByteArray(reinterpret_cast<const char *>(r), sizeof r);
    };
    for (int sample = 0; sample < 120; ++sample) {
        Strokes strokes;
        const double scale = sample % 10 == 0 ? 1e-7 : sample % 10 == 1 ? 1e9 : 1.0;
        switch (sample % 4) {
        case 0:
            strokes = { drawClosed(regular(3 + sample % 5, 40 + sample), 2.0, sample) };
            break;
        case 1:
            strokes = { walk(20 + sample * 3, 3.0) };
            break;
        case 2:
            strokes = { walk(15 + sample, 4.0), walk(15 + sample / 2, 4.0) };
            break;
        default:
            strokes = { drawClosed({ QPointF(0, 0), QPointF(90, 10), QPointF(40, 70) }, 6.0,
                sample) };
            strokes[0].insert(sample % strokes[0].size(), strokes[0][sample % strokes[0].size()]);
        }
        for (Stroke &s : strokes)
            for (QPointF &p : s)
                p *= scale;
        QRectF rectOff, rectOn;
        QVector<QPointF> off, on;
        Strokes preparedOff, preparedOn;
        const int categoryOff = classifyScribble(strokes, rectOff, off, 6, true, &preparedOff);
        int categoryOn;
        {
            LogCapture<> tracing(QStringLiteral("TRACE"), [](const QByteArray &) { return QString(); });
            categoryOn = classifyScribble(strokes, rectOn, on, 6, true, &preparedOn);
        }
        EXPECT_EQ(categoryOff, categoryOn) << "sample " << sample;
        EXPECT_EQ(bits(off, rectOff), bits(on, rectOn)) << "sample " << sample;
        ASSERT_EQ(preparedOff.size(), preparedOn.size()) << "sample " << sample;
        for (int i = 0; i < preparedOff.size(); ++i)
            EXPECT_EQ(bits(preparedOff[i], {}), bits(preparedOn[i], {})) << "sample " << sample;
    }
}

TEST(ShapeNormalisers, SnapRoughShapesAndLeaveShapesNearNoFormAsDrawn)
{
    const auto side
        = [](const QVector<QPointF> &p, int i) { return QLineF(p[i], p[i + 1]).length(); };
    QVector<QPointF> square
        = { { 100, 103 }, { 207, 98 }, { 203, 205 }, { 97, 199 }, { 100, 103 } };
    QVector<QPointF> rectangle
        = { { 100, 100 }, { 302, 104 }, { 298, 201 }, { 101, 198 }, { 100, 100 } };
    QVector<QPointF> triangle = { { 100, 100 }, { 103, 250 }, { 260, 246 }, { 100, 100 } };
    QVector<QPointF> pentagon = regular(5, 100, -84);
    pentagon[2] += QPointF(3, -2);
    pentagon << pentagon.first();
    normalizeQuadrangle(square);
    normalizeQuadrangle(rectangle);
    normalizeTriangle(triangle);
    normalizePentagon(pentagon);
    for (const QVector<QPointF> *shape : { &square, &rectangle, &triangle, &pentagon })
        EXPECT_EQ(shape->first(), shape->last()) << "still closed";
    ASSERT_EQ(square.size(), 5);
    ASSERT_EQ(triangle.size(), 4);
    ASSERT_EQ(pentagon.size(), 6);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(isAxisParallel(square[i], square[i + 1])) << i;
        EXPECT_NEAR(side(square, i), side(square, 0), 1e-9) << i;
        EXPECT_TRUE(isAxisParallel(rectangle[i], rectangle[i + 1])) << i;
    }
    EXPECT_NEAR(side(rectangle, 0), 199.5, 0.1) << "a rectangle is not made a square";
    EXPECT_NEAR(side(rectangle, 1), 97.5, 0.1);
    EXPECT_DOUBLE_EQ(triangle[0].x(), triangle[1].x());
    EXPECT_DOUBLE_EQ(triangle[1].y(), triangle[2].y());
    // The rotation by 6 degrees is undone: the top corner points straight up.
    EXPECT_NEAR(pentagon[0].x(), 200.0 + 0.6, 1.0);
    for (int i = 0; i < 5; ++i)
        EXPECT_NEAR(side(pentagon, i), side(pentagon, 0), 1e-9) << i;

    QVector<QPointF> lopsided = regular(6, 100, 0);
    lopsided[1] *= 1.3;
    lopsided << lopsided.first();
    const struct
    {
        const char *what;
        QVector<QPointF> points;
        void (*normalise)(QVector<QPointF> &);
    } untouched[] = {
        { "scalene triangle", { { 0, 0 }, { 200, 0 }, { 150, 60 }, { 0, 0 } }, normalizeTriangle },
        { "irregular quadrangle", { { 0, 0 }, { 200, 20 }, { 150, 140 }, { 30, 90 }, { 0, 0 } },
            normalizeQuadrangle },
        { "lopsided hexagon", lopsided, normalizeHexagon },
        { "wrong corner count", { { 0, 0 }, { 10, 0 }, { 0, 10 }, { 0, 0 } }, normalizeQuadrangle },
    };
    for (const auto &c : untouched) {
        QVector<QPointF> points = c.points;
        c.normalise(points);
        EXPECT_EQ(points, c.points) << c.what;
    }
}

TEST(EllipseFit, NoisyEllipsesWithinThreePercent)
{
    // Noise of 1% of the mean radius; the rotation is judged only where the ellipse is not
    // nearly round. Axes within 10% of each other come back as a circle.
    const struct
    {
        double aspect, degrees;
        int points;
    } cases[] = { { 1.0, 0, 60 }, { 1.05, 40, 300 }, { 1.2, -70, 80 }, { 1.3, 25, 40 },
        { 1.3, -89, 250 }, { 2.0, 60, 100 }, { 2.0, -15, 1200 }, { 3.0, 0, 50 }, { 3.0, 89, 300 },
        { 3.0, -45, 120 } };
    int seed = 0;
    for (const auto &c : cases) {
        for (double rx : { 30.0, 180.0 }) {
            SCOPED_TRACE(testing::Message() << "aspect " << c.aspect << ", " << c.degrees
                                            << " degrees, " << c.points << " points, rx " << rx);
            const double ry = rx / c.aspect;
            const QPointF centre(300 + rx, 40 - rx);
            ++seed;
            const CEllipseFit fit = fitEllipse(
                ellipse(centre, rx, ry, c.degrees, c.points, 0.01 * (rx + ry) / 2, seed, seed));
            ASSERT_TRUE(fit.ok);
            EXPECT_EQ(fit.circle, c.aspect < 1.1);
            EXPECT_NEAR(fit.cx, centre.x(), 0.03 * ry);
            EXPECT_NEAR(fit.cy, centre.y(), 0.03 * ry);
            EXPECT_NEAR(fit.rx, fit.circle ? (rx + ry) / 2 : rx, 0.03 * rx);
            EXPECT_NEAR(fit.ry, fit.circle ? (rx + ry) / 2 : ry, 0.03 * ry);
            if (c.aspect >= 1.3) {
                const double off = std::fmod(std::fabs(fit.angle - c.degrees), 180.0);
                EXPECT_LE(std::min(off, 180.0 - off), 3.0) << fit.angle;
            }
            EXPECT_GT(fit.residual, 0.003);
            EXPECT_LT(fit.residual, fit.circle ? 0.04 : 0.02) << "snapping adds the axes' spread";
        }
    }
    // The outline for drawing lies on the ellipse and is closed.
    const CEllipseFit fit = fitEllipse(ellipse({ 10, 20 }, 50, 20, 30, 40));
    const QVector<QPointF> outline = ellipseOutline(fit, 8);
    ASSERT_EQ(outline.size(), 9);
    EXPECT_EQ(outline.first(), outline.last());
    EXPECT_LT(fitEllipse(outline).residual, 1e-9);
    EXPECT_TRUE(ellipseOutline(CEllipseFit()).isEmpty());
}

TEST(EllipseFit, PointsNoEllipseFitsFailWithoutNaN)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    Stroke five = ellipse({ 0, 0 }, 50, 30, 10, 5);
    const struct
    {
        const char *what;
        Stroke points;
    } cases[] = {
        { "no points", {} },
        { "four points of an ellipse", ellipse({ 0, 0 }, 50, 30, 10, 4) },
        { "collinear", { { 0, 0 }, { 1, 2 }, { 2, 4 }, { 3, 6 }, { 4, 8 }, { 5, 10 } } },
        { "one spot", Stroke(6, QPointF(7, 7)) },
        { "NaN", Stroke(five) << QPointF(nan, 1) },
        { "infinity", Stroke(five) << QPointF(1, -inf) },
        { "on a parabola", { { 0, 0 }, { 10, 1 }, { 20, 4 }, { 30, 9 }, { 40, 16 }, { 50, 25 } } },
    };
    for (const auto &c : cases) {
        const CEllipseFit fit = fitEllipse(c.points);
        EXPECT_FALSE(fit.ok) << c.what;
        for (double v : { fit.cx, fit.cy, fit.rx, fit.ry, fit.angle, fit.residual })
            EXPECT_EQ(v, 0.0) << c.what;
    }
    EXPECT_TRUE(fitEllipse(five).ok) << "five points are enough";
}
