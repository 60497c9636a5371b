// Helpers shared by the ink tests.
#ifndef LIBUTILITY_TESTS_INK_INKTEST_H
#define LIBUTILITY_TESTS_INK_INKTEST_H

#include "support/printers.h"

#include "support/logcapture.h"

#include <libutility/ink/binaryread.h>
#include <libutility/ink/nrect.h>

#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <sstream>
#include <string>

namespace inktest {

inline std::string bytes(std::initializer_list<int> values)
{
    std::string s;
    for (int v : values)
        s.push_back(static_cast<char>(v));
    return s;
}

// The values one after the other in the ink stream form.
template <class... T> std::string written(const T &...values)
{
    std::ostringstream out;
    (binaryWrite(out, values), ...);
    return out.str();
}

// Replaces the object (a stroke, a scribble) with what it reads from data.
template <class T> void readInto(T &object, const std::string &data)
{
    std::istringstream in(data);
    object.readFrom(in);
}

// left(), top(), right(), bottom(): right and bottom are the exclusive edges.
using Edges = std::array<int, 4>;
inline Edges edgesOf(const CNRect &r) { return { r.left(), r.top(), r.right(), r.bottom() }; }

// Collects the trace lines written while it lives, at the TRACE level, without their
// line numbers: "file Enter name".
struct TraceCapture : LogCapture<>
{
    TraceCapture()
        : LogCapture<>(QStringLiteral("TRACE"), [](const QByteArray &line) {
            const QList<QByteArray> parts = line.split('\t');
            return QString::fromLatin1(parts.value(0) + ' ' + parts.value(2));
        })
    { }
};

} // namespace inktest

#endif
