// makesamples: writes the bundled sample set, ink that looks drawn by hand.
//
//   makesamples [--seed-offset N] OUTDIR
//   makesamples --hand-figures COUNT [--seed-base N] FILE.jsonl
//
// --seed-offset draws every sample with other noise (the committed set uses 0): a quick
// way to see how much of the set's classification rests on the particular seeds.
//
// Every sample is a list of ideal paths (corners of a polygon, a curve) that a "hand"
// traces: points a few units apart at an uneven pace, a slow wobble across the path,
// a little jitter, a start and an end that miss each other by a few units, and the whole
// figure slightly turned. The noise comes from a generator seeded per sample, so the
// files are the same on every run and every machine (std::mt19937 is fully specified;
// the real-valued draws are made from its raw output here, not with the library's
// distributions, whose algorithms differ between standard libraries).
//
// The files are written with CScribble::writeTo, read back and classified with the
// library (corner limit 6, normalisation on), and a line per file is printed, so that a
// change of the noise can be checked at once. The set is meant to be generated once and
// committed; the tests hold the answer expected for each file name.
//
// --hand-figures writes COUNT hand-like closed figures of each label of
// tools/common/handfigures.h as JSON lines (label, seed, device, ideal ellipse of a curve,
// one stroke), for `inkrecog --summary`. The figure of label number L and index k has the
// seed base * 1000000 + L * 100000 + k. That data is made when needed, not committed.
#include "handfigures.h"

#include <libutility/ink/scribble.h>
#include <libutility/ink/stroke.h>
#include <libutility/recognition/figurerecogniser.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointF>
#include <QVector>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <string>

namespace {

constexpr double kPi = 3.14159265358979323846;
using Path = QVector<QPointF>;

double length(const QPointF &v) { return std::hypot(v.x(), v.y()); }

// One drawing hand: all the randomness of one sample.
class Hand
{
public:
    explicit Hand(quint32 seed)
        : m_rng(seed)
    { }

    double uniform(double lo, double hi) { return m_rng.uniform(lo, hi); }

    // Traces the polyline through path: a point every 3 to 6 units of travel, each
    // pushed across the path by a slow two-frequency wobble.
    Path trace(const Path &path)
    {
        const Wave wave = newWave();
        Path out;
        if (path.isEmpty())
            return out;
        double travelled = 0.0;
        out << path.first() + wave.normal(path, 0) * wave.at(0.0);
        for (int i = 1; i < path.size(); ++i) {
            const QPointF from = path[i - 1];
            const QPointF d = path[i] - from;
            const double len = length(d);
            if (len <= 0.0)
                continue;
            const QPointF normal(-d.y() / len, d.x() / len);
            double s = uniform(3.0, 6.0);
            for (; s < len; s += uniform(3.0, 6.0))
                out << from + d * (s / len) + normal * wave.at(travelled + s);
            travelled += len;
            out << path[i] + normal * wave.at(travelled);
        }
        return out;
    }

    // Samples a curve f(t) for t in [t0, t1] at about `spacing` units apart.
    Path curve(const std::function<QPointF(double)> &f, double t0, double t1, double spacing = 4.5)
    {
        Path out;
        const int probe = 400;
        double arc = 0.0;
        for (int i = 1; i <= probe; ++i)
            arc += length(f(t0 + (t1 - t0) * i / probe) - f(t0 + (t1 - t0) * (i - 1) / probe));
        const int steps = std::max(2, static_cast<int>(arc / spacing));
        for (int i = 0; i <= steps; ++i) {
            const double jitter = (i == 0 || i == steps) ? 0.0 : uniform(-0.3, 0.3);
            out << f(t0 + (t1 - t0) * (i + jitter) / steps);
        }
        return out;
    }

    // A slowly varying radius factor for round shapes: 1 +- amplitude.
    std::function<double(double)> radiusWave(double amplitude)
    {
        const double p1 = uniform(0, 2 * kPi), p2 = uniform(0, 2 * kPi);
        const double a2 = amplitude * uniform(0.3, 0.6);
        return [=](double t) {
            return 1.0 + amplitude * std::sin(2 * t + p1) + a2 * std::sin(5 * t + p2);
        };
    }

