// What checking an ink file costs next to reading it. Every figure is a ratio to
// CScribble::readFrom of the same bytes, timed in the same iteration:
//   "check_x"  checkInk over the bytes in memory / readFrom
//   "stream_x" checkInk over a seekable stream (what inkrecog does with files) / readFrom
// The check reads one count per stroke and skips the points, so both ratios should fall
// as the strokes grow longer, and stay well below 1 throughout.
#include "inkcheck.h"

#include <libutility/ink/scribble.h>
#include <libutility/ink/stroke.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <sstream>
#include <string>

namespace {

std::string inkFile(int strokes, int pointsPerStroke)
{
    CScribble scribble;
    for (int s = 0; s < strokes; ++s) {
        CStroke stroke;
        for (int p = 0; p < pointsPerStroke; ++p)
            stroke.addPoint(QPoint(p, s + p % 7));
        scribble.addStroke(stroke);
    }
    scribble.invalidateCache();
    std::ostringstream out;
    scribble.writeTo(out);
    return out.str();
}

template <typename F> double timed(F &&f)
{
    const auto start = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// range(0): strokes, range(1): points per stroke.
void BM_CheckInk(benchmark::State &state)
{
    const std::string bytes = inkFile(int(state.range(0)), int(state.range(1)));
    const auto *data = reinterpret_cast<const unsigned char *>(bytes.data());
    double check = 0, stream = 0, read = 0;
    for (auto _ : state) {
        check += timed([&] {
            const inkcheck::InkCheckResult r = inkcheck::checkInk(data, bytes.size());
            benchmark::DoNotOptimize(r.ok);
        });
        // The streams are filled outside the timings: both timed parts start from the
        // same ready stream, as a program that opened the file would.
        std::istringstream checkStream(bytes);
        std::istringstream readStream(bytes);
        stream += timed([&] {
            const inkcheck::InkCheckResult r = inkcheck::checkInk(checkStream, bytes.size());
            benchmark::DoNotOptimize(r.ok);
        });
        read += timed([&] {
            CScribble scribble;
            scribble.readFrom(readStream);
            benchmark::DoNotOptimize(scribble.getStrokeNum());
        });
    }
    state.counters["check_x"] = check / read;
    state.counters["stream_x"] = stream / read;
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes.size()));
}

} // namespace

BENCHMARK(BM_CheckInk)->ArgsProduct({ { 1, 16, 256 }, { 16, 256, 4096 } });

BENCHMARK_MAIN();
