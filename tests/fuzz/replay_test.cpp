// Every committed corpus input and every regression input of each fuzz target, run
// through the target's entry point. A broken invariant aborts (FUZZ_CHECK) and a memory
// error stops the sanitizer build; the input being replayed is printed first, so the
// log names it.
#include "fuzztarget.h"

#include "support/printers.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <gtest/gtest.h>

#include <cstdio>

namespace {

std::vector<std::string> targetNames()
{
    std::vector<std::string> names;
    for (const utility_fuzz::Target &target : utility_fuzz::targets())
        names.push_back(target.name);
    return names;
}

class FuzzCorpusReplay : public testing::TestWithParam<std::string>
{
};

TEST_P(FuzzCorpusReplay, EveryInputPassesTheTarget)
{
    const utility_fuzz::Target *target = nullptr;
    for (const utility_fuzz::Target &candidate : utility_fuzz::targets()) {
        if (GetParam() == candidate.name)
            target = &candidate;
    }
    ASSERT_NE(target, nullptr);
    utility_fuzz::silenceLogging();

    const QString directory
        = QStringLiteral(LIBUTILITY_FUZZ_CORPUS_DIR "/") + QString::fromStdString(GetParam());
    QDirIterator it(directory, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    int seeds = 0;
    int regressions = 0;
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        const QByteArray data = file.readAll();
        std::fprintf(stderr, "replaying %s\n", qPrintable(path));
        EXPECT_EQ(target->entry(reinterpret_cast<const uint8_t *>(data.constData()),
                      static_cast<size_t>(data.size())),
            0)
            << path.toStdString();
        (path.contains(QLatin1String("/regressions/")) ? regressions : seeds)++;
    }
    std::fprintf(stderr, "%s: %d seed inputs, %d regression inputs\n", GetParam().c_str(), seeds,
        regressions);
    // A target without seeds would pass vacuously: every target ships a seed corpus.
    EXPECT_GT(seeds, 0) << "no seed corpus in " << directory.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzCorpusReplay, testing::ValuesIn(targetNames()),
    [](const testing::TestParamInfo<std::string> &info) { return info.param; });

} // namespace
