#include "scribbleset.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

bool parseStrokes(const QJsonArray &array, QVector<QVector<QPointF>> &strokes)
{
    for (const QJsonValue &strokeValue : array) {
        if (!strokeValue.isArray())
            return false;
        QVector<QPointF> stroke;
        for (const QJsonValue &pointValue : strokeValue.toArray()) {
            const QJsonArray xy = pointValue.toArray();
            if (xy.size() != 2 || !xy[0].isDouble() || !xy[1].isDouble())
                return false;
            stroke.append(QPointF(xy[0].toDouble(), xy[1].toDouble()));
        }
        strokes.append(stroke);
    }
    return true;
}

} // namespace

bool loadSamples(const QString &path, QVector<Sample> &samples, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    int lineNumber = 0;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        ++lineNumber;
        if (line.isEmpty())
            continue;
        QJsonParseError parseError;
        const QJsonDocument doc = QJsonDocument::fromJson(line, &parseError);
        Sample sample;
        const QJsonObject object = doc.object();
        if (doc.isNull() || !object.value("strokes").isArray()
            || !parseStrokes(object.value("strokes").toArray(), sample.strokes)) {
            *error = QStringLiteral("%1:%2: not a scribble sample%3")
                         .arg(path)
                         .arg(lineNumber)
                         .arg(doc.isNull() ? QStringLiteral(" (") + parseError.errorString() + ')'
                                           : QString());
            return false;
        }
        sample.label = object.value("label").toString();
        sample.user = object.value("user").toString();
        sample.speed = object.value("speed").toString();
        samples.append(sample);
    }
    return true;
}
