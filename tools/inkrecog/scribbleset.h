// Labelled scribble sets: one JSON object per line,
//   {"label": ..., "user": ..., "speed": ..., "strokes": [[[x, y], ...], ...]}
#ifndef INKRECOG_SCRIBBLESET_H
#define INKRECOG_SCRIBBLESET_H

#include <QPointF>
#include <QString>
#include <QVector>

struct Sample
{
    QString label;
    QString user;
    QString speed;
    QVector<QVector<QPointF>> strokes;
};

// Appends the samples of the file at path to samples. False, with a message naming the
// file and line in *error, when the file cannot be read or a line is not a sample.
bool loadSamples(const QString &path, QVector<Sample> &samples, QString *error);

#endif
