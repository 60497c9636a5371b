#include "inputs.h"

#include <libutility/ink/scribble.h>
#include <libutility/ink/stroke.h>

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>

const QString standardInputName = QStringLiteral("(standard input)");

namespace {

// A longer JSON line is refused rather than parsed: parsing costs several times the
// text in memory.
constexpr qint64 kMaxJsonLine = 64 * 1024 * 1024;
constexpr size_t kChunk = 64 * 1024;

const QStringList kInkSuffixes = { QStringLiteral("ink") };
const QStringList kJsonSuffixes
    = { QStringLiteral("jsonl"), QStringLiteral("ndjson"), QStringLiteral("json") };

bool isStandardInput(const QString &path) { return path == QLatin1String("-"); }

QString sourceName(const QString &path) { return isStandardInput(path) ? standardInputName : path; }

QString baseName(const QString &path)
{
    return isStandardInput(path) ? QStringLiteral("stdin") : QFileInfo(path).completeBaseName();
}

struct FileCloser
{
    void operator()(std::FILE *file) const
    {
        if (file != stdin)
            std::fclose(file);
    }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// The bytes an accepted ink scribble can take at most, saturated well below overflow.
std::uint64_t largestInk(const inkcheck::InkCheckOptions &limits)
{
    const std::uint64_t cap = std::uint64_t(1) << 40;
    const std::uint64_t strokes = std::min(limits.maxStrokes, cap);
    const std::uint64_t points = std::min(limits.maxPoints, cap);
    return 4 + strokes * 4 + points * 8;
}

// Hands the scribble in `in` (size bytes from its start) on, after checking it.
bool readInk(std::istream &in, std::uint64_t size, const QString &path, const InputOptions &options,
    const InputCallbacks &callbacks)
{
    const QString source = sourceName(path);
    const inkcheck::InkCheckResult check = inkcheck::checkInk(in, size, options.limits);
    if (!check.ok) {
        callbacks.fault(
            source + QStringLiteral(": ") + QString::fromStdString(inkcheck::describe(check)));
        return false;
    }
    in.clear();
    in.seekg(0);
    CScribble scribble;
    try {
        scribble.readFrom(in);
    } catch (const std::exception &e) {
        // Cannot happen for data the check accepted; kept so that a reader bug or an
        // allocation failure is a fault of this input, not the end of the run.
        callbacks.fault(source + QStringLiteral(": 0: cannot be read (") + e.what() + ')');
        return false;
    }
    if (!in) {
        callbacks.fault(source + QStringLiteral(": 0: read error"));
        return false;
    }
    Sample sample;
    sample.source = source;
    sample.name = baseName(path);
    sample.label = sample.name;
    sample.fromInk = true;
    for (long i = 0; i < scribble.getStrokeNum(); ++i) {
        const CStroke &stroke = scribble.getStrokeAt(i);
        QVector<QPointF> points;
        points.reserve(int(stroke.getPointNum()));
        for (long j = 0; j < stroke.getPointNum(); ++j)
            points.append(QPointF(stroke.getPointAt(j)));
        sample.strokes.append(points);
    }
    if (callbacks.progress)
        callbacks.progress(qint64(size));
    callbacks.sample(sample);
    return true;
}

bool readInkFile(const QString &path, const InputOptions &options, const InputCallbacks &callbacks)
{
    std::ifstream in(QFile::encodeName(path).toStdString(), std::ios::binary);
    if (!in) {
        callbacks.fault(path + QStringLiteral(": cannot open"));
        return false;
    }
    return readInk(in, std::uint64_t(QFileInfo(path).size()), path, options, callbacks);
}

// Standard input cannot be checked before it is read: it is read into memory, but no
// further than the largest scribble the limits accept.
bool readInkFromStream(std::FILE *file, std::string data, const QString &path,
    const InputOptions &options, const InputCallbacks &callbacks)
{
    const std::uint64_t limit = largestInk(options.limits);
    char chunk[kChunk];
    size_t n = 0;
    while (data.size() <= limit && (n = std::fread(chunk, 1, sizeof chunk, file)) > 0)
        data.append(chunk, n);
    if (data.size() > limit) {
        callbacks.fault(sourceName(path)
            + QStringLiteral(": %1: more data than the largest scribble the limits accept")
                  .arg(limit));
        return false;
    }
    std::istringstream in(data);
    return readInk(in, data.size(), path, options, callbacks);
}

class JsonLineReader
{
public:
    JsonLineReader(
        const QString &path, const InputOptions &options, const InputCallbacks &callbacks)
        : m_path(path)
        , m_options(options)
        , m_callbacks(callbacks)
    { }

    // Feeds the next bytes of the input.
    void feed(const char *data, size_t size)
    {
        size_t start = 0;
        for (size_t i = 0; i < size; ++i) {
            if (data[i] != '\n')
                continue;
            append(data + start, i - start);
            endLine();
            start = i + 1;
        }
        append(data + start, size - start);
        m_consumed += qint64(size);
        if (m_callbacks.progress)
            m_callbacks.progress(m_consumed);
    }

