#include "inkfile.h"

#include <libutility/ink/scribble.h>
#include <libutility/ink/stroke.h>

#include <QFile>
#include <QSaveFile>
#include <QtEndian>

#include <cmath>
#include <sstream>
#include <string>

namespace {

bool readInt(const QByteArray &data, qint64 &offset, qint32 &value)
{
    if (offset + 4 > data.size())
        return false;
    value = qFromLittleEndian<qint32>(data.constData() + offset);
    offset += 4;
    return true;
}

} // namespace

QString checkInk(const QByteArray &data)
{
    qint64 offset = 0;
    qint32 strokes = 0;
    if (!readInt(data, offset, strokes))
        return QStringLiteral("0: too short for a stroke count");
    if (strokes < 0)
        return QStringLiteral("0: negative stroke count %1").arg(strokes);
    // Every stroke needs at least its own count: this bounds the stroke count by the size.
    if (qint64(strokes) * 4 > data.size() - offset)
        return QStringLiteral("0: stroke count %1 does not fit in %2 bytes")
            .arg(strokes)
            .arg(data.size());
    for (qint32 i = 0; i < strokes; ++i) {
        const qint64 at = offset;
        qint32 points = 0;
        if (!readInt(data, offset, points))
            return QStringLiteral("%1: stroke %2 of %3 is missing").arg(at).arg(i + 1).arg(strokes);
        if (points < 0)
            return QStringLiteral("%1: negative point count %2").arg(at).arg(points);
        if (qint64(points) * 8 > data.size() - offset)
            return QStringLiteral("%1: point count %2 does not fit in the %3 bytes left")
                .arg(at)
                .arg(points)
                .arg(data.size() - offset);
        offset += qint64(points) * 8;
    }
    if (offset != data.size())
        return QStringLiteral("%1: %2 trailing bytes").arg(offset).arg(data.size() - offset);
    return QString();
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
