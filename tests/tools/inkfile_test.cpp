// The pad's ink files: damaged files are refused with the offset of the fault before
// CScribble::readFrom sees them; saving round-trips through real files.
#include "inkbytes.h"
#include "inkfile.h"
#include "support/printers.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(InkFile, ChecksCountsAgainstTheSize)
{
    struct Case
    {
        const char *what;
        QByteArray data;
        const char *fault; // empty when well-formed
    };
    const Case cases[] = {
        { "empty file", QByteArray(), "0: too short for a stroke count" },
        { "no strokes", int32s({ 0 }), "" },
        { "one stroke of two points", int32s({ 1, 2, 10, 20, 30, 40 }), "" },
        { "an empty stroke", int32s({ 2, 0, 1, 5, 6 }), "" },
        { "negative stroke count", int32s({ -1 }), "0: negative stroke count -1" },
        { "stroke count past the size", int32s({ 2147483647, 0 }),
            "0: stroke count 2147483647 does not fit in 8 bytes" },
        { "negative point count", int32s({ 1, -5 }), "4: negative point count -5" },
        { "lying point count", int32s({ 1, 100000000, 1, 2 }),
            "4: point count 100000000 does not fit in the 8 bytes left" },
        { "truncated point", int32s({ 1, 2, 10, 20, 30 }),
            "4: point count 2 does not fit in the 12 bytes left" },
        { "second stroke missing", int32s({ 2, 1, 1, 1 }) + QByteArray(3, 'x'),
            "16: stroke 2 of 2 is missing" },
        { "trailing bytes", int32s({ 1, 1, 1, 1 }) + QByteArray("zz", 2), "16: 2 trailing bytes" },
        { "not ink at all", QByteArray("<?xml version=\"1.0\"?><svg/>"),
            "0: stroke count 1836597052 does not fit in 27 bytes" },
    };
    for (const Case &c : cases)
        EXPECT_EQ(checkInk(c.data), QString::fromLatin1(c.fault)) << c.what;
}

TEST(InkFile, SaveAndLoadRoundTripRoundedPoints)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("drawing.ink");
    const Strokes strokes { { { 1.4, 2.6 }, { -3.5, 7.0 } }, {}, { { 100000, -100000 } } };
    QString error;
    ASSERT_TRUE(saveInk(path, strokes, &error)) << error.toStdString();
    Strokes back;
    ASSERT_TRUE(loadInk(path, back, &error)) << error.toStdString();
    const Strokes expected { { { 1, 3 }, { -4, 7 } }, {}, { { 100000, -100000 } } };
    EXPECT_EQ(back, expected);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), int32s({ 3, 2, 1, 3, -4, 7, 0, 1, 100000, -100000 }));
}

TEST(InkFile, BadFilesAreReportedWithTheirNameAndLeaveTheResultAlone)
{
    QTemporaryDir dir;
    const QString bad = dir.filePath("bad.ink");
    QFile file(bad);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(int32s({ 1, 50 }));
    file.close();

    Strokes strokes { { { 1, 1 } } };
    QString error;
    EXPECT_FALSE(loadInk(bad, strokes, &error));
    EXPECT_EQ(error, bad + ": 4: point count 50 does not fit in the 0 bytes left");
    EXPECT_FALSE(loadInk(dir.filePath("missing.ink"), strokes, &error));
    EXPECT_TRUE(error.startsWith(dir.filePath("missing.ink") + ": ")) << error.toStdString();
    EXPECT_EQ(strokes.size(), 1);

    // A file that cannot be written is an error, not a silent loss.
    EXPECT_FALSE(saveInk(dir.filePath("no/such/folder/x.ink"), strokes, &error));
}
