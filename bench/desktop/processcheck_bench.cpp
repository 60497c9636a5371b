// What the process check costs the GUI thread on every tick of a kept-on-top window.
// CWindowManagement::isRunning runs "ps -ef | grep NAME | grep -v grep | wc -l" through
// the shell; the baseline is the cheapest possible popen, a shell running "true", so the
// ratio shows what the pipeline adds over merely starting a shell.
#include <libutility/desktop/windowmanagement.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

namespace {

double secondsPerCall(const std::function<void()> &call, int calls)
{
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i)
        call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / calls;
}

void bareShell()
{
    FILE *pipe = popen("true", "r");
    if (pipe)
        pclose(pipe);
}

double baselineSeconds()
{
    static const double seconds = secondsPerCall(bareShell, 30);
    return seconds;
}

void BM_BareShell(benchmark::State &state)
{
    for (auto _ : state)
        bareShell();
}
BENCHMARK(BM_BareShell)->Unit(benchmark::kMillisecond);

void BM_IsRunning(benchmark::State &state)
{
    std::string name = "no-such-process-libutility-bench";
    const double baseline = baselineSeconds();
    double total = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(CWindowManagement::isRunning(name));
        total += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    state.counters["x_bare_shell"] = total / double(state.iterations()) / baseline;
}
BENCHMARK(BM_IsRunning)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
