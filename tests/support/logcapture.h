// Captures the lines of one log stream while it lives, at a given root level, and puts
// the level and the stream's sink back afterwards.
#ifndef LIBUTILITY_TESTS_SUPPORT_LOGCAPTURE_H
#define LIBUTILITY_TESTS_SUPPORT_LOGCAPTURE_H

#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>

#include <QStringList>

#include <functional>

template <class Level = basic_logging::tracelevel> class LogCapture
{
public:
    /// shape turns each line into the text kept in lines (default: the line as written).
    explicit LogCapture(const QString &level = QStringLiteral("TRACE"),
        std::function<QString(const QByteArray &)> shape = nullptr)
        : m_oldLevel(CLogSystem::theRootInstance().getLevel())
    {
        CLogSystem::theRootInstance().setLevel(level);
        basic_logging::logstream<Level>::instance().setCallback(
            [this, shape](const QByteArray &line) {
                lines.append(shape ? shape(line) : QString::fromLatin1(line));
            });
    }
    ~LogCapture()
    {
        basic_logging::logstream<Level>::instance().setStandardError();
        CLogSystem::theRootInstance().setLevel(m_oldLevel);
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QStringList lines;

private:
    QString m_oldLevel;
};

#endif
