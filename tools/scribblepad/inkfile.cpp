#include "inkfile.h"

#include "inkcheck.h"

#include <libutility/ink/scribble.h>
#include <libutility/ink/stroke.h>

#include <QFile>
#include <QSaveFile>

#include <cmath>
#include <sstream>
#include <string>

QString checkInk(const QByteArray &data)
{
    // The same check inkrecog and the fuzzers run; the pad keeps the default limits.
    const inkcheck::InkCheckResult result = inkcheck::checkInk(
        reinterpret_cast<const unsigned char *>(data.constData()), std::uint64_t(data.size()));
    return result.ok ? QString() : QString::fromStdString(inkcheck::describe(result));
}

bool loadInk(const QString &path, Strokes &strokes, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    const QByteArray data = file.readAll();
    const QString fault = checkInk(data);
    if (!fault.isEmpty()) {
        *error = QStringLiteral("%1: %2").arg(path, fault);
        return false;
    }
    std::istringstream in(std::string(data.constData(), static_cast<size_t>(data.size())));
    CScribble scribble;
    scribble.readFrom(in);
    strokes.clear();
    for (long i = 0; i < scribble.getStrokeNum(); ++i) {
        const CStroke &stroke = scribble.getStrokeAt(i);
        QVector<QPointF> points;
        points.reserve(static_cast<int>(stroke.getPointNum()));
        for (long j = 0; j < stroke.getPointNum(); ++j)
            points << QPointF(stroke.getPointAt(j));
        strokes << points;
    }
    return true;
}

bool saveInk(const QString &path, const Strokes &strokes, QString *error)
{
    CScribble scribble;
    for (const QVector<QPointF> &points : strokes) {
        CStroke stroke;
        for (const QPointF &p : points)
            stroke.addPoint(QPoint(int(std::lround(p.x())), int(std::lround(p.y()))));
        scribble.addStroke(stroke);
    }
    scribble.invalidateCache();
    std::ostringstream out;
    scribble.writeTo(out);
    const std::string bytes = out.str();

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)
        || file.write(bytes.data(), qint64(bytes.size())) != qint64(bytes.size())
        || !file.commit()) {
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}
