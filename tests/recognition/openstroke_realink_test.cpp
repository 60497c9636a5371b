// Regression over the labelled sets of real scribbles for the open figures: the share of
// each open-figure label given its expected category must not drop below what the
// recogniser reaches today. Skips when the shared data is absent.
//
// Where the floor is below 90% the limit is the smoothing, not the open-stroke tests: a
// check mark whose long leg curves smooths to four points and can no longer be a corner
// of three, a bracket reaches the bracket test only with four points and arms less than
// half its back, and a v with a hook keeps a fourth point.
#include <libutility/recognition/figurerecogniser.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <gtest/gtest.h>

#include <set>

using namespace CFigureRecogniser;

namespace {

struct Goal
{
    const char *label;
    std::set<int> accepted;
    double floorPercent;
};

TEST(RealInkOpenFigures, SharesStayAtTheirFloors)
{
    const Goal goals[] = {
        { "caret", { 114 }, 90.0 },
        { "v", { 114 }, 87.0 },
        { "check", { 114, 203, 204 }, 25.0 },
        { "left_sq_bracket", { 115 }, 18.0 },
        { "right_sq_bracket", { 115 }, 9.0 },
        { "line", { 205 }, 97.0 },
        { "T", { 206 }, 90.0 },
        { "X", { 206 }, 93.0 },
    };
    QMap<QString, int> total, matched;
    for (const char *file : { "unistroke.jsonl", "multistroke-stylus.jsonl" }) {
        const QString path = QStringLiteral(LIBUTILITY_SHARED_DATA_DIR "/scribbles/") + file;
        QFile f(path);
        if (!f.open(QIODevice::ReadOnly))
            GTEST_SKIP() << "no scribble data at " << path.toStdString();
        while (!f.atEnd()) {
            const QJsonObject o = QJsonDocument::fromJson(f.readLine()).object();
            const QString label = o.value("label").toString();
            const Goal *goal = nullptr;
            for (const Goal &g : goals) {
                if (label == QLatin1String(g.label))
                    goal = &g;
            }
            if (!goal)
                continue;
            QVector<QVector<QPointF>> strokes;
            for (const QJsonValue &s : o.value("strokes").toArray()) {
                QVector<QPointF> stroke;
                for (const QJsonValue &p : s.toArray())
                    stroke << QPointF(p.toArray()[0].toDouble(), p.toArray()[1].toDouble());
                strokes << stroke;
            }
            QRectF rect;
            QVector<QPointF> result;
            ++total[label];
            matched[label]
                += goal->accepted.count(classifyScribble(strokes, rect, result, 6, true));
        }
    }
    for (const Goal &g : goals) {
        const int n = total.value(g.label);
        ASSERT_GT(n, 250) << g.label;
        EXPECT_GE(100.0 * matched.value(g.label) / n, g.floorPercent)
            << g.label << ": " << matched.value(g.label) << " of " << n;
    }
}

} // namespace
