// classifyScribble on real ink (per scribble, with median and 99th percentile) and on
// one long stroke, against a plain pass over the same points as the baseline; and the
// ellipse fit of a hand-drawn oval against classifyScribble of the same stroke.
//
// With LIBUTILITY_OLDER_LIB naming another build's libutility.so.1 (./dev.sh compare
// sets it), BM_ClassifySetAgainstOlderBuild/* also run that build's classifyScribble on
// the same scribbles in this process, the two builds taking turns round by round, and
// report new/old of the total, the median and the 99th percentile per round (the median
// over the rounds, and the lowest and highest). Two builds timed back to back in one
// process share whatever the machine is doing at that moment, which separate runs do not.
#include <libutility/recognition/ellipsefit.h>
#include <libutility/recognition/figurerecogniser.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <dlfcn.h>

namespace {

using Strokes = QVector<QVector<QPointF>>;

QVector<Strokes> loadSet(const char *name)
{
    QVector<Strokes> samples;
    QFile f(QStringLiteral(LIBUTILITY_SHARED_DATA_DIR "/scribbles/") + name);
    if (!f.open(QIODevice::ReadOnly))
        return samples;
    while (!f.atEnd()) {
        Strokes strokes;
        const QJsonObject o = QJsonDocument::fromJson(f.readLine()).object();
        for (const QJsonValue &s : o.value("strokes").toArray()) {
            QVector<QPointF> stroke;
            for (const QJsonValue &p : s.toArray())
                stroke << QPointF(p.toArray()[0].toDouble(), p.toArray()[1].toDouble());
            strokes << stroke;
        }
        samples << strokes;
    }
    return samples;
}

const QVector<Strokes> &cachedSet(const char *name)
{
    static QMap<QString, QVector<Strokes>> cache;
    if (!cache.contains(name))
        cache.insert(name, loadSet(name));
    return cache[name];
}

using Classify = int (*)(const Strokes &, QRectF &, QVector<QPointF> &, int, bool, Strokes *);

// One pass over the samples: each scribble's time in micros (sorted), and their sum.
double timeSet(const QVector<Strokes> &samples, Classify classify, std::vector<double> &micros)
{
    micros.clear();
    double total = 0.0;
    for (const Strokes &strokes : samples) {
        const auto start = std::chrono::steady_clock::now();
        QRectF rect;
        QVector<QPointF> result;
        benchmark::DoNotOptimize(classify(strokes, rect, result, 6, true, nullptr));
        micros.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
                .count());
        total += micros.back();
    }
    std::sort(micros.begin(), micros.end());
    return total;
}

double median(const std::vector<double> &sorted) { return sorted[sorted.size() / 2]; }
double p99(const std::vector<double> &sorted) { return sorted[sorted.size() * 99 / 100]; }

void classifySet(benchmark::State &state, const char *name)
{
    const QVector<Strokes> &samples = cachedSet(name);
    if (samples.isEmpty()) {
        state.SkipWithError("scribble data not found");
        return;
    }
    std::vector<double> micros;
    micros.reserve(samples.size());
    for (auto _ : state)
        timeSet(samples, &CFigureRecogniser::classifyScribble, micros);
    state.counters["median_us"] = median(micros);
    state.counters["p99_us"] = p99(micros);
    state.SetItemsProcessed(state.iterations() * samples.size());
}

