/**
 * \file
 * Log streams of the logging library: one stream per level (trace and warning),
 * written as lines.
 *
 *   basic_logging::logstream<basic_logging::warnlevel>::instance()
 *       << "no handler for " << fileName << basic_logging::LoggerEndline;
 *
 * Each inserted piece is formatted as a std::ostream formats it (QString pieces are
 * converted with toLatin1) and is appended under the stream's QMutex. Pieces are
 * collected per thread and the line goes to the sink whole when LoggerEndline is
 * inserted, so lines written from several threads never interleave.
 *
 * The sink is standard error unless redirected to a QIODevice, a file or a callback.
 * The stream does not own a QIODevice handed to it; the caller keeps it alive until it
 * redirects the stream elsewhere.
 */
#ifndef LIBUTILITY_LOGGING_LOGSTREAM_H
#define LIBUTILITY_LOGGING_LOGSTREAM_H

#include <libutility/logging/logging_export.h>

#include <QByteArray>
#include <QMutex>
#include <QMutexLocker>
#include <QString>

#include <functional>
#include <ostream>
#include <string>

class QIODevice;

namespace basic_logging {

/// Level tags selecting a stream.
struct tracelevel
{
    /// The trace stream.
    static constexpr int id = 0;
};
/// Level tag of the warning stream.
struct warnlevel
{
    /// The warning stream.
    static constexpr int id = 1;
};

/// Ends the current line of a log stream and hands it to the sink.
struct LoggerEndlineTag
{
};
/// Write it to a log stream to end the line: `stream << "text" << LoggerEndline`.
inline constexpr LoggerEndlineTag LoggerEndline {};

/// The level-independent part of a log stream.
class LOGGING_EXPORT LogStreamBase
{
public:
    LogStreamBase(const LogStreamBase &) = delete;
    LogStreamBase &operator=(const LogStreamBase &) = delete;

    /// Appends value to the pending line as a std::ostream formats it.
    /// \param value anything std::ostream can insert
    /// \return this stream
    template <class T>
    LogStreamBase &operator<<(const T &value)
    {
        QMutexLocker locker(&m_mutex);
        pending() << value;
        return *this;
    }
    /// Appends value to the pending line (as Latin-1).
    /// \param value the text, converted with QString::toLatin1 (other characters become '?')
    /// \return this stream
    LogStreamBase &operator<<(const QString &value);
    /// Appends the text to the pending line.
    /// \param value NUL-terminated text; null appends "(null)"
    /// \return this stream
    LogStreamBase &operator<<(const char *value);
    /// Ends the pending line and hands it to the sink.
    /// \return this stream
    LogStreamBase &operator<<(LoggerEndlineTag);

    /// Lines go to standard error (the default).
    void setStandardError();
    /// Lines go to device, which must be open for writing; not owned.
    /// \param device the device; null means standard error
    void setDevice(QIODevice *device);
    /// Lines are appended to the file at path; false when it cannot be opened.
    /// \param path the log file, created when missing
    /// \return true when the file is open; on failure lines go to standard error
    bool setFile(const QString &path);
    /// Each line (without its newline) is handed to callback.
    /// \param callback receives each line; an empty function means standard error
    void setCallback(std::function<void(const QByteArray &line)> callback);

protected:
    /// A stream of the level with that id, writing to standard error.
    /// \param levelId the id of the level tag (tracelevel::id or warnlevel::id)
    explicit LogStreamBase(int levelId);
    ~LogStreamBase();
    /// The one stream of the level with that id.
    /// \param levelId tracelevel::id for the trace stream; any other value gives the warning
    ///     stream
    /// \return the stream, alive until the program exits
    static LogStreamBase &forLevel(int levelId);

private:
    std::ostream &pending();

    int m_levelId;
    QMutex m_mutex;
    struct Sink;
    Sink *m_sink;
};

/// The stream of one level; obtain it with instance().
template <class Level>
class logstream : public LogStreamBase
{
public:
    /// The one stream of this level.
    /// \return the stream, alive until the program exits
    static logstream &instance() { return static_cast<logstream &>(forLevel(Level::id)); }

private:
    friend class LogStreamBase;
    logstream()
        : LogStreamBase(Level::id)
    {
    }
};

/// The warning stream, for warnings of the library's own code.
/// \return the warning stream
inline logstream<warnlevel> &warning()
{
    return logstream<warnlevel>::instance();
}

} // namespace basic_logging

#endif
