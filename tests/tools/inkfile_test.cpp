// The pad's ink files: damaged files are refused with the offset of the fault before
// CScribble::readFrom sees them (the check itself is tested with inkrecog's tests);
// saving round-trips through real files.
#include "inkbytes.h"
#include "inkfile.h"
#include "support/printers.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(InkFile, SaveAndLoadRoundTripRoundedPointsAndBadFilesAreRefused)
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
    file.close();

    // Bad files are reported with their name and leave the result alone.
    const QString bad = dir.filePath("bad.ink");
    QFile badFile(bad);
    ASSERT_TRUE(badFile.open(QIODevice::WriteOnly));
    badFile.write(int32s({ 1, 50 }));
    badFile.close();
    back = { { { 1, 1 } } };
    EXPECT_FALSE(loadInk(bad, back, &error));
    EXPECT_EQ(error, bad + ": 4: point count 50 of stroke 1 of 1 needs 400 bytes, 0 left");
    EXPECT_FALSE(loadInk(dir.filePath("missing.ink"), back, &error));
    EXPECT_TRUE(error.startsWith(dir.filePath("missing.ink") + ": ")) << error.toStdString();
    EXPECT_EQ(back.size(), 1);

    // A file that cannot be written is an error, not a silent loss.
    EXPECT_FALSE(saveInk(dir.filePath("no/such/folder/x.ink"), strokes, &error));
}
