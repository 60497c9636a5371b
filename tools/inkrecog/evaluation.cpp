#include "evaluation.h"

#include <libutility/geometry/geometry.h>
#include <libutility/geometry/strokeutil.h>
#include <libutility/recognition/figurerecogniser.h>

#include <QMap>
#include <QStringList>

#include <algorithm>
#include <cmath>

using namespace CFigureRecogniser;

Expectation expectationFor(const QString &label)
{
    static const QMap<QString, Expectation> table = {
        { "triangle", { Expect::Polygon, 3 } },
        { "rectangle", { Expect::Polygon, 4 } },
        { "star", { Expect::Polygon, 5 } },
        { "five_point_star", { Expect::Polygon, 5 } },
        { "circle", { Expect::ClosedCurve, 0 } },
        // The generated closed figures (makesamples --hand-figures).
        { "oval", { Expect::ClosedCurve, 0 } },
        { "square", { Expect::Polygon, 4 } },
        { "diamond", { Expect::Polygon, 4 } },
        { "pentagon", { Expect::Polygon, 5 } },
        { "hexagon", { Expect::Polygon, 6 } },
        { "caret", { Expect::BentLine, 0 } },
        { "v", { Expect::BentLine, 0 } },
        { "check", { Expect::Check, 0 } },
        { "left_sq_bracket", { Expect::Bracket, 0 } },
        { "right_sq_bracket", { Expect::Bracket, 0 } },
        { "line", { Expect::HorizontalLine, 0 } },
        { "T", { Expect::TwoStrokeFigure, 0 } },
        { "X", { Expect::TwoStrokeFigure, 0 } },
    };
    static const QStringList handwriting = { "arrow", "x", "delete_mark", "pigtail",
        "question_mark", "left_curly_brace", "right_curly_brace", "asterisk", "H", "I", "N",
        "half_note", "exclamation_point", "pitchfork" };
    if (table.contains(label))
        return table.value(label);
    if (handwriting.contains(label))
        return { Expect::Handwriting, 0 };
    return {};
}

QString describe(const Expectation &e)
{
    switch (e.kind) {
    case Expect::Polygon:
        return QStringLiteral("102/%1").arg(e.corners);
    case Expect::ClosedCurve:
        return QStringLiteral("101");
    case Expect::BentLine:
        return QStringLiteral("114");
    case Expect::Check:
        return QStringLiteral("203|204|114");
    case Expect::Bracket:
        return QStringLiteral("115");
    case Expect::HorizontalLine:
        return QStringLiteral("205");
    case Expect::TwoStrokeFigure:
        return QStringLiteral("206");
    case Expect::Handwriting:
        return QStringLiteral("0");
    case Expect::NotScored:
        break;
    }
    return QStringLiteral("-");
}

Outcome recognise(const Sample &sample, const Settings &settings)
{
    Outcome outcome;
    outcome.category
        = classifyScribble(sample.strokes, outcome.rect, outcome.result, settings.cornerLimit,
            settings.normalize, settings.keepPrepared ? &outcome.prepared : nullptr);
    if (outcome.category == cPOLYGON)
        outcome.corners = outcome.result.size();
    if (outcome.category == cCLOSED_CURVE) {
        QVector<QPointF> points;
        for (const QVector<QPointF> &stroke : sample.strokes)
            points += stroke;
        outcome.ellipse = fitEllipse(points);
    }
    return outcome;
}

bool endsMeet(const Sample &sample)
{
    if (sample.strokes.size() != 1 || sample.strokes[0].size() < 2)
        return false;
    const QVector<QPointF> &s = sample.strokes[0];
    return 0.1 * Util::calcStrokeLength(s) > Util::getDistance(s.first(), s.last());
}

namespace {

// Whether a check mark's longer leg is more than twice its shorter one, the corner
// being the point farthest from the chord of the whole (first) stroke.
bool isUnequalCheck(const Sample &sample)
{
    QVector<QPointF> points;
    for (const QVector<QPointF> &stroke : sample.strokes)
        points += stroke;
    if (points.size() < 3)
        return false;
    int corner = 0;
    double farthest = -1.0;
    for (int i = 1; i + 1 < points.size(); ++i) {
        const double d
            = Util::calcDistanceToLineSegment(points.first(), points.last(), points[i], nullptr);
        if (d > farthest) {
            farthest = d;
            corner = i;
        }
    }
    const double a = Util::getDistance(points.first(), points[corner]);
    const double b = Util::getDistance(points[corner], points.last());
    return std::max(a, b) > 2.0 * std::min(a, b);
}

} // namespace

bool matches(const Sample &sample, const Expectation &e, const Outcome &o)
{
    switch (e.kind) {
    case Expect::Polygon:
        return o.category == cPOLYGON && o.corners == e.corners;
    case Expect::ClosedCurve:
        return o.category == cCLOSED_CURVE;
    case Expect::BentLine:
        return o.category == cBENT_LINE;
    case Expect::Check:
        if (isUnequalCheck(sample))
            return o.category == cUNEQUAL_BEND_A || o.category == cUNEQUAL_BEND_B;
        return o.category == cBENT_LINE;
    case Expect::Bracket:
        return o.category == cTHREE_SEGMENT_LINE;
    case Expect::HorizontalLine:
        return o.category == cHORIZONTAL_LINE;
    case Expect::TwoStrokeFigure:
        return o.category == cTWO_STROKE_FIGURE;
    case Expect::Handwriting:
        return o.category == cHANDWRITE_DATA;
    case Expect::NotScored:
        break;
    }
    return false;
}