    // The ink of one stroke: sub-unit jitter, then integer device coordinates.
    CStroke ink(const Path &points)
    {
        CStroke stroke;
        for (const QPointF &p : points) {
            stroke.addPoint(QPoint(static_cast<int>(std::lround(p.x() + uniform(-0.6, 0.6))),
                static_cast<int>(std::lround(p.y() + uniform(-0.6, 0.6)))));
        }
        return stroke;
    }

private:
    struct Wave
    {
        double a1, l1, p1, a2, l2, p2;
        double at(double s) const
        {
            return a1 * std::sin(2 * kPi * s / l1 + p1) + a2 * std::sin(2 * kPi * s / l2 + p2);
        }
        static QPointF normal(const Path &path, int i)
        {
            if (path.size() < 2)
                return QPointF();
            const QPointF d = path[i + 1] - path[i];
            const double len = length(d);
            return len > 0 ? QPointF(-d.y() / len, d.x() / len) : QPointF();
        }
    };

    Wave newWave()
    {
        return Wave { uniform(0.8, 1.6), uniform(90, 160), uniform(0, 2 * kPi), uniform(0.3, 0.7),
            uniform(25, 45), uniform(0, 2 * kPi) };
    }

    HandFigures::Rng m_rng;
};

// Turns by `degrees` about the origin, scales, then moves to `centre`.
Path place(const Path &shape, QPointF centre, double scale, double degrees)
{
    const double a = degrees * kPi / 180.0, c = std::cos(a), s = std::sin(a);
    Path out;
    for (const QPointF &p : shape)
        out << centre + QPointF(c * p.x() - s * p.y(), s * p.x() + c * p.y()) * scale;
    return out;
}

// The path of a closed figure drawn from its first corner round and back: the pen
// overshoots the start along the first side (gap > 0) or stops short of it (gap < 0).
Path closedPath(const Path &corners, double gap)
{
    Path path = corners;
    const QPointF start = corners.first();
    if (gap >= 0) {
        const QPointF d = corners[1] - start;
        path << start << start + d * (gap / length(d));
    } else {
        const QPointF d = corners.last() - start;
        path << start + d * (-gap / length(d));
    }
    return path;
}

// Corners of a regular n-gon of radius 1, the first at `startDegrees`, visiting every
// `step`-th corner (step 2 on five corners gives the one-stroke star).
Path regular(int n, double startDegrees = -90.0, int step = 1)
{
    Path out;
    for (int i = 0; i < n; ++i) {
        const double a = (startDegrees + 360.0 * step * i / n) * kPi / 180.0;
        out << QPointF(std::cos(a), std::sin(a));
    }
    return out;
}

struct Sample
{
    const char *name;
    quint32 seed;
    std::function<QVector<Path>(Hand &)> draw;
};

// A closed polygon in one stroke, slightly turned, with a small gap or overshoot.
std::function<QVector<Path>(Hand &)> polygon(Path corners, double scale, double degrees = 0.0)
{
    return [=](Hand &hand) {
        const Path shape
            = place(corners, QPointF(200, 200), scale, degrees + hand.uniform(-2.0, 2.0));
        return QVector<Path> { hand.trace(closedPath(shape, hand.uniform(-5.0, 6.0))) };
    };
}

// Open strokes through the given paths (in a 0..400 box), each traced by the hand.
std::function<QVector<Path>(Hand &)> strokes(QVector<Path> paths)
{
    return [=](Hand &hand) {
        QVector<Path> out;
        for (const Path &path : paths)
            out << hand.trace(path);
        return out;
    };
}

// A closed round shape: an ellipse of radii rx, ry whose radius wobbles a little.
std::function<QVector<Path>(Hand &)> roundShape(double rx, double ry, double degrees)
{
    return [=](Hand &hand) {
        const auto wave = hand.radiusWave(0.025);
        const double start = hand.uniform(0, 2 * kPi), over = hand.uniform(-0.08, 0.12);
        const double a = degrees * kPi / 180.0;
        auto f = [=](double t) {
            const QPointF p(rx * wave(t) * std::cos(t), ry * wave(t) * std::sin(t));
            return QPointF(200 + std::cos(a) * p.x() - std::sin(a) * p.y(),
                200 + std::sin(a) * p.x() + std::cos(a) * p.y());
        };
        return QVector<Path> { hand.curve(f, start, start + 2 * kPi + over) };
    };
}

// Cursive loops (a prolate cycloid): a joined-up word of `loops` letters.
Path cursive(Hand &hand, QPointF origin, int loops, double width, double height)
{
    const auto wave = hand.radiusWave(0.15);
    auto f = [=](double t) {
        return origin
            + QPointF(width * (t - 1.6 * std::sin(t)) / (2 * kPi),
                -height * (0.5 - 0.5 * std::cos(t)) * wave(t * 0.7));
    };
    return hand.curve(f, 0.0, 2 * kPi * loops + 1.2);
}

const QVector<Sample> &samples()
{
    static const QVector<Sample> list {
        // Polygons (102).
        { "triangle.ink", 11, polygon(regular(3), 110) },
        { "triangle-right.ink", 12, polygon({ { -1, -1 }, { -1, 1 }, { 1.2, 1 } }, 90) },
        { "triangle-flat.ink", 13, polygon({ { -1.5, 0.6 }, { 0.3, -0.7 }, { 1.5, 0.6 } }, 80) },
        { "square.ink", 21, polygon({ { -1, -1 }, { 1, -1 }, { 1, 1 }, { -1, 1 } }, 80) },
        { "rectangle.ink", 22,
            polygon({ { -1.6, -1 }, { 1.6, -1 }, { 1.6, 1 }, { -1.6, 1 } }, 70) },
        { "diamond.ink", 23, polygon({ { 0, -1.4 }, { 1, 0 }, { 0, 1.4 }, { -1, 0 } }, 80) },
        { "parallelogram.ink", 24,
            polygon({ { -1.2, -0.8 }, { 1.6, -0.8 }, { 1.2, 0.8 }, { -1.6, 0.8 } }, 70) },
        { "trapezium.ink", 25,
            polygon({ { -0.8, -0.8 }, { 0.8, -0.8 }, { 1.6, 0.8 }, { -1.6, 0.8 } }, 70) },
        { "pentagon.ink", 31, polygon(regular(5), 110) },
        { "hexagon.ink", 32, polygon(regular(6, 0), 110) },
        { "star.ink", 33, polygon(regular(5, -90, 2), 130) },
        { "square-two-strokes.ink", 41,
            strokes({ { { 120, 120 }, { 282, 118 }, { 284, 280 } },
                { { 285, 284 }, { 121, 282 }, { 118, 124 } } }) },
        // Closed curves (101).
        { "circle.ink", 51, roundShape(110, 110, 0) },
        { "ellipse.ink", 52, roundShape(150, 85, 8) },
        { "octagon.ink", 53, polygon(regular(8, 22.5), 120) },
        // Straight lines (205, 103).
        { "line-horizontal.ink", 61, strokes({ { { 60, 200 }, { 330, 207 } } }) },
        { "line-vertical.ink", 62, strokes({ { { 198, 50 }, { 205, 340 } } }) },
        { "line-diagonal.ink", 63, strokes({ { { 80, 320 }, { 310, 90 } } }) },
        // Bent lines (114, 203, 204, 115).
        { "caret.ink", 71, strokes({ { { 90, 300 }, { 200, 110 }, { 310, 300 } } }) },
        { "vee.ink", 72, strokes({ { { 100, 100 }, { 200, 300 }, { 300, 100 } } }) },
        { "corner-two-strokes.ink", 73,
            strokes({ { { 100, 300 }, { 190, 110 } }, { { 232, 118 }, { 320, 300 } } }) },
        { "check.ink", 74, strokes({ { { 120, 210 }, { 165, 255 }, { 230, 100 } } }) },
        { "check-mirrored.ink", 75, strokes({ { { 280, 210 }, { 235, 255 }, { 170, 100 } } }) },
        { "bracket.ink", 76,
            strokes({ { { 250, 100 }, { 170, 102 }, { 168, 300 }, { 262, 298 } } }) },
        // Two-stroke figures (206).
        { "cross.ink", 81,
            strokes({ { { 110, 110 }, { 290, 290 } }, { { 290, 110 }, { 110, 290 } } }) },
        { "plus.ink", 82,
            strokes({ { { 80, 200 }, { 320, 203 } }, { { 200, 80 }, { 197, 320 } } }) },
        { "tee.ink", 83,
            strokes({ { { 80, 100 }, { 320, 104 } }, { { 200, 110 }, { 202, 320 } } }) },
        // Handwriting (0).
        { "handwriting-word.ink", 91,
            [](Hand &hand) {
                return QVector<Path> { cursive(hand, QPointF(40, 240), 6, 48, 70),
                    hand.trace({ { 150, 195 }, { 188, 192 } }) };
            } },
        { "handwriting-letters.ink", 92,
            strokes({ { { 100, 120 }, { 102, 280 } }, { { 190, 118 }, { 188, 282 } },
                { { 101, 200 }, { 189, 198 } }, { { 260, 120 }, { 262, 280 } } }) },
        { "handwriting-signature.ink", 93,
            [](Hand &hand) {
                auto f = [](double t) {
                    return QPointF(40 + 34 * t + 22 * std::sin(2.7 * t),
                        220 - 45 * std::sin(1.9 * t) - 18 * std::cos(4.3 * t));
                };
                return QVector<Path> { hand.curve(f, 0.0, 9.0) };
            } },
        { "handwriting-arches.ink", 94,
            [](Hand &hand) {
                auto f = [](double t) {
                    return QPointF(60 + 28 * t, 260 - 70 * std::fabs(std::sin(t)));
                };
                return QVector<Path> { hand.curve(f, 0.0, 3 * kPi) };
            } },
    };
    return list;
}

QVector<QVector<QPointF>> toPoints(const CScribble &scribble)
{
    QVector<QVector<QPointF>> out;
    for (long i = 0; i < scribble.getStrokeNum(); ++i) {
        const CStroke &stroke = scribble.getStrokeAt(i);
        QVector<QPointF> points;
        for (long j = 0; j < stroke.getPointNum(); ++j)
            points << QPointF(stroke.getPointAt(j));
        out << points;
    }
    return out;
}

int writeHandFigures(int count, quint32 base, const QString &fileName)
{
    QFile file(fileName);
    if (count < 1 || count >= 100000 || !file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        std::fprintf(stderr, "makesamples: cannot write %s\n", qPrintable(fileName));
        return 1;
    }
    const QStringList &labels = HandFigures::labels();
    for (int l = 0; l < labels.size(); ++l) {
        for (int k = 0; k < count; ++k) {
            const quint32 seed = base * 1000000u + quint32(l) * 100000u + quint32(k);
            const HandFigures::Figure f = HandFigures::draw(labels[l], seed);
            QJsonArray stroke;
            for (const QPointF &p : f.points)
                stroke.append(QJsonArray { p.x(), p.y() });
            QJsonObject o { { "label", f.label }, { "seed", qint64(seed) },
                { "device", f.tablet ? "tablet" : "mouse" },
                { "strokes", QJsonArray { stroke } } };
            if (f.corners == 0)
                o["ellipse"] = QJsonObject { { "cx", f.centre.x() }, { "cy", f.centre.y() },
                    { "rx", f.rx }, { "ry", f.ry }, { "angle", f.angle } };
            file.write(QJsonDocument(o).toJson(QJsonDocument::Compact) + '\n');
        }
    }
    return file.flush() ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc >= 4 && std::string(argv[1]) == "--hand-figures") {
        bool countOk = false, baseOk = true;
        const int count = QString::fromLocal8Bit(argv[2]).toInt(&countOk);
        quint32 base = 0;
        if (argc == 6 && std::string(argv[3]) == "--seed-base")
            base = QString::fromLocal8Bit(argv[4]).toUInt(&baseOk);
        if (countOk && baseOk && (argc == 4 || argc == 6))
            return writeHandFigures(count, base, QString::fromLocal8Bit(argv[argc - 1]));
        std::fprintf(stderr, "usage: makesamples --hand-figures COUNT [--seed-base N] FILE\n");
        return 2;
    }
    quint32 seedOffset = 0;
    int arg = 1;
    bool ok = true;
    if (argc == 4 && std::string(argv[1]) == "--seed-offset") {
        seedOffset = QString::fromLocal8Bit(argv[2]).toUInt(&ok);
        arg = 3;
    }
    if (!ok || argc != arg + 1) {
        std::fprintf(stderr,
            "usage: makesamples [--seed-offset N] OUTDIR\n"
            "       makesamples --hand-figures COUNT [--seed-base N] FILE\n");
        return 2;
    }
    const QString dir = QString::fromLocal8Bit(argv[arg]);
    if (!QDir().mkpath(dir)) {
        std::fprintf(stderr, "makesamples: cannot create %s\n", argv[arg]);
        return 1;
    }
    for (const Sample &sample : samples()) {
        Hand hand(sample.seed + 1000 * seedOffset);
        CScribble scribble;
        for (const Path &path : sample.draw(hand))
            scribble.addStroke(hand.ink(path));
        scribble.invalidateCache();

        const std::string path = QDir(dir).filePath(sample.name).toStdString();
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        scribble.writeTo(file);
        file.close();
        if (!file) {
            std::fprintf(stderr, "makesamples: cannot write %s\n", path.c_str());
            return 1;
        }

        // Read back what was written, and say what the recogniser makes of it.
        std::ifstream in(path, std::ios::binary);
        CScribble back;
        back.readFrom(in);
        QRectF rect;
        QVector<QPointF> corners;
        const int category
            = CFigureRecogniser::classifyScribble(toPoints(back), rect, corners, 6, true);
        long points = 0;
        for (long i = 0; i < back.getStrokeNum(); ++i)
            points += back.getStrokeAt(i).getPointNum();
        std::printf("%-28s %3d", sample.name, category);
        if (category == CFigureRecogniser::cPOLYGON)
            std::printf("/%d", static_cast<int>(corners.size()));
        std::printf("\t%ld strokes, %ld points\n", back.getStrokeNum(), points);
    }
    return 0;
}
