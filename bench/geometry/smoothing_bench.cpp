// Smoothing and segmentation of long strokes against the cheapest possible look at the
// same points: an empty loop that only reads every coordinate once.
//
// Each benchmark runs on a noisy circle and a noisy zigzag of 100 to 100,000 points,
// spaced about 2 units apart as pen samples are. The timed operation and the baseline
// loop alternate in every iteration so that machine noise hits both alike; both are timed
// on this thread's CPU clock (other processes on a shared machine do not count) and the
// best of each is kept. Counters:
//   ns_per_point   best time of the operation divided by the point count
//   x_empty_loop   best time of the operation / best time of the empty loop (same run)
// Linear growth shows as a flat ns_per_point across the sizes.
#include <libutility/geometry/strokeutil.h>
#include <libutility/logging/logsystem.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <random>

namespace {

enum Shape { eCircle = 0, eZigzag = 1 };

QVector<QPointF> makeStroke(Shape shape, int n)
{
    std::mt19937 rng(42);
    std::uniform_real_distribution<double> noise(-1.0, 1.0);
    QVector<QPointF> points;
    points.reserve(n);
    const double spacing = 2.0;
    if (shape == eCircle) {
        const double radius = n * spacing / (2.0 * M_PI);
        for (int i = 0; i < n; ++i) {
            const double a = 2.0 * M_PI * i / n;
            points.append(
                QPointF(radius * std::cos(a) + noise(rng), radius * std::sin(a) + noise(rng)));
        }
    } else {
        // Ten teeth whatever the length, so that the figure keeps its shape as it grows
        // (the split threshold is relative to the chord): steps of (1.6, +-1.2).
        const int side = std::max(1, n / 20);
        for (int i = 0; i < n; ++i) {
            const int phase = i % (2 * side);
            const double y = (phase < side ? phase : 2 * side - phase) * spacing * 0.6;
            points.append(QPointF(i * spacing * 0.8 + noise(rng), y + noise(rng)));
        }
    }
    return points;
}

double threadSeconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

double emptyLoop(const QVector<QPointF> &points)
{
    double sum = 0.0;
    for (const QPointF &p : points)
        sum += p.x() + p.y();
    return sum;
}

template <class Operation> void runAgainstEmptyLoop(benchmark::State &state, Operation operation)
{
    CLogSystem::theRootInstance().setLevel(QStringLiteral("INFO"));
    const int n = int(state.range(0));
    const QVector<QPointF> points = makeStroke(Shape(state.range(1)), n);
    double bestOperation = 1e300, bestLoop = 1e300;
    for (auto _ : state) {
        const double t0 = threadSeconds();
        operation(points);
        const double t1 = threadSeconds();
        benchmark::DoNotOptimize(emptyLoop(points));
        const double t2 = threadSeconds();
        state.SetIterationTime(t1 - t0);
        bestOperation = std::min(bestOperation, t1 - t0);
        bestLoop = std::min(bestLoop, t2 - t1);
    }
    state.SetLabel(state.range(1) == eCircle ? "circle" : "zigzag");
    state.counters["ns_per_point"] = bestOperation * 1e9 / n;
    state.counters["x_empty_loop"] = bestOperation / bestLoop;
}

void BM_GetSmoothPoints(benchmark::State &state)
{
    QVector<QPointF> out;
    runAgainstEmptyLoop(state, [&](const QVector<QPointF> &points) {
        Util::getSmoothPoints(points, out, 0.01);
        benchmark::DoNotOptimize(out.data());
    });
}

void BM_DivideStrokeToSegments(benchmark::State &state)
{
    QVector<SegmentIndex> segments;
    runAgainstEmptyLoop(state, [&](const QVector<QPointF> &points) {
        divideStrokeToSegments(points, segments, 0.01);
        benchmark::DoNotOptimize(segments.data());
    });
}

void sizes(benchmark::internal::Benchmark *b)
{
    b->ArgNames({ "points", "shape" })
        ->ArgsProduct({ benchmark::CreateRange(100, 100000, 10), { eCircle, eZigzag } })
        ->UseManualTime();
}

} // namespace

BENCHMARK(BM_GetSmoothPoints)->Apply(sizes);
BENCHMARK(BM_DivideStrokeToSegments)->Apply(sizes);

BENCHMARK_MAIN();
