#include "scribbleset.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

bool parseStrokes(const QJsonArray &array, QVector<QVector<QPointF>> &strokes, QString *error)
{
    for (int s = 0; s < array.size(); ++s) {
        if (!array[s].isArray()) {
            *error = QStringLiteral("stroke %1 is not a list of points").arg(s + 1);
            return false;
        }
        const QJsonArray points = array[s].toArray();
        QVector<QPointF> stroke;
        stroke.reserve(points.size());
        for (int p = 0; p < points.size(); ++p) {
            const QJsonArray xy = points[p].toArray();
            if (xy.size() != 2 || !xy[0].isDouble() || !xy[1].isDouble()) {
                *error = QStringLiteral("point %1 of stroke %2 is not a pair of numbers")
                             .arg(p + 1)
                             .arg(s + 1);
                return false;
            }
            stroke.append(QPointF(xy[0].toDouble(), xy[1].toDouble()));
        }
        strokes.append(stroke);
    }
    return true;
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

} // namespace

bool parseSampleLine(const QByteArray &line, Sample &sample, QString *error)
{
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(line, &parseError);
    if (doc.isNull()) {
        *error = QStringLiteral("not JSON (%1 at column %2)")
                     .arg(parseError.errorString())
                     .arg(parseError.offset + 1);
        return false;
    }
    const QJsonObject object = doc.object();
    if (!doc.isObject() || !object.value("strokes").isArray()) {
        *error = QStringLiteral("not a scribble: no \"strokes\" list");
        return false;
    }
    sample.strokes.clear();
    if (!parseStrokes(object.value("strokes").toArray(), sample.strokes, error))
        return false;
    sample.label = object.value("label").toString();
    sample.user = object.value("user").toString();
    sample.speed = object.value("speed").toString();
    return true;
}

bool looksLikeJsonLines(const QByteArray &data)
{
    int i = 0;
    while (i < data.size() && isBlank(data[i]))
        ++i;
    if (i == data.size() || data[i] != '{')
        return false;
    ++i;
    while (i < data.size() && isBlank(data[i]))
        ++i;
    return i < data.size() && (data[i] == '"' || data[i] == '}');
}
