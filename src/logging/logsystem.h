/**
 * \file
 * The logger configuration of the logging library.
 *
 * There is one root logger, reached through CLogSystem::theRootInstance(). Its level
 * is a string; the library traces (see trace.h) only while it is exactly "TRACE".
 * Other names in use: "DEBUG", "INFO" (the default), "WARN", "ERROR", "OFF". The
 * warning stream is silent while the level is "ERROR" or "OFF"; any other string
 * leaves it on.
 *
 * The level is cached as flags when it is set, so that a traced call only tests a
 * flag and never compares strings.
 */
#ifndef LIBUTILITY_LOGGING_LOGSYSTEM_H
#define LIBUTILITY_LOGGING_LOGSYSTEM_H

#include <libutility/logging/logging_export.h>

#include <QString>

#include <atomic>

namespace basic_logging {

namespace detail {
/// True while the root logger's level is exactly "TRACE". Read on every traced call.
LOGGING_EXPORT extern std::atomic<bool> g_traceEnabled;
/// True while warnings are written (level other than "ERROR" and "OFF").
LOGGING_EXPORT extern std::atomic<bool> g_warnEnabled;
} // namespace detail

/// True while the root logger's level is exactly "TRACE": one relaxed load.
/// \return true while tracing is on
inline bool traceEnabled()
{
    return detail::g_traceEnabled.load(std::memory_order_relaxed);
}

/// True while the warning stream writes.
/// \return true unless the root level is "ERROR" or "OFF"
inline bool warnEnabled()
{
    return detail::g_warnEnabled.load(std::memory_order_relaxed);
}

/// A named logger with a level string. Only the root logger exists today.
class LOGGING_EXPORT Logger
{
public:
    /// A logger called name, at level.
    /// \param name the logger's name
    /// \param level the initial level string; not cached for tracing until setLevel()
    explicit Logger(const QString &name, const QString &level = QStringLiteral("INFO"));
    Logger(const Logger &) = delete;
    Logger &operator=(const Logger &) = delete;

    /// The name given at construction.
    /// \return the name
    QString getName() const;
    /// The level string as it was set (no case folding: "trace" is not "TRACE").
    /// \return the level string
    QString getLevel() const;
    /// Sets the level; takes effect for the next traced call.
    /// \param level the level string, compared case-sensitively
    void setLevel(const QString &level);

private:
    QString m_name;
    QString m_level;
};

} // namespace basic_logging

/// Access to the logging configuration.
class LOGGING_EXPORT CLogSystem
{
public:
    /// The root logger, whose level governs tracing and warnings.
    /// \return the root logger, alive until the program exits
    static basic_logging::Logger &theRootInstance();

    /// Sets the root level from the environment variable LIBUTILITY_LOG_LEVEL when it
    /// is set and not empty; returns whether it was. Tools call this when they start.
    /// \return true when the variable set the level
    static bool configureFromEnvironment();
};

#endif
