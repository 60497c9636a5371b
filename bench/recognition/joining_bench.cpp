// Joining strokes: intersectConnect on two long strokes that cross near their ends, against
// testing every pair of segments exactly (the work the segment boxes save), and
// makeConnectedStroke on the multistroke scribbles of the real set.
#include <libutility/geometry/geometry.h>
#include <libutility/recognition/figurerecogniser.h>
#include <libutility/recognition/openstroke.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>

namespace {

using Stroke = QVector<QPointF>;

// A wavy stroke of n points about one unit apart, running right from `from`.
Stroke wavy(int n, QPointF from, double turn)
{
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> jitter(-0.3, 0.3);
    Stroke points;
    points.reserve(n);
    for (int i = 0; i < n; ++i) {
        const QPointF along(i, 20.0 * std::sin(i / 50.0));
        const QPointF turned(along.x() * std::cos(turn) - along.y() * std::sin(turn),
            along.x() * std::sin(turn) + along.y() * std::cos(turn));
        points << from + turned + QPointF(jitter(rng), jitter(rng));
    }
    return points;
}

// Two strokes forming a corner: the second starts just before the end of the first and
// runs off at a right angle.
std::pair<Stroke, Stroke> corner(int n)
{
    const Stroke first = wavy(n, QPointF(0, 0), 0.0);
    const Stroke second = wavy(n, first.last() + QPointF(-3, -3), M_PI / 2);
    return { first, second };
}

void BM_IntersectConnect(benchmark::State &state)
{
    const auto strokes = corner(int(state.range(0)));
    for (auto _ : state) {
        Stroke base = strokes.first;
        benchmark::DoNotOptimize(CFigureRecogniser::intersectConnect(base, strokes.second));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_IntersectConnect)->RangeMultiplier(4)->Range(64, 4096);

// Baseline: every segment of one stroke against every segment of the other.
void BM_AllSegmentPairs(benchmark::State &state)
{
    const auto strokes = corner(int(state.range(0)));
    const Stroke &a = strokes.first;
    const Stroke &b = strokes.second;
    for (auto _ : state) {
        int crossings = 0;
        QPointF x;
        for (int i = 0; i + 1 < a.size(); ++i) {
            for (int j = 0; j + 1 < b.size(); ++j)
                crossings += Util::intersectLineSegments(a[i], a[i + 1], b[j], b[j + 1], &x);
        }
        benchmark::DoNotOptimize(crossings);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_AllSegmentPairs)->RangeMultiplier(4)->Range(64, 4096);

// The joining step of the real multistroke scribbles, once smoothed as the recogniser
// does; reported per scribble.
void BM_MakeConnectedStrokeMultistrokeSet(benchmark::State &state)
{
    QVector<QVector<Stroke>> samples;
    QFile f(QStringLiteral(LIBUTILITY_SHARED_DATA_DIR "/scribbles/multistroke-stylus.jsonl"));
    if (!f.open(QIODevice::ReadOnly)) {
        state.SkipWithError("scribble data not found");
        return;
    }
    while (!f.atEnd()) {
        QVector<Stroke> strokes;
        const QJsonObject o = QJsonDocument::fromJson(f.readLine()).object();
        for (const QJsonValue &s : o.value("strokes").toArray()) {
            Stroke stroke;
            for (const QJsonValue &p : s.toArray())
                stroke << QPointF(p.toArray()[0].toDouble(), p.toArray()[1].toDouble());
            strokes << stroke;
        }
        QVector<Stroke> smoothed;
        CFigureRecogniser::makeSmoothPoints(strokes, smoothed, 0.01);
        samples << smoothed;
    }
    for (auto _ : state) {
        for (const QVector<Stroke> &strokes : samples) {
            QVector<Stroke> work = strokes;
            benchmark::DoNotOptimize(CFigureRecogniser::makeConnectedStroke(work));
        }
    }
    state.SetItemsProcessed(state.iterations() * samples.size());
}
BENCHMARK(BM_MakeConnectedStrokeMultistrokeSet)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