// classifyScribble of the build named by LIBUTILITY_OLDER_LIB, or null. RTLD_DEEPBIND
// keeps that build's calls into itself inside it, although this program links ours.
Classify olderClassify()
{
    static Classify older = []() -> Classify {
        const char *path = std::getenv("LIBUTILITY_OLDER_LIB");
        if (!path || !*path)
            return nullptr;
        void *lib = dlopen(path, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
        void *symbol = lib ? dlsym(lib,
                           "_ZN17CFigureRecogniser16classifyScribbleERK7QVectorIS0_I7QPointFEER6"
                           "QRectFRS2_ibPS3_")
                           : nullptr;
        if (!symbol)
            std::fprintf(
                stderr, "LIBUTILITY_OLDER_LIB: %s\n", lib ? "no classifyScribble" : dlerror());
        return reinterpret_cast<Classify>(symbol);
    }();
    return older;
}

// Each iteration is one round: both builds over the set, the first to go alternating.
void classifySetAgainstOlderBuild(benchmark::State &state, const char *name)
{
    const QVector<Strokes> &samples = cachedSet(name);
    const Classify older = olderClassify();
    if (samples.isEmpty() || !older) {
        state.SkipWithError(
            samples.isEmpty() ? "scribble data not found" : "LIBUTILITY_OLDER_LIB does not load");
        return;
    }
    std::vector<double> ours, theirs, total, med, tail;
    for (auto _ : state) {
        const bool oursFirst = total.size() % 2 == 1;
        double newTotal
            = oursFirst ? timeSet(samples, &CFigureRecogniser::classifyScribble, ours) : 0.0;
        const double oldTotal = timeSet(samples, older, theirs);
        if (!oursFirst)
            newTotal = timeSet(samples, &CFigureRecogniser::classifyScribble, ours);
        total.push_back(newTotal / oldTotal);
        med.push_back(median(ours) / median(theirs));
        tail.push_back(p99(ours) / p99(theirs));
    }
    for (auto *ratios : { &total, &med, &tail })
        std::sort(ratios->begin(), ratios->end());
    const std::pair<const char *, const std::vector<double> *> shown[]
        = { { "total", &total }, { "median", &med }, { "p99", &tail } };
    for (const auto &item : shown) {
        const std::string key = std::string("x_") + item.first;
        state.counters[key] = median(*item.second);
        state.counters[key + "_lo"] = item.second->front();
        state.counters[key + "_hi"] = item.second->back();
    }
}

void BM_ClassifyUnistrokeSet(benchmark::State &state) { classifySet(state, "unistroke.jsonl"); }
BENCHMARK(BM_ClassifyUnistrokeSet)->Unit(benchmark::kMillisecond);

void BM_ClassifyMultistrokeSet(benchmark::State &state)
{
    classifySet(state, "multistroke-stylus.jsonl");
}
BENCHMARK(BM_ClassifyMultistrokeSet)->Unit(benchmark::kMillisecond);

// Registered only when there is an older build to measure against.
const bool againstOlderRegistered = [] {
    if (!std::getenv("LIBUTILITY_OLDER_LIB"))
        return false;
    for (const char *name : { "unistroke.jsonl", "multistroke-stylus.jsonl" })
        benchmark::RegisterBenchmark(
            (std::string("BM_ClassifySetAgainstOlderBuild/") + name).c_str(),
            [name](benchmark::State &state) { classifySetAgainstOlderBuild(state, name); })
            ->Iterations(15)
            ->Unit(benchmark::kMillisecond);
    return true;
}();

// A closed, noisy circle of n points spaced about one unit apart.
QVector<QPointF> longStroke(int n)
{
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> jitter(-0.5, 0.5);
    const double radius = n / (2.0 * 3.14159265358979323846);
    QVector<QPointF> points;
    points.reserve(n);
    for (int i = 0; i < n; ++i) {
        const double a = 2.0 * 3.14159265358979323846 * i / (n - 1);
        points << QPointF(radius * std::cos(a) + jitter(rng), radius * std::sin(a) + jitter(rng));
    }
    return points;
}

void BM_ClassifyLongStroke(benchmark::State &state)
{
    const Strokes strokes = { longStroke(int(state.range(0))) };
    for (auto _ : state) {
        QRectF rect;
        QVector<QPointF> result;
        benchmark::DoNotOptimize(
            CFigureRecogniser::classifyScribble(strokes, rect, result, 6, true));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["us_per_point"] = benchmark::Counter(double(state.range(0)) / 1e6,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_ClassifyLongStroke)->RangeMultiplier(10)->Range(1000, 100000);

// Baseline: one pass over the same points measuring the stroke's length.
void BM_PlainPassLongStroke(benchmark::State &state)
{
    const QVector<QPointF> points = longStroke(int(state.range(0)));
    for (auto _ : state) {
        double length = 0.0;
        for (int i = 1; i < points.size(); ++i)
            length
                += std::hypot(points[i].x() - points[i - 1].x(), points[i].y() - points[i - 1].y());
        benchmark::DoNotOptimize(length);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["us_per_point"] = benchmark::Counter(double(state.range(0)) / 1e6,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_PlainPassLongStroke)->RangeMultiplier(10)->Range(1000, 100000);

// A hand-drawn oval of n points: aspect 2, turned by 25 degrees, a wobble of 1.5% of its
// size and jitter, ending 4% of the way round past its start.
QVector<QPointF> handOval(int n)
{
    std::mt19937 rng(23);
    std::uniform_real_distribution<double> jitter(-0.8, 0.8);
    const double pi = 3.14159265358979323846, a = 25.0 * pi / 180.0;
    QVector<QPointF> points;
    points.reserve(n);
    for (int i = 0; i < n; ++i) {
        const double t = 2.0 * pi * 1.04 * i / (n - 1);
        const double r = 1.0 + 0.015 * std::sin(3.0 * t + 1.0);
        const double x = 120.0 * r * std::cos(t), y = 60.0 * r * std::sin(t);
        points << QPointF(300 + std::cos(a) * x - std::sin(a) * y + jitter(rng),
            300 + std::sin(a) * x + std::cos(a) * y + jitter(rng));
    }
    return points;
}

// Both on the same stroke in one loop; fit_share is the fit's time over the classifier's.
void BM_FitEllipseShareOfClassify(benchmark::State &state)
{
    const Strokes strokes = { handOval(int(state.range(0))) };
    double fitTime = 0.0, classifyTime = 0.0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(CFigureRecogniser::fitEllipse(strokes[0]));
        const auto middle = std::chrono::steady_clock::now();
        QRectF rect;
        QVector<QPointF> result;
        benchmark::DoNotOptimize(
            CFigureRecogniser::classifyScribble(strokes, rect, result, 6, true));
        const auto end = std::chrono::steady_clock::now();
        fitTime += std::chrono::duration<double, std::micro>(middle - start).count();
        classifyTime += std::chrono::duration<double, std::micro>(end - middle).count();
    }
    state.counters["fit_us"] = fitTime / state.iterations();
    state.counters["classify_us"] = classifyTime / state.iterations();
    state.counters["fit_share"] = fitTime / classifyTime;
}
BENCHMARK(BM_FitEllipseShareOfClassify)->Arg(60)->Arg(240)->Arg(1000);

} // namespace

BENCHMARK_MAIN();
