// The bundled sample set (examples/scribbles): every file is classified as its name says,
// with the settings the tools use by default (corner limit 6, normalisation on).
#include "support/printers.h"

#include <libutility/ink/scribble.h>
#include <libutility/recognition/figurerecogniser.h>

#include <QDir>
#include <QSet>

#include <gtest/gtest.h>

#include <fstream>
#include <map>

namespace {

struct Expected
{
    int category;
    int corners; // polygons only
};

// What each sample is drawn to be. A new sample needs a row here, and a row needs a file.
const std::map<QString, Expected> &expectedAnswers()
{
    static const std::map<QString, Expected> table {
        { "triangle.ink", { 102, 3 } },
        { "triangle-right.ink", { 102, 3 } },
        { "triangle-flat.ink", { 102, 3 } },
        { "square.ink", { 102, 4 } },
        { "rectangle.ink", { 102, 4 } },
        { "diamond.ink", { 102, 4 } },
        { "parallelogram.ink", { 102, 4 } },
        { "trapezium.ink", { 102, 4 } },
        { "pentagon.ink", { 102, 5 } },
        { "hexagon.ink", { 102, 6 } },
        { "star.ink", { 102, 5 } },
        { "square-two-strokes.ink", { 102, 4 } },
        { "circle.ink", { 101, 0 } },
        { "ellipse.ink", { 101, 0 } },
        { "octagon.ink", { 101, 0 } },
        { "line-horizontal.ink", { 205, 0 } },
        { "line-vertical.ink", { 103, 0 } },
        { "line-diagonal.ink", { 103, 0 } },
        { "caret.ink", { 114, 0 } },
        { "vee.ink", { 114, 0 } },
        { "corner-two-strokes.ink", { 114, 0 } },
        { "check.ink", { 203, 0 } },
        { "check-mirrored.ink", { 204, 0 } },
        { "bracket.ink", { 115, 0 } },
        { "cross.ink", { 206, 0 } },
        { "plus.ink", { 206, 0 } },
        { "tee.ink", { 206, 0 } },
        { "handwriting-word.ink", { 0, 0 } },
        { "handwriting-letters.ink", { 0, 0 } },
        { "handwriting-signature.ink", { 0, 0 } },
        { "handwriting-arches.ink", { 0, 0 } },
    };
    return table;
}

QVector<QVector<QPointF>> readInk(const QString &path)
{
    std::ifstream in(path.toStdString(), std::ios::binary);
    CScribble scribble;
    scribble.readFrom(in);
    QVector<QVector<QPointF>> strokes;
    for (long i = 0; i < scribble.getStrokeNum(); ++i) {
        QVector<QPointF> stroke;
        for (long j = 0; j < scribble.getStrokeAt(i).getPointNum(); ++j)
            stroke << QPointF(scribble.getStrokeAt(i).getPointAt(j));
        strokes << stroke;
    }
    return strokes;
}

const QDir examples(QStringLiteral(LIBUTILITY_EXAMPLES_DIR));

} // namespace

TEST(SampleSet, FilesAndExpectedAnswersMatch)
{
    const QStringList files = examples.entryList({ "*.ink" }, QDir::Files, QDir::Name);
    for (const QString &file : files)
        EXPECT_EQ(expectedAnswers().count(file), 1u)
            << "no expected answer for " << file.toStdString();
    for (const auto &row : expectedAnswers())
        EXPECT_TRUE(files.contains(row.first)) << "missing sample " << row.first.toStdString();
}

TEST(SampleSet, EachSampleIsClassifiedAsItsNameSays)
{
    QSet<int> categories;
    for (const auto &row : expectedAnswers()) {
        SCOPED_TRACE(row.first.toStdString());
        const auto strokes = readInk(examples.filePath(row.first));
        QRectF rect;
        QVector<QPointF> corners;
        const int category = CFigureRecogniser::classifyScribble(strokes, rect, corners, 6, true);
        EXPECT_EQ(category, row.second.category);
        if (row.second.category == CFigureRecogniser::cPOLYGON) {
            EXPECT_EQ(corners.size(), row.second.corners);
        }
        categories << category;
    }
    // The set shows every category the recogniser can answer.
    for (int code : { 0, 101, 102, 103, 114, 115, 203, 204, 205, 206 })
        EXPECT_TRUE(categories.contains(code)) << "no sample of category " << code;
}
