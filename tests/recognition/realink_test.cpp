// Regression over the labelled sets of real hand-drawn scribbles: the closed-figure
// accuracy and the rate of handwriting turned into figures must not drop below the
// recogniser's goals. Skips when the shared data is absent.
#include <libutility/geometry/geometry.h>
#include <libutility/geometry/strokeutil.h>
#include <libutility/recognition/figurerecogniser.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QStringList>

#include <gtest/gtest.h>

using namespace CFigureRecogniser;

namespace {

struct Tally
{
    int closable = 0; // one stroke whose raw ends pass the closure test
    int matched = 0;
};

bool endsMeet(const QVector<QVector<QPointF>> &strokes)
{
    if (strokes.size() != 1 || strokes[0].size() < 2)
        return false;
    const QVector<QPointF> &s = strokes[0];
    return 0.1 * Util::calcStrokeLength(s) > Util::getDistance(s.first(), s.last());
}

void evaluate(
    const QString &file, QMap<QString, Tally> &closed, int &nonFigures, int &turnedIntoFigures)
{
    const QString path = QStringLiteral(LIBUTILITY_SHARED_DATA_DIR "/scribbles/") + file;
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        GTEST_SKIP() << "no scribble data at " << path.toStdString();
    static const QMap<QString, int> polygonCorners
        = { { "triangle", 3 }, { "rectangle", 4 }, { "star", 5 }, { "five_point_star", 5 } };
    static const QStringList handwriting = { "arrow", "x", "delete_mark", "pigtail",
        "question_mark", "left_curly_brace", "right_curly_brace", "asterisk", "H", "I", "N",
        "half_note", "exclamation_point", "pitchfork" };
    while (!f.atEnd()) {
        const QJsonObject o = QJsonDocument::fromJson(f.readLine()).object();
        const QString label = o.value("label").toString();
        QVector<QVector<QPointF>> strokes;
        for (const QJsonValue &s : o.value("strokes").toArray()) {
            QVector<QPointF> stroke;
            for (const QJsonValue &p : s.toArray())
                stroke << QPointF(p.toArray()[0].toDouble(), p.toArray()[1].toDouble());
            strokes << stroke;
        }
        QRectF rect;
        QVector<QPointF> result;
        const int category = classifyScribble(strokes, rect, result, 6, true);
        if (handwriting.contains(label)) {
            ++nonFigures;
            turnedIntoFigures += category != cHANDWRITE_DATA;
        } else if ((polygonCorners.contains(label) || label == "circle") && endsMeet(strokes)) {
            Tally &t = closed[label];
            ++t.closable;
            t.matched += label == "circle"
                ? category == cCLOSED_CURVE
                : category == cPOLYGON && result.size() == polygonCorners.value(label);
        }
    }
}

} // namespace

TEST(RealInk, ClosedFiguresAndHandwritingMeetTheGoals)
{
    QMap<QString, Tally> closed;
    int nonFigures = 0;
    int turnedIntoFigures = 0;
    for (const char *file : { "unistroke.jsonl", "multistroke-stylus.jsonl" }) {
        evaluate(file, closed, nonFigures, turnedIntoFigures);
        if (IsSkipped())
            return;
    }
    ASSERT_EQ(closed.size(), 5);
    for (auto it = closed.cbegin(); it != closed.cend(); ++it) {
        ASSERT_GT(it->closable, 250) << it.key().toStdString();
        EXPECT_GE(100.0 * it->matched / it->closable, 95.0)
            << it.key().toStdString() << ": " << it->matched << " of " << it->closable;
    }
    ASSERT_GT(nonFigures, 4000);
    EXPECT_LE(100.0 * turnedIntoFigures / nonFigures, 1.0)
        << turnedIntoFigures << " of " << nonFigures << " non-figures became figures";
}
