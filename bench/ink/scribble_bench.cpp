// A scribble of 1,000 strokes x 10,000 points through a memory stream, against a raw
// istream::read / ostream::write of the same bytes; hitTest and getRectBound over
// 1 million points against an empty loop over the same points. Each "x_..." counter
// is our time over the baseline's, both measured in the same iteration. Reading a
// scribble allocates its strokes anew, so x_read_fresh compares it with a raw read
// into newly allocated memory as well.
#include "membuf.h"

#include <libutility/ink/scribble.h>

#include <benchmark/benchmark.h>

#include <istream>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

static CScribble drawing(int strokes, int points)
{
    CScribble s;
    for (int i = 0; i < strokes; ++i) {
        CStroke stroke;
        for (int j = 0; j < points; ++j)
            stroke.addPoint(QPoint(i + j % 977, i - j % 613));
        s.addStroke(stroke);
    }
    s.invalidateCache();
    return s;
}

static std::string bytesOf(const CScribble &s)
{
    std::ostringstream out;
    s.writeTo(out);
    return out.str();
}

static void BM_ScribbleRead(benchmark::State &state)
{
    const CScribble original = drawing(static_cast<int>(state.range(0)), 10000);
    std::string bytes = bytesOf(original);
    std::vector<char> raw(bytes.size());
    MemBuf buf;
    double ours = 0, limit = 0, limitFresh = 0;
    CScribble read;
    for (auto _ : state) {
        limit += timedRawRead(buf, bytes, raw);
        // Reading into new memory also pays for first touching its pages, as a
        // scribble read into new strokes does.
        limitFresh += timed([&] {
            std::unique_ptr<char[]> fresh(new char[bytes.size()]);
            buf.readFrom(&bytes[0], bytes.size());
            std::istream in(&buf);
            in.read(fresh.get(), static_cast<std::streamsize>(bytes.size()));
            benchmark::DoNotOptimize(fresh.get());
        });
        const double t = timed([&] {
            buf.readFrom(&bytes[0], bytes.size());
            std::istream in(&buf);
            read.readFrom(in);
        });
        ours += t;
        state.SetIterationTime(t);
    }
    if (!read.equals(&original))
        state.SkipWithError("read back a different scribble");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
    state.counters["x_read"] = ours / limit;
    state.counters["x_read_fresh"] = ours / limitFresh;
}
BENCHMARK(BM_ScribbleRead)->Arg(10)->Arg(1000)->UseManualTime()->Unit(benchmark::kMillisecond);

static void BM_ScribbleWrite(benchmark::State &state)
{
    const CScribble original = drawing(static_cast<int>(state.range(0)), 10000);
    const std::string bytes = bytesOf(original);
    std::vector<char> target(bytes.size());
    MemBuf buf;
    double ours = 0, limit = 0;
    for (auto _ : state) {
        limit += timed([&] {
            buf.writeTo(target.data(), target.size());
            std::ostream out(&buf);
            out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
            benchmark::DoNotOptimize(target.data());
        });
        const double t = timed([&] {
            buf.writeTo(target.data(), target.size());
            std::ostream out(&buf);
            original.writeTo(out);
            benchmark::DoNotOptimize(target.data());
        });
        ours += t;
        state.SetIterationTime(t);
    }
    if (std::string(target.begin(), target.end()) != bytes)
        state.SkipWithError("wrote different bytes");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
    state.counters["x_write"] = ours / limit;
}
BENCHMARK(BM_ScribbleWrite)->Arg(10)->Arg(1000)->UseManualTime()->Unit(benchmark::kMillisecond);

// The baseline visits every point and does nothing with it.
static double emptyLoop(const CStroke &s)
{
    return timed([&] {
        const long n = s.getPointNum();
        for (long i = 0; i < n; ++i)
            benchmark::DoNotOptimize(s.getPointAt(i));
    });
}

static CStroke millionPoints()
{
    CStroke s;
    for (int i = 0; i < 1000000; ++i)
        s.addPoint(QPoint(i % 1000 * 10, i / 1000 * 10));
    return s;
}

static void BM_HitTest(benchmark::State &state)
{
    const CStroke s = millionPoints();
    // Inside the bound but between the points: every vertex is tested, none hits.
    const CNRect between(1, 1, 8, 8);
    double ours = 0, base = 0;
    for (auto _ : state) {
        base += emptyLoop(s);
        bool hit = true;
        const double t = timed([&] { hit = s.hitTest(between); });
        benchmark::DoNotOptimize(hit);
        ours += t;
        state.SetIterationTime(t);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * s.getPointNum()));
    state.counters["x_loop"] = ours / base;
}
BENCHMARK(BM_HitTest)->UseManualTime()->Unit(benchmark::kMillisecond);

static void BM_GetRectBound(benchmark::State &state)
{
    CStroke s = millionPoints();
    double ours = 0, base = 0;
    for (auto _ : state) {
        s.setPointAt(0, s.getPointAt(0)); // stale, at no cost
        base += emptyLoop(s);
        const double t = timed([&] { benchmark::DoNotOptimize(s.getRectBound().right()); });
        ours += t;
        state.SetIterationTime(t);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * s.getPointNum()));
    state.counters["x_loop"] = ours / base;
}
BENCHMARK(BM_GetRectBound)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