    // Ends the input; true when every line was a scribble.
    bool finish()
    {
        if (!m_pending.isEmpty() || m_discarding)
            endLine();
        return m_ok;
    }

private:
    void append(const char *data, size_t size)
    {
        if (m_discarding || size == 0)
            return;
        if (qint64(m_pending.size()) + qint64(size) > kMaxJsonLine) {
            fault(m_line + 1, QStringLiteral("line longer than %1 bytes").arg(kMaxJsonLine));
            m_pending.clear();
            m_discarding = true;
            return;
        }
        m_pending.append(data, int(size));
    }

    void endLine()
    {
        ++m_line;
        if (m_discarding) {
            m_discarding = false;
            return;
        }
        const QByteArray line = m_pending.trimmed();
        m_pending.clear();
        if (line.isEmpty())
            return;
        Sample sample;
        QString error;
        if (!parseSampleLine(line, sample, &error)) {
            fault(m_line, error);
            return;
        }
        qint64 points = 0;
        for (const QVector<QPointF> &stroke : sample.strokes)
            points += stroke.size();
        if (std::uint64_t(sample.strokes.size()) > m_options.limits.maxStrokes
            || std::uint64_t(points) > m_options.limits.maxPoints) {
            fault(m_line,
                QStringLiteral("%1 strokes of %2 points exceed the limits (%3 strokes, %4 "
                               "points)")
                    .arg(sample.strokes.size())
                    .arg(points)
                    .arg(m_options.limits.maxStrokes)
                    .arg(m_options.limits.maxPoints));
            return;
        }
        sample.source = QStringLiteral("%1:%2").arg(sourceName(m_path)).arg(m_line);
        sample.name = QStringLiteral("%1-%2").arg(baseName(m_path)).arg(m_line);
        m_callbacks.sample(sample);
    }

    void fault(qint64 line, const QString &what)
    {
        m_callbacks.fault(QStringLiteral("%1:%2: %3").arg(sourceName(m_path)).arg(line).arg(what));
        m_ok = false;
    }

    QString m_path;
    const InputOptions &m_options;
    const InputCallbacks &m_callbacks;
    QByteArray m_pending;
    qint64 m_line = 0;
    qint64 m_consumed = 0;
    bool m_discarding = false;
    bool m_ok = true;
};

bool readJsonLines(std::FILE *file, const std::string &head, const QString &path,
    const InputOptions &options, const InputCallbacks &callbacks)
{
    JsonLineReader reader(path, options, callbacks);
    reader.feed(head.data(), head.size());
    char chunk[kChunk];
    size_t n = 0;
    while ((n = std::fread(chunk, 1, sizeof chunk, file)) > 0)
        reader.feed(chunk, n);
    const bool ok = reader.finish();
    if (std::ferror(file)) {
        callbacks.fault(sourceName(path) + QStringLiteral(": read error"));
        return false;
    }
    return ok;
}

InputFormat formatBySuffix(const QString &path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (kInkSuffixes.contains(suffix))
        return InputFormat::Ink;
    if (kJsonSuffixes.contains(suffix))
        return InputFormat::JsonLines;
    return InputFormat::Auto;
}

} // namespace

QStringList expandInputs(const QStringList &arguments)
{
    QStringList inputs;
    QStringList patterns;
    for (const QString &suffix : kInkSuffixes + kJsonSuffixes)
        patterns << QStringLiteral("*.") + suffix;
    for (const QString &argument : arguments) {
        if (isStandardInput(argument) || !QFileInfo(argument).isDir()) {
            inputs << argument;
            continue;
        }
        QStringList found;
        QDirIterator it(argument, patterns, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext())
            found << it.next();
        found.sort();
        inputs << found;
    }
    return inputs;
}

qint64 inputSize(const QString &path)
{
    if (isStandardInput(path))
        return -1;
    const QFileInfo info(path);
    return info.isFile() ? info.size() : -1;
}

bool readInput(const QString &path, const InputOptions &options, const InputCallbacks &callbacks)
{
    const QString source = sourceName(path);
    if (!isStandardInput(path)) {
        const QFileInfo info(path);
        if (!info.exists()) {
            callbacks.fault(path + QStringLiteral(": no such file or directory"));
            return false;
        }
        if (!info.isFile()) {
            callbacks.fault(path + QStringLiteral(": not a regular file"));
            return false;
        }
    }

    InputFormat format = options.format;
    if (format == InputFormat::Auto && !isStandardInput(path))
        format = formatBySuffix(path);
    if (format == InputFormat::Ink && !isStandardInput(path))
        return readInkFile(path, options, callbacks);

    FilePtr file(
        isStandardInput(path) ? stdin : std::fopen(QFile::encodeName(path).constData(), "rb"));
    if (!file) {
        callbacks.fault(source + QStringLiteral(": cannot open"));
        return false;
    }
    // The first bytes decide an unnamed format; they are passed on to the reader chosen.
    std::string head;
    if (format == InputFormat::Auto) {
        char bytes[64];
        const size_t n = std::fread(bytes, 1, sizeof bytes, file.get());
        head.assign(bytes, n);
        format = looksLikeJsonLines(QByteArray::fromRawData(bytes, int(n))) ? InputFormat::JsonLines
                                                                            : InputFormat::Ink;
    }
    if (format == InputFormat::JsonLines)
        return readJsonLines(file.get(), head, path, options, callbacks);
    if (!isStandardInput(path)) {
        file.reset();
        return readInkFile(path, options, callbacks);
    }
    return readInkFromStream(file.get(), head, path, options, callbacks);
}
