#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>

#include <QFile>
#include <QIODevice>
#include <QMutex>

#include <cstdio>
#include <sstream>

namespace basic_logging {

namespace detail {
std::atomic<bool> g_traceEnabled { false };
std::atomic<bool> g_warnEnabled { true };
} // namespace detail

namespace {

QMutex &loggerMutex()
{
    static QMutex mutex;
    return mutex;
}

void cacheLevel(const QString &level)
{
    detail::g_traceEnabled.store(level == QLatin1String("TRACE"), std::memory_order_relaxed);
    detail::g_warnEnabled.store(level != QLatin1String("ERROR") && level != QLatin1String("OFF"),
                                std::memory_order_relaxed);
}

} // namespace

Logger::Logger(const QString &name, const QString &level)
    : m_name(name)
    , m_level(level)
{
}

QString Logger::getName() const
{
    return m_name;
}

QString Logger::getLevel() const
{
    QMutexLocker locker(&loggerMutex());
    return m_level;
}

void Logger::setLevel(const QString &level)
{
    QMutexLocker locker(&loggerMutex());
    m_level = level;
    cacheLevel(level);
}

// ---------------------------------------------------------------------------------

struct LogStreamBase::Sink
{
    enum Kind { StandardError, Device, File, Callback } kind = StandardError;
    QIODevice *device = nullptr;
    QFile file;
    std::function<void(const QByteArray &)> callback;
};

LogStreamBase::LogStreamBase(int levelId)
    : m_levelId(levelId)
    , m_sink(new Sink)
{
}

LogStreamBase::~LogStreamBase()
{
    delete m_sink;
}

LogStreamBase &LogStreamBase::forLevel(int levelId)
{
    // Function-local statics: constructed on first use, safe from static-init order.
    static logstream<tracelevel> trace;
    static logstream<warnlevel> warn;
    return levelId == tracelevel::id ? static_cast<LogStreamBase &>(trace)
                                     : static_cast<LogStreamBase &>(warn);
}

std::ostream &LogStreamBase::pending()
{
    // One line buffer per thread and level: pieces of different threads never mix.
    thread_local std::ostringstream buffers[2];
    return buffers[m_levelId];
}

LogStreamBase &LogStreamBase::operator<<(const QString &value)
{
    QMutexLocker locker(&m_mutex);
    pending() << value.toLatin1().constData();
    return *this;
}

LogStreamBase &LogStreamBase::operator<<(const char *value)
{
    QMutexLocker locker(&m_mutex);
    pending() << (value ? value : "(null)");
    return *this;
}

LogStreamBase &LogStreamBase::operator<<(LoggerEndlineTag)
{
    QMutexLocker locker(&m_mutex);
    auto &buffer = static_cast<std::ostringstream &>(pending());
    QByteArray line = QByteArray::fromStdString(buffer.str());
    buffer.str(std::string());
    buffer.clear();
    if (m_levelId == warnlevel::id && !warnEnabled())
        return *this;

    switch (m_sink->kind) {
    case Sink::StandardError:
        line.append('\n');
        std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
        std::fflush(stderr);
        break;
    case Sink::Device:
        line.append('\n');
        m_sink->device->write(line);
        break;
    case Sink::File:
        line.append('\n');
        m_sink->file.write(line);
        m_sink->file.flush();
        break;
    case Sink::Callback:
        m_sink->callback(line);
        break;
    }
    return *this;
}

void LogStreamBase::setStandardError()
{
    QMutexLocker locker(&m_mutex);
    m_sink->file.close();
    m_sink->device = nullptr;
    m_sink->callback = nullptr;
    m_sink->kind = Sink::StandardError;
}

void LogStreamBase::setDevice(QIODevice *device)
{
    QMutexLocker locker(&m_mutex);
    m_sink->file.close();
    m_sink->callback = nullptr;
    m_sink->device = device;
    m_sink->kind = device ? Sink::Device : Sink::StandardError;
}

bool LogStreamBase::setFile(const QString &path)
{
    QMutexLocker locker(&m_mutex);
    m_sink->file.close();
    m_sink->file.setFileName(path);
    if (!m_sink->file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        m_sink->kind = Sink::StandardError;
        return false;
    }
    m_sink->device = nullptr;
    m_sink->callback = nullptr;
    m_sink->kind = Sink::File;
    return true;
}

void LogStreamBase::setCallback(std::function<void(const QByteArray &)> callback)
{
    QMutexLocker locker(&m_mutex);
    m_sink->file.close();
    m_sink->device = nullptr;
    m_sink->callback = std::move(callback);
    m_sink->kind = m_sink->callback ? Sink::Callback : Sink::StandardError;
}

} // namespace basic_logging

basic_logging::Logger &CLogSystem::theRootInstance()
{
    static basic_logging::Logger root(QStringLiteral("root"));
    return root;
}

bool CLogSystem::configureFromEnvironment()
{
    const QByteArray level = qgetenv("LIBUTILITY_LOG_LEVEL");
    if (level.isEmpty())
        return false;
    theRootInstance().setLevel(QString::fromLatin1(level));
    return true;
}
