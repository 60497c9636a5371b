// The ink file tests build their inputs byte by byte with this.
#ifndef LIBUTILITY_TESTS_TOOLS_INKBYTES_H
#define LIBUTILITY_TESTS_TOOLS_INKBYTES_H

#include <QByteArray>
#include <QtEndian>

#include <initializer_list>

// The values as little-endian 32-bit integers, the unit of the ink file format.
inline QByteArray int32s(std::initializer_list<qint32> values)
{
    QByteArray bytes;
    for (qint32 v : values) {
        char le[4];
        qToLittleEndian(v, le);
        bytes.append(le, 4);
    }
    return bytes;
}

#endif
