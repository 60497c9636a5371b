// What tracing costs when it is off: a traced function against the same function
// untraced, for an empty body and for a small geometry-sized body (a distance).
// BM_TraceOverhead reports both in one run and the overhead as a percentage.
#include <libutility/logging/logsystem.h>
#include <libutility/logging/trace.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>

namespace {

__attribute__((noinline)) int untracedNoop(int x)
{
    benchmark::DoNotOptimize(x);
    return x;
}

__attribute__((noinline)) int tracedNoop(int x)
{
    TRACE_FUNCTION("bench", "tracedNoop");
    benchmark::DoNotOptimize(x);
    return TRACE_RETURN(x);
}

__attribute__((noinline)) double untracedDistance(double ax, double ay, double bx, double by)
{
    const double dx = ax - bx, dy = ay - by;
    return std::sqrt(dx * dx + dy * dy);
}

__attribute__((noinline)) double tracedDistance(double ax, double ay, double bx, double by)
{
    TRACE_FUNCTION("bench", "tracedDistance");
    const double dx = ax - bx, dy = ay - by;
    return TRACE_RETURN(std::sqrt(dx * dx + dy * dy));
}

void levelOff()
{
    CLogSystem::theRootInstance().setLevel(QStringLiteral("INFO"));
}

void BM_UntracedNoop(benchmark::State &state)
{
    levelOff();
    int i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(untracedNoop(++i));
}
BENCHMARK(BM_UntracedNoop);

void BM_TracedNoopLevelOff(benchmark::State &state)
{
    levelOff();
    int i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(tracedNoop(++i));
}
BENCHMARK(BM_TracedNoopLevelOff);

template <class F>
double nanosPerCall(F f, int calls)
{
    const auto start = std::chrono::steady_clock::now();
    double sink = 0;
    for (int i = 0; i < calls; ++i)
        sink += f(i * 0.5, i * 0.25, 3.0, 4.0);
    benchmark::DoNotOptimize(sink);
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start)
               .count()
        / calls;
}

// Interleaves the two variants in short rounds so that machine noise hits both alike,
// and keeps the best round of each.
void BM_TraceOverhead(benchmark::State &state)
{
    levelOff();
    double bestPlain = 1e9, bestTraced = 1e9;
    for (auto _ : state) {
        bestPlain = std::min(bestPlain, nanosPerCall(untracedDistance, 200000));
        bestTraced = std::min(bestTraced, nanosPerCall(tracedDistance, 200000));
    }
    state.counters["untraced_ns"] = bestPlain;
    state.counters["traced_ns"] = bestTraced;
    state.counters["overhead_pct"] = 100.0 * (bestTraced - bestPlain) / bestPlain;
}
BENCHMARK(BM_TraceOverhead)->Iterations(50)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
