// Decoding QPoint records with binaryRead, against one istream::read of the same
// bytes (the limit: a plain copy). The "x_read" counter is the time of a binaryRead
// call per point over the limit's, both measured in the same iteration. "x_run" does
// the same for the run reader (one call for all the points), and "x_general" for the
// library's general point reader (a call per point, as every read went before the
// inline path), which still serves traced reads and records that straddle a buffer
// refill. "x_bare" times the least any reader called once per point must do: find the
// stream's buffer through the stream, take 8 bytes and move the buffer on, with none
// of the checks of the state, the tied stream or the trace, and nothing known about
// the stream carried from one point to the next (as for a call into a reader).
#include "membuf.h"

#include <libutility/ink/binaryread.h>

#include <QPoint>

#include <benchmark/benchmark.h>

#include <istream>
#include <sstream>
#include <string>
#include <vector>

static std::string encodedPoints(std::size_t n)
{
    std::ostringstream out;
    for (std::size_t i = 0; i < n; ++i)
        binaryWrite(out, QPoint(static_cast<int>(i), -static_cast<int>(i)));
    return out.str();
}

static void BM_DecodePoints(benchmark::State &state)
{
    const std::size_t n = static_cast<std::size_t>(state.range(0));
    std::string bytes = encodedPoints(n);
    std::vector<QPoint> points(n);
    std::vector<char> raw(bytes.size());
    MemBuf buf;
    std::vector<QPoint> run(n);
    double ours = 0, limit = 0, general = 0, runs = 0, bare = 0;
    for (auto _ : state) {
        limit += timedRawRead(buf, bytes, raw);
        general += timed([&] {
            buf.readFrom(&bytes[0], bytes.size());
            std::istream in(&buf);
            for (QPoint &p : points)
                ink_detail::readPointOutOfLine(in, p);
            benchmark::DoNotOptimize(points.data());
        });
        runs += timed([&] {
            buf.readFrom(&bytes[0], bytes.size());
            std::istream in(&buf);
            binaryRead(in, run.data(), static_cast<std::ptrdiff_t>(n));
            benchmark::DoNotOptimize(run.data());
        });
        bare += timed([&] {
            buf.readFrom(&bytes[0], bytes.size());
            std::istream in(&buf);
            for (QPoint &p : points) {
                const char *at = ink_detail::takeBuffered(in, 8);
                p = QPoint(qFromLittleEndian<qint32>(at), qFromLittleEndian<qint32>(at + 4));
                benchmark::ClobberMemory();
            }
        });
        const double t = timed([&] {
            buf.readFrom(&bytes[0], bytes.size());
            std::istream in(&buf);
            for (QPoint &p : points)
                binaryRead(in, p);
            benchmark::DoNotOptimize(points.data());
        });
        ours += t;
        state.SetIterationTime(t);
    }
    if (points.back() != QPoint(static_cast<int>(n - 1), -static_cast<int>(n - 1))
        || run != points)
        state.SkipWithError("decoded the wrong points");
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
    state.counters["x_read"] = ours / limit;
    state.counters["x_run"] = runs / limit;
    state.counters["x_general"] = general / limit;
    state.counters["x_bare"] = bare / limit;
}
BENCHMARK(BM_DecodePoints)
    ->Arg(100000)
    ->Arg(10000000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
