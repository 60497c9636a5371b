// Running the recogniser over labelled samples and scoring the answers against the
// table of what a good recogniser should say for each label.
#ifndef INKRECOG_EVALUATION_H
#define INKRECOG_EVALUATION_H

#include "scribbleset.h"

#include <libutility/recognition/ellipsefit.h>

#include <QRectF>
#include <QTextStream>

struct Settings
{
    int cornerLimit = 6;
    bool normalize = true;
    // Keep the recogniser's prepared strokes in Outcome::prepared (for drawing).
    bool keepPrepared = false;
};

struct Outcome
{
    int category = 0;
    int corners = 0; // for polygons
    QRectF rect;
    QVector<QPointF> result;
    QVector<QVector<QPointF>> prepared; // when Settings::keepPrepared
    // For closed curves: the ellipse fitted to all the scribble's points.
    CFigureRecogniser::CEllipseFit ellipse;
};

// What a label should give. NotScored labels are reported but never counted.
enum class Expect {
    Polygon, // 102 with `corners` corners
    ClosedCurve, // 101
    BentLine, // 114
    Check, // 203/204 when the long leg is over twice the short one, else 114
    Bracket, // 115
    HorizontalLine, // 205
    TwoStrokeFigure, // 206
    Handwriting, // 0
    NotScored,
};

struct Expectation
{
    Expect kind = Expect::NotScored;
    int corners = 0;
};

Expectation expectationFor(const QString &label);
QString describe(const Expectation &expectation);

Outcome recognise(const Sample &sample, const Settings &settings);
bool matches(const Sample &sample, const Expectation &expectation, const Outcome &outcome);
// The recogniser's closure test on the raw ink: one stroke whose ends lie closer than a
// tenth of its length.
bool endsMeet(const Sample &sample);
// "0", "101", "102/4" ...
QString answerKey(const Outcome &outcome);
// The fitted ellipse of a closed curve in short: "ellipse 200,180 120x60 25deg" or
// "circle 200,180 r 90"; "-" when there is none.
QString ellipseText(const Outcome &outcome);
// A short name of a category ("handwriting", "polygon", ...); "unknown" for a value the
// recogniser does not return.
QString categoryName(int category);

// Prints the per-label table of samples classified as outcomes (outcomes[i] belongs to
// samples[i]).
void printSummary(QTextStream &out, const QVector<Sample> &samples,
    const QVector<Outcome> &outcomes, const Settings &settings);

#endif
