// Zip throughput against its limits, on one tree of about 100 MB of mixed data (text,
// random bytes, zeros, structured records) in files of 2 MB:
//   compression: ZipFile versus raw zlib deflate of the same bytes at the same level (the
//   limit: the archive work on top of deflate should cost almost nothing) and `zip -r`;
//   extraction: UnzipFile::extractAll versus raw zlib inflate of the same streams and
//   `unzip`.
// Each benchmark reports "vs_raw_zlib", its throughput divided by the raw zlib one measured
// earlier in the same run (1.0 = as fast as the limit), in process CPU time; the peers
// report "ours_vs_this_wall", our wall-clock throughput divided by theirs.
#include <libutility/archive/ziputil.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <chrono>
#include <ctime>
#include <memory>
#include <vector>

namespace {

constexpr int cFileSize = 2 << 20;
constexpr int cFileCount = 50;
constexpr int cLevel = 6;

struct Corpus
{
    QTemporaryDir dir;
    std::vector<QByteArray> files;
    std::vector<QByteArray> deflated;
    qint64 bytes = 0;

    QString tree() const { return dir.filePath("tree"); }
    QString archive() const { return dir.filePath("ours.zip"); }

    Corpus()
    {
        QDir().mkpath(tree());
        QRandomGenerator gen(42);
        const char *words[] = { "stroke ", "scribble ", "polygon ", "corner ", "ink ", "figure ",
            "recogniser ", "point ", "\n" };
        for (int i = 0; i < cFileCount; ++i) {
            QByteArray data;
            data.reserve(cFileSize);
            switch (i % 4) {
            case 0:
                while (data.size() < cFileSize)
                    data += words[gen.bounded(9)];
                break;
            case 1:
                data.resize(cFileSize);
                gen.fillRange(reinterpret_cast<quint32 *>(data.data()), cFileSize / 4);
                break;
            case 2:
                data = QByteArray(cFileSize, '\0');
                break;
            default:
                while (data.size() < cFileSize)
                    data += QByteArray::number(gen.bounded(100000)) + ';'
                        + QByteArray::number(gen.generateDouble()) + '\n';
                break;
            }
            data.resize(cFileSize);
            QFile file(tree() + QStringLiteral("/f%1.dat").arg(i));
            file.open(QIODevice::WriteOnly);
            file.write(data);
            files.push_back(data);
            bytes += data.size();
        }
    }
};

Corpus &corpus()
{
    static Corpus instance;
    return instance;
}

struct Rate
{
    double cpu; // bytes per process-CPU second (user and system)
    double wall; // bytes per wall-clock second
};

// Measured in registration order: every baseline before what is compared to it.
Rate g_rawDeflate, g_ourCompress, g_rawInflate, g_ourExtract;

double processSeconds()
{
    timespec t;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

// In-process work is compared in process CPU time (the archive's reads and writes count
// as system time), which a shared, loaded machine disturbs far less than wall time. The
// peers run as other processes, so they can only be compared by the wall clock.
template <class F> Rate timed(benchmark::State &state, F work)
{
    double cpu = 0, wall = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const double cpuStart = processSeconds();
        work();
        cpu += processSeconds() - cpuStart;
        wall += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    const double bytes = double(state.iterations() * corpus().bytes);
    state.SetBytesProcessed(state.iterations() * corpus().bytes);
    return { bytes / cpu, bytes / wall };
}

bool runPeer(const QString &program, const QStringList &arguments, const QString &where)
{
    QProcess process;
    process.setWorkingDirectory(where);
    process.start(program, arguments);
    return process.waitForFinished(-1) && process.exitCode() == 0;
}

void BM_RawDeflate(benchmark::State &state)
{
    Corpus &c = corpus();
    c.deflated.assign(c.files.size(), QByteArray());
    g_rawDeflate = timed(state, [&] {
        for (size_t i = 0; i < c.files.size(); ++i) {
            z_stream zs {};
            deflateInit2(&zs, cLevel, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
            QByteArray &out = c.deflated[i];
            out.resize(int(deflateBound(&zs, uLong(c.files[i].size()))));
            zs.next_in = reinterpret_cast<Bytef *>(c.files[i].data());
            zs.avail_in = uInt(c.files[i].size());
            zs.next_out = reinterpret_cast<Bytef *>(out.data());
            zs.avail_out = uInt(out.size());
            deflate(&zs, Z_FINISH);
            out.resize(int(zs.total_out));
            deflateEnd(&zs);
        }
    });
}

void BM_ZipFileCompress(benchmark::State &state)
{
    Corpus &c = corpus();
    g_ourCompress = timed(state, [&] {
        ZipFile zip(c.archive());
        zip.setCompressLevel(cLevel);
        for (int i = 0; i < cFileCount; ++i)
            zip.addFile(c.tree(), QStringLiteral("f%1.dat").arg(i), std::string());
        if (!zip.close())
            state.SkipWithError("ZipFile failed");
    });
    state.counters["vs_raw_zlib"] = g_ourCompress.cpu / g_rawDeflate.cpu;
}

void BM_ZipCommandCompress(benchmark::State &state)
{
    Corpus &c = corpus();
    const QString peer = c.dir.filePath("peer.zip");
    const Rate rate = timed(state, [&] {
        QFile::remove(peer);
        if (!runPeer("zip", { "-q", "-r", "-6", peer, "." }, c.tree()))
            state.SkipWithError("zip failed");
    });
    state.counters["ours_vs_this_wall"] = g_ourCompress.wall / rate.wall;
}

void BM_RawInflate(benchmark::State &state)
{
    Corpus &c = corpus();
    std::vector<char> out(cFileSize);
    g_rawInflate = timed(state, [&] {
        for (const QByteArray &in : c.deflated) {
            z_stream zs {};
            inflateInit2(&zs, -MAX_WBITS);
            zs.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(in.constData()));
            zs.avail_in = uInt(in.size());
            zs.next_out = reinterpret_cast<Bytef *>(out.data());
            zs.avail_out = uInt(out.size());
            inflate(&zs, Z_FINISH);
            inflateEnd(&zs);
            benchmark::DoNotOptimize(out.data());
        }
    });
}

void BM_UnzipFileExtract(benchmark::State &state)
{
    Corpus &c = corpus();
    const QString out = c.dir.filePath("out-ours");
    g_ourExtract = timed(state, [&] {
        UnzipFile unzip(c.archive());
        if (!unzip.extractAll(out))
            state.SkipWithError("UnzipFile failed");
    });
    state.counters["vs_raw_zlib"] = g_ourExtract.cpu / g_rawInflate.cpu;
}

void BM_UnzipCommandExtract(benchmark::State &state)
{
    Corpus &c = corpus();
    const QString out = c.dir.filePath("out-peer");
    const Rate rate = timed(state, [&] {
        if (!runPeer("unzip", { "-q", "-o", c.archive(), "-d", out }, c.dir.path()))
            state.SkipWithError("unzip failed");
    });
    state.counters["ours_vs_this_wall"] = g_ourExtract.wall / rate.wall;
}

// Registered in this order on purpose: each baseline runs before what is compared to it.
BENCHMARK(BM_RawDeflate)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ZipFileCompress)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ZipCommandCompress)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_RawInflate)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_UnzipFileExtract)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_UnzipCommandExtract)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
