// Scribbles as inkrecog handles them, and their JSON-lines form: one JSON object per
// line,
//   {"label": ..., "user": ..., "speed": ..., "strokes": [[[x, y], ...], ...]}
// where only "strokes" is required. Blank lines are skipped.
#ifndef INKRECOG_SCRIBBLESET_H
#define INKRECOG_SCRIBBLESET_H

#include <QPointF>
#include <QString>
#include <QVector>

struct Sample
{
    // Where the scribble came from: "file.ink" or "file.jsonl:12" (line number).
    QString source;
    // The name used for pictures written per scribble: the file's base name, with the
    // line number for JSON lines ("set-12").
    QString name;
    // From JSON input; for an ink file its base name ("triangle.ink" is a "triangle"),
    // so that --summary can score files named after the figure they hold.
    QString label;
    QString user;
    QString speed;
    // True for a scribble read from an ink file (its label is only derived from the name).
    bool fromInk = false;
    QVector<QVector<QPointF>> strokes;
};

// Parses one JSON line into sample's label, user, speed and strokes. False, with the
// reason in *error, when the line is not such an object (coordinates must be numbers,
// points pairs of them).
bool parseSampleLine(const QByteArray &line, Sample &sample, QString *error);

// Whether data (the first bytes of an input) looks like JSON lines rather than ink: its
// first non-blank byte is '{' and the next non-blank byte is '"' or '}'. An ink file
// starting with those bytes would announce at least 8827 strokes; --format overrides.
bool looksLikeJsonLines(const QByteArray &data);

#endif