QString answerKey(const Outcome &o)
{
    if (o.category == cPOLYGON)
        return QStringLiteral("102/%1").arg(o.corners);
    return QString::number(o.category);
}

QString ellipseText(const Outcome &o)
{
    if (o.category != cCLOSED_CURVE || !o.ellipse.ok)
        return QStringLiteral("-");
    const auto n = [](double v) { return QString::number(std::round(v * 10.0) / 10.0, 'g', 12); };
    const CEllipseFit &e = o.ellipse;
    if (e.circle)
        return QStringLiteral("circle %1,%2 r %3").arg(n(e.cx), n(e.cy), n(e.rx));
    return QStringLiteral("ellipse %1,%2 %3x%4 %5deg").arg(n(e.cx), n(e.cy), n(e.rx), n(e.ry), n(e.angle));
}

QString categoryName(int category)
{
    static const QMap<int, QString> names = {
        { cHANDWRITE_DATA, QStringLiteral("handwriting") },
        { cCLOSED_CURVE, QStringLiteral("closed curve") },
        { cPOLYGON, QStringLiteral("polygon") },
        { cLINE, QStringLiteral("line") },
        { cHORIZONTAL_LINE, QStringLiteral("horizontal line") },
        { cBENT_LINE, QStringLiteral("bent line") },
        { cTHREE_SEGMENT_LINE, QStringLiteral("three-segment line") },
        { cUNEQUAL_BEND_A, QStringLiteral("unequal bend A") },
        { cUNEQUAL_BEND_B, QStringLiteral("unequal bend B") },
        { cTWO_STROKE_FIGURE, QStringLiteral("two-stroke figure") },
    };
    return names.value(category, QStringLiteral("unknown"));
}

namespace {

struct LabelStats
{
    int total = 0;
    int matched = 0;
    int closable = 0;
    int matchedClosable = 0;
    QMap<QString, int> answers;
};

QString percent(int part, int whole)
{
    if (whole == 0)
        return QStringLiteral("-");
    return QString::number(100.0 * part / whole, 'f', 1) + '%';
}

} // namespace

void printSummary(QTextStream &out, const QVector<Sample> &samples,
    const QVector<Outcome> &outcomes, const Settings &settings)
{
    QMap<QString, LabelStats> stats;
    QStringList order;
    int nonFigures = 0;
    int nonFiguresAsFigures = 0;
    for (int i = 0; i < samples.size(); ++i) {
        const Sample &sample = samples[i];
        const Outcome &outcome = outcomes[i];
        if (!stats.contains(sample.label))
            order.append(sample.label);
        LabelStats &s = stats[sample.label];
        const Expectation e = expectationFor(sample.label);
        const bool ok = matches(sample, e, outcome);
        ++s.total;
        s.matched += ok;
        ++s.answers[answerKey(outcome)];
        if (endsMeet(sample)) {
            ++s.closable;
            s.matchedClosable += ok;
        }
        if (e.kind == Expect::Handwriting) {
            ++nonFigures;
            nonFiguresAsFigures += outcome.category != cHANDWRITE_DATA;
        }
    }

    out << "corner limit " << settings.cornerLimit << ", normalise "
        << (settings.normalize ? "on" : "off") << ", " << samples.size() << " samples\n";
    out << QStringLiteral("%1 %2 %3 %4 %5  %6\n")
               .arg("label", -18)
               .arg("n", 5)
               .arg("expect", 12)
               .arg("match", 7)
               .arg("ends-meet match", 20)
               .arg("answers");
    std::sort(order.begin(), order.end());
    for (const QString &label : order) {
        const LabelStats &s = stats[label];
        const Expectation e = expectationFor(label);
        const bool closed = e.kind == Expect::Polygon || e.kind == Expect::ClosedCurve;
        QStringList answers;
        for (auto it = s.answers.cbegin(); it != s.answers.cend(); ++it)
            answers << QStringLiteral("%1:%2").arg(it.key()).arg(it.value());
        out << QStringLiteral("%1 %2 %3 %4 %5  %6\n")
                   .arg(label, -18)
                   .arg(s.total, 5)
                   .arg(describe(e), 12)
                   .arg(e.kind == Expect::NotScored ? QStringLiteral("-")
                                                    : percent(s.matched, s.total),
                       7)
                   .arg(closed ? QStringLiteral("%1 of %2")
                                     .arg(percent(s.matchedClosable, s.closable))
                                     .arg(s.closable)
                               : QStringLiteral("-"),
                       20)
                   .arg(answers.join(' '));
    }
    out << "non-figure labels turned into figures: " << nonFiguresAsFigures << " of " << nonFigures
        << " (" << percent(nonFiguresAsFigures, nonFigures) << ")\n";
}
