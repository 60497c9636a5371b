// Reading and writing .ink files: the stream CScribble::readFrom reads and
// CScribble::writeTo writes (int32 stroke count, then per stroke an int32 point count
// and the points as int32 x, y; little-endian).
//
// CScribble::readFrom trusts the counts it reads, so a damaged file could make it
// allocate without bound or read past the data. loadInk() therefore checks the whole
// file against its size first and hands only a well-formed stream to readFrom.
#ifndef SCRIBBLEPAD_INKFILE_H
#define SCRIBBLEPAD_INKFILE_H

#include <QByteArray>
#include <QPointF>
#include <QString>
#include <QVector>

using Strokes = QVector<QVector<QPointF>>;

// Empty when data is a well-formed ink stream, otherwise "byte offset: what is wrong"
// for the first fault found (negative or impossible counts, missing or trailing bytes).
QString checkInk(const QByteArray &data);

// Reads the file into strokes (device coordinates as doubles). False with a message
// in *error ("file: byte offset: what is wrong", or why it could not be opened).
bool loadInk(const QString &path, Strokes &strokes, QString *error);

// Writes the strokes, rounded to integer points, through a temporary file that replaces
// path only when everything was written. False with a message in *error.
bool saveInk(const QString &path, const Strokes &strokes, QString *error);

#endif
