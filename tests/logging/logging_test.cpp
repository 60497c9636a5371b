#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>
#include <libutility/logging/trace.h>

#include "support/logcapture.h"

#include <QBuffer>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>
#include <tuple>
#include <vector>

using namespace basic_logging;

namespace {

int g_enterLine = 0;
int g_earlyReturnLine = 0;
int g_lateReturnLine = 0;

int tracedSign(int x)
{
    g_enterLine = __LINE__ + 1;
    TRACE_FUNCTION("logging_test", "tracedSign");
    g_earlyReturnLine = __LINE__ + 2;
    if (x < 0)
        return TRACE_RETURN(-1);
    g_lateReturnLine = __LINE__ + 1;
    return TRACE_RETURN(1);
}

QString line(const char *file, int number, const char *what)
{
    return QStringLiteral("%1\t%2\t%3")
        .arg(QLatin1String(file))
        .arg(number)
        .arg(QLatin1String(what));
}

} // namespace

TEST(Trace, WritesEnterAndTheExitOfTheReturnTaken)
{
    LogCapture<tracelevel> capture(QStringLiteral("TRACE"));
    EXPECT_EQ(tracedSign(-5), -1);
    EXPECT_EQ(tracedSign(5), 1);
    const QStringList expected {
        line("logging_test", g_enterLine, "Enter tracedSign"),
        line("logging_test", g_earlyReturnLine, "Exit tracedSign"),
        line("logging_test", g_enterLine, "Enter tracedSign"),
        line("logging_test", g_lateReturnLine, "Exit tracedSign"),
    };
    EXPECT_EQ(capture.lines, expected);
}

// Trace lines need the level string "TRACE" exactly; warnings stop only at ERROR and OFF.
TEST(LogLevel, DecidesWhichStreamsWrite)
{
    const std::tuple<const char *, int, int> rows[] = { { "TRACE", 2, 1 }, { "trace", 0, 1 },
        { "TRACE ", 0, 1 }, { "INFO", 0, 1 }, { "", 0, 1 }, { "ERROR", 0, 0 }, { "OFF", 0, 0 } };
    for (const auto &[level, traceLines, warnLines] : rows) {
        LogCapture<tracelevel> trace(QString::fromLatin1(level));
        LogCapture<warnlevel> warn(QString::fromLatin1(level));
        tracedSign(1);
        warning() << "careful" << LoggerEndline;
        EXPECT_EQ(trace.lines.size(), traceLines) << "level '" << level << "'";
        EXPECT_EQ(warn.lines.size(), warnLines) << "level '" << level << "'";
    }
}

TEST(LogStream, RedirectsToDeviceAndFile)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    auto &warn = logstream<warnlevel>::instance();
    warn.setDevice(&buffer);
    warn << "pieces " << 42 << ' ' << QStringLiteral("caf\u00e9") << LoggerEndline;
    EXPECT_EQ(buffer.data(), QByteArray("pieces 42 caf\xe9\n"));

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("log.txt"));
    ASSERT_TRUE(warn.setFile(path));
    warn << "to file" << LoggerEndline;
    warn.setStandardError();
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("to file\n"));
    EXPECT_FALSE(warn.setFile(dir.filePath(QStringLiteral("missing/dir/log.txt"))));
}

TEST(LogStream, ConcurrentWritersProduceWholeLines)
{
    LogCapture<warnlevel> capture(QStringLiteral("INFO"));
    constexpr int threads = 4, perThread = 500;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([t] {
            for (int i = 0; i < perThread; ++i)
                warning() << "thread " << t << " line " << i << " end" << LoggerEndline;
        });
    }
    for (auto &w : workers)
        w.join();
    ASSERT_EQ(capture.lines.size(), threads * perThread);
    const QRegularExpression whole(QStringLiteral("\\Athread \\d line \\d+ end\\z"));
    for (const QString &l : capture.lines)
        ASSERT_TRUE(whole.match(l).hasMatch()) << l.toStdString();
}

TEST(LogSystem, LevelFromEnvironment)
{
    LogCapture<tracelevel> restoresTheLevel(QStringLiteral("INFO"));
    qputenv("LIBUTILITY_LOG_LEVEL", ""); // set but empty counts as unset
    EXPECT_FALSE(CLogSystem::configureFromEnvironment());
    qputenv("LIBUTILITY_LOG_LEVEL", "TRACE");
    EXPECT_TRUE(CLogSystem::configureFromEnvironment());
    EXPECT_EQ(CLogSystem::theRootInstance().getLevel(), QStringLiteral("TRACE"));
    EXPECT_TRUE(traceEnabled());
    qunsetenv("LIBUTILITY_LOG_LEVEL");
}
