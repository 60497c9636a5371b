// A stream buffer over caller-owned memory, so that every benchmark iteration reads
// (or writes) the same bytes without copying them into a new stream first.
#ifndef LIBUTILITY_BENCH_INK_MEMBUF_H
#define LIBUTILITY_BENCH_INK_MEMBUF_H

#include <ctime>
#include <istream>
#include <streambuf>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

class MemBuf : public std::streambuf
{
public:
    void readFrom(char *data, std::size_t size) { setg(data, data, data + size); }
    void writeTo(char *data, std::size_t size) { setp(data, data + size); }
};

// Seconds of this thread's CPU time taken by f. CPU time rather than wall time: the
// machines are shared, and a descheduled thread would otherwise skew one side of a
// ratio.
inline double threadSeconds()
{
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

template <class F> double timed(F &&f)
{
    const double start = threadSeconds();
    f();
    return threadSeconds() - start;
}

// The limit every decoding benchmark is measured against: one istream::read of all the
// bytes into raw, through buf. Returns the CPU seconds it took.
inline double timedRawRead(MemBuf &buf, std::string &bytes, std::vector<char> &raw)
{
    return timed([&] {
        buf.readFrom(&bytes[0], bytes.size());
        std::istream in(&buf);
        in.read(raw.data(), static_cast<std::streamsize>(raw.size()));
        benchmark::DoNotOptimize(raw.data());
    });
}

#endif
