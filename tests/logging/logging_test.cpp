#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>
#include <libutility/logging/trace.h>

#include "support/logcapture.h"

#include <QBuffer>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>
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

double tracedValue(double x)
{
    TRACE_FUNCTION("binaryread", "binaryRead");
    return TRACE_RETURN_SHOWING(x);
}

template <class Level> using Capture = LogCapture<Level>;

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
    Capture<tracelevel> capture(QStringLiteral("TRACE"));
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

TEST(Trace, ExitCanShowTheValue)
{
    Capture<tracelevel> capture(QStringLiteral("TRACE"));
    tracedValue(2.5);
    ASSERT_EQ(capture.lines.size(), 2);
    EXPECT_TRUE(capture.lines[1].endsWith(QStringLiteral("\tExit binaryRead(2.5 )")))
        << capture.lines[1].toStdString();
}

TEST(Trace, OnlyTheExactLevelStringTraces)
{
    for (const char *level : { "DEBUG", "trace", "TRACE ", "INFO", "" }) {
        Capture<tracelevel> capture(QString::fromLatin1(level));
        tracedSign(1);
        EXPECT_TRUE(capture.lines.isEmpty()) << "level '" << level << "'";
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

TEST(LogStream, WarningsFollowTheLevel)
{
    for (const auto &row : { std::make_pair("INFO", 1), std::make_pair("TRACE", 1),
             std::make_pair("ERROR", 0), std::make_pair("OFF", 0) }) {
        Capture<warnlevel> capture(QString::fromLatin1(row.first));
        warning() << "careful" << LoggerEndline;
        EXPECT_EQ(capture.lines.size(), row.second) << row.first;
    }
}

TEST(LogStream, ConcurrentWritersProduceWholeLines)
{
    Capture<warnlevel> capture(QStringLiteral("INFO"));
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
    const QString old = CLogSystem::theRootInstance().getLevel();
    qputenv("LIBUTILITY_LOG_LEVEL", "");
    EXPECT_FALSE(CLogSystem::configureFromEnvironment());
    qputenv("LIBUTILITY_LOG_LEVEL", "TRACE");
    EXPECT_TRUE(CLogSystem::configureFromEnvironment());
    EXPECT_EQ(CLogSystem::theRootInstance().getLevel(), QStringLiteral("TRACE"));
    EXPECT_TRUE(traceEnabled());
    qunsetenv("LIBUTILITY_LOG_LEVEL");
    CLogSystem::theRootInstance().setLevel(old);
    EXPECT_FALSE(traceEnabled());
}
