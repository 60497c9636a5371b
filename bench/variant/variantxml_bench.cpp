// Writing and reading variant XML fragments of a nested map, against the cost of
// QDomDocument::setContent alone on the same (unescaped) text: the price of merely
// parsing that XML with Qt, which our reader should stay close to.
//
// The argument is the fragment's size in MB. BM_ReadRelativeToDom reports the ratio
// "read/dom" (and "write/dom") measured in one process, iteration by iteration.
#include <libutility/variant/variantutil.h>

#include <QDateTime>
#include <QDomDocument>
#include <QVariantList>
#include <QVariantMap>

#include <benchmark/benchmark.h>

#include <ctime>
#include <map>

namespace {

// One record of every supported type, a list and a small map inside.
QVariantMap record(int i)
{
    return QVariantMap {
        { "id", i },
        { "score", i * 0.37 },
        { "active", (i % 3) == 0 },
        { "title", QStringLiteral("Stroke group %1 on page %2").arg(i).arg(i / 50) },
        { "created", QDateTime(QDate(2024, 1, 1), QTime(0, 0)).addSecs(i) },
        { "thumb", QByteArray(48, char('a' + i % 26)) },
        { "points", QVariantList { i, i + 1, i + 2, 0.5 * i } },
        { "style", QVariantMap { { "colour", "#102030" }, { "width", 2.5 } } },
    };
}

struct Sample
{
    QVariant value;
    QString fragment; // escaped, as handed out
    QString xml; // the same text unescaped, what a DOM parser sees
};

// Pages of records until the fragment reaches the size asked for.
const Sample &sample(int megabytes)
{
    static std::map<int, Sample> samples;
    Sample &s = samples[megabytes];
    if (!s.fragment.isEmpty())
        return s;
    const CXMLSerializeInfo info {};
    const int perPage = 200;
    const int pageBytes
        = CVariantUtil::variantToXMLFragment(info, QVariantList { record(0) }).size() * perPage;
    const int pages = megabytes * (1 << 20) / pageBytes + 1;
    QVariantMap document;
    for (int p = 0; p < pages; ++p) {
        QVariantList page;
        for (int r = 0; r < perPage; ++r)
            page.append(record(p * perPage + r));
        document.insert(QStringLiteral("page%1").arg(p, 5, 10, QLatin1Char('0')), page);
    }
    s.value = document;
    s.fragment = CVariantUtil::variantToXMLFragment(info, s.value);
    s.xml = CVariantUtil::deEscape(s.fragment);
    return s;
}

void BM_VariantToXMLFragment(benchmark::State &state)
{
    const Sample &s = sample(int(state.range(0)));
    const CXMLSerializeInfo info {};
    for (auto _ : state)
        benchmark::DoNotOptimize(CVariantUtil::variantToXMLFragment(info, s.value));
    state.SetBytesProcessed(state.iterations() * s.fragment.size());
}

void BM_VariantFromXMLFragment(benchmark::State &state)
{
    const Sample &s = sample(int(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(CVariantUtil::variantFromXMLFragment(s.fragment));
    state.SetBytesProcessed(state.iterations() * s.fragment.size());
}

// The baseline: Qt's DOM parse of the unescaped text, nothing else.
void BM_DomSetContent(benchmark::State &state)
{
    const Sample &s = sample(int(state.range(0)));
    for (auto _ : state) {
        QDomDocument document;
        benchmark::DoNotOptimize(document.setContent(s.xml));
    }
    state.SetBytesProcessed(state.iterations() * s.fragment.size());
}

// Both in turn, so that the ratio comes from the same moments of a shared machine, and
// in this thread's CPU time: on a loaded machine wall time mostly measures the others.
double threadSeconds()
{
    timespec now {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

template <class F> double seconds(F &&f)
{
    const double start = threadSeconds();
    f();
    return threadSeconds() - start;
}

void BM_ReadRelativeToDom(benchmark::State &state)
{
    const Sample &s = sample(int(state.range(0)));
    double read = 0, dom = 0, write = 0;
    for (auto _ : state) {
        read += seconds(
            [&] { benchmark::DoNotOptimize(CVariantUtil::variantFromXMLFragment(s.fragment)); });
        dom += seconds([&] {
            QDomDocument document;
            benchmark::DoNotOptimize(document.setContent(s.xml));
        });
        write += seconds(
            [&] { benchmark::DoNotOptimize(CVariantUtil::variantToXMLFragment({}, s.value)); });
    }
    state.counters["read/dom"] = read / dom;
    state.counters["write/dom"] = write / dom;
}

} // namespace

BENCHMARK(BM_VariantToXMLFragment)
    ->RangeMultiplier(10)
    ->Range(1, 10)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VariantFromXMLFragment)
    ->RangeMultiplier(10)
    ->Range(1, 10)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DomSetContent)->RangeMultiplier(10)->Range(1, 10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadRelativeToDom)->Arg(10)->Iterations(5)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
