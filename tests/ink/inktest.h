// Helpers shared by the ink tests.
#ifndef LIBUTILITY_TESTS_INK_INKTEST_H
#define LIBUTILITY_TESTS_INK_INKTEST_H

#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>

#include <QStringList>

#include <initializer_list>
#include <sstream>
#include <string>

namespace inktest {

// A byte string from a list of byte values.
inline std::string bytes(std::initializer_list<int> values)
{
    std::string s;
    for (int v : values)
        s.push_back(static_cast<char>(v));
    return s;
}

// Captures the trace lines written while it lives, at the TRACE level.
class TraceCapture
{
public:
    TraceCapture()
        : m_oldLevel(CLogSystem::theRootInstance().getLevel())
    {
        CLogSystem::theRootInstance().setLevel(QStringLiteral("TRACE"));
        basic_logging::logstream<basic_logging::tracelevel>::instance().setCallback(
            [this](const QByteArray &line) { lines.append(QString::fromLatin1(line)); });
    }
    ~TraceCapture()
    {
        basic_logging::logstream<basic_logging::tracelevel>::instance().setStandardError();
        CLogSystem::theRootInstance().setLevel(m_oldLevel);
    }
    // The lines without their line numbers: "file Enter name".
    QStringList withoutLineNumbers() const
    {
        QStringList out;
        for (const QString &line : lines) {
            const QStringList parts = line.split(QLatin1Char('\t'));
            out.append(parts.value(0) + QLatin1Char(' ') + parts.value(2));
        }
        return out;
    }
    QStringList lines;

private:
    QString m_oldLevel;
};

} // namespace inktest

#endif
