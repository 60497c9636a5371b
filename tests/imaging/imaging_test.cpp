#include <libutility/imaging/colourswatch.h>
#include <libutility/imaging/cursorfactory.h>
#include <libutility/imaging/iconfactory.h>
#include <libutility/imaging/imageloader.h>

#include "support/printers.h"

#include <QBuffer>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Golden images live in tests/data/imaging/golden. After an intended change of the
// drawing, regenerate them with
//   LIBUTILITY_UPDATE_GOLDEN=1 build/tests/imaging/test_imaging --gtest_filter='Golden*'
// and look at the new PNGs before committing them.

namespace {

QString goldenPath(const QString &name)
{
    return QStringLiteral(LIBUTILITY_TEST_DATA_DIR "/golden/%1.png").arg(name);
}

// Compares with a small tolerance: anti-aliasing may differ by a few levels between
// rasteriser versions.
void expectMatchesGolden(const QImage &actual, const QString &name)
{
    const QImage image = actual.convertToFormat(QImage::Format_ARGB32);
    if (qEnvironmentVariableIsSet("LIBUTILITY_UPDATE_GOLDEN")) {
        QDir().mkpath(QFileInfo(goldenPath(name)).path());
        ASSERT_TRUE(image.save(goldenPath(name)));
        return;
    }
    QImage golden(goldenPath(name));
    ASSERT_FALSE(golden.isNull()) << "missing golden image " << name.toStdString();
    golden = golden.convertToFormat(QImage::Format_ARGB32);
    ASSERT_EQ(golden.size(), image.size()) << name.toStdString();
    int differing = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb a = image.pixel(x, y), b = golden.pixel(x, y);
            differing += qAbs(qRed(a) - qRed(b)) > 8 || qAbs(qGreen(a) - qGreen(b)) > 8
                || qAbs(qBlue(a) - qBlue(b)) > 8 || qAbs(qAlpha(a) - qAlpha(b)) > 8;
        }
    }
    EXPECT_LE(differing, image.width() * image.height() / 100) << name.toStdString();
}

QPixmap sampleBase()
{
    QImage base(32, 32, QImage::Format_ARGB32_Premultiplied);
    base.fill(Qt::transparent);
    QPainter painter(&base);
    painter.fillRect(4, 4, 24, 24, QColor(30, 90, 200));
    painter.end();
    return QPixmap::fromImage(base);
}

// A small metafile made here, record by record: a 2 x 1 inch picture (2000 x 1000 units
// at 1000 units per inch) holding a red rectangle with a margin; placeable (with the
// 22-byte header that gives its size) or plain.
QByteArray makeWmf(bool placeable = true)
{
    QByteArray records;
    QDataStream out(&records, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    auto record = [&out](quint16 function, std::initializer_list<quint16> params) {
        out << quint32(3 + params.size()) << function;
        for (quint16 p : params)
            out << p;
    };
    record(0x020B, { 0, 0 }); // SETWINDOWORG y, x
    record(0x020C, { 1000, 2000 }); // SETWINDOWEXT y, x
    record(0x02FC, { 0, 0x00FF, 0x0000, 0 }); // CREATEBRUSHINDIRECT solid red
    record(0x012D, { 0 }); // SELECTOBJECT 0
    record(0x041B, { 900, 1900, 100, 100 }); // RECTANGLE bottom, right, top, left
    record(0x0000, {}); // EOF

    QByteArray file;
    QDataStream head(&file, QIODevice::WriteOnly);
    head.setByteOrder(QDataStream::LittleEndian);
    const quint16 header[10] = { 0xCDD7, 0x9AC6, 0, 0, 0, 2000, 1000, 1000, 0, 0 };
    quint16 checksum = 0;
    for (quint16 w : header) {
        head << w;
        checksum ^= w;
    }
    head << checksum;
    head << quint16(1) << quint16(9) << quint16(0x0300) << quint32(9 + records.size() / 2)
         << quint16(1) << quint32(7) << quint16(0);
    return (placeable ? file : file.mid(22)) + records;
}

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &data)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(data);
    return path;
}

bool isRed(QRgb p) { return qRed(p) > 200 && qGreen(p) < 60 && qBlue(p) < 60 && qAlpha(p) > 200; }

} // namespace

// The modes are drawn over a white bar, where their colour changes are largest. The
// selected look depends on the palette's highlight: the suite runs offscreen.
TEST(Golden, SwatchesIconsAndCursors)
{
    CSwatchStyle rounded;
    rounded.cornerRadius = 5;
    const QVector<CIconOverlay> overlays { CIconOverlay::colourBar(Qt::red),
        CIconOverlay::badge(sampleBase(), Qt::TopRightCorner) };
    const auto icon = [](const QVector<CIconOverlay> &overlays, int size, QIcon::Mode mode) {
        return CIconFactory::composePixmap(sampleBase(), overlays, size, 1.0, mode).toImage();
    };
    const QVector<CIconOverlay> white { CIconOverlay::colourBar(Qt::white) };
    const struct
    {
        const char *name;
        QImage image;
    } cases[] = {
        { "swatch-translucent-rounded",
            CColourSwatch::image(QColor(0, 128, 0, 100), QSize(24, 16), rounded) },
        { "swatch-no-colour", CColourSwatch::image(QColor(), QSize(16, 16)) },
        { "icon-16", icon(overlays, 16, QIcon::Normal) },
        { "icon-22", icon(overlays, 22, QIcon::Normal) }, // scaled by an odd factor
        { "icon-32", icon(overlays, 32, QIcon::Normal) },
        { "icon-32-disabled", icon(white, 32, QIcon::Disabled) },
        { "icon-32-active", icon(white, 32, QIcon::Active) },
        { "icon-32-selected", icon(white, 32, QIcon::Selected) },
        { "cursor-pen-12", CCursorFactory::penPixmap(12, Qt::blue).toImage() },
        { "cursor-eraser-16", CCursorFactory::eraserPixmap(16).toImage() },
    };
    for (const auto &c : cases)
        expectMatchesGolden(c.image, QString::fromLatin1(c.name));
}

TEST(IconFactory, EverySizeAndModeAndTheLabelInItsCorner)
{
    const QIcon icon = CIconFactory::composeIcon(sampleBase(), { CIconOverlay::text("3") });
    for (QIcon::Mode mode : { QIcon::Normal, QIcon::Disabled, QIcon::Active, QIcon::Selected })
        EXPECT_EQ(icon.availableSizes(mode).size(), CIconFactory::standardSizes().size()) << mode;

    // The label sits bottom right, its fill a halo's width from the edges, and leaves the
    // painter as it found it: a badge drawn after it lands top left.
    const QImage normal = CIconFactory::composePixmap(sampleBase(), {}, 32).toImage();
    const QImage labelled = CIconFactory::composePixmap(sampleBase(),
        { CIconOverlay::text("8"), CIconOverlay::badge(sampleBase(), Qt::TopLeftCorner) }, 32)
                                .toImage();
    int changed = 0, darkAtEdge = 0;
    for (int y = 16; y < 32; ++y)
        for (int x = 16; x < 32; ++x)
            changed += labelled.pixel(x, y) != normal.pixel(x, y);
    for (int i = 0; i < 32; ++i) {
        for (const QRgb p : { labelled.pixel(i, 31), labelled.pixel(31, i) })
            darkAtEdge += qAlpha(p) > 128 && qGray(p) < 100;
    }
    EXPECT_GT(changed, 10);
    EXPECT_EQ(darkAtEdge, 0);
    EXPECT_EQ(qAlpha(labelled.pixel(3, 3)), 255);

    const QPixmap hidpi = CIconFactory::composePixmap(sampleBase(), {}, 24, 2.0);
    EXPECT_TRUE(hidpi.size() == QSize(48, 48) && hidpi.devicePixelRatio() == 2.0);
    EXPECT_EQ(CIconFactory::composePixmap(sampleBase(), {}, 1).size(), QSize(1, 1));
    EXPECT_TRUE(CIconFactory::composePixmap(sampleBase(), {}, 0).isNull());
    EXPECT_TRUE(CColourSwatch::image(Qt::blue, QSize(0, 16)).isNull());
}

TEST(CursorFactory, PenEraserAndHotspots)
{
    EXPECT_EQ(CCursorFactory::penPixmap(1, Qt::red).width(), 9);
    EXPECT_LE(
        CCursorFactory::penPixmap(100000, Qt::red).width(), CCursorFactory::cMaxCursorSize + 5);

    EXPECT_EQ(CCursorFactory::penCursor(20, Qt::red).hotSpot(), QPoint(12, 12));
    EXPECT_EQ(CCursorFactory::eraserCursor(16).hotSpot(), QPoint(9, 9));
    EXPECT_EQ(CCursorFactory::fromPixmap(sampleBase(), QPoint(100, -3)).hotSpot(), QPoint(31, 0));
    EXPECT_EQ(CCursorFactory::fromPixmap(QPixmap(), QPoint()).shape(), Qt::ArrowCursor);
}

TEST(ImageLoader, LoadsEachFormatFromContent)
{
    QTemporaryDir dir;
    QImage source(40, 20, QImage::Format_ARGB32);
    source.fill(Qt::red);
    const QString png = dir.filePath("picture.dat"); // suffix says nothing
    ASSERT_TRUE(source.save(png, "PNG"));
    const QString svg = writeFile(dir, "drawing.bin",
        "<?xml version=\"1.0\"?><svg xmlns=\"http://www.w3.org/2000/svg\" width=\"100\" "
        "height=\"50\" viewBox=\"0 0 100 50\"><rect width=\"100\" height=\"50\" "
        "fill=\"red\"/></svg>");
    const QString wmf = writeFile(dir, "metafile.img", makeWmf());
    const QString plainWmf = writeFile(dir, "plain.img", makeWmf(false));

    struct Case
    {
        QString path;
        CImageLoader::EFormat format;
        QSize requested, expected;
    } cases[] = {
        { png, CImageLoader::eRaster, QSize(), QSize(40, 20) },
        { png, CImageLoader::eRaster, QSize(10, 10), QSize(10, 5) },
        { svg, CImageLoader::eSvg, QSize(), QSize(100, 50) },
        { svg, CImageLoader::eSvg, QSize(40, 40), QSize(40, 20) },
        { svg, CImageLoader::eSvg, QSize(400, 400), QSize(400, 200) },
        { wmf, CImageLoader::eWmf, QSize(100, 100), QSize(100, 50) },
        // Without the placeable header the drawing's own bounds give the size.
        { plainWmf, CImageLoader::eWmf, QSize(100, 100), QSize(100, 44) },
    };
    CImageLoader loader;
    for (const Case &c : cases) {
        QFile file(c.path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(CImageLoader::detectFormat(file.readAll()), c.format) << c.path.toStdString();
        QImage image;
        ASSERT_TRUE(loader.load(c.path, image, c.requested)) << loader.errorString().toStdString();
        EXPECT_EQ(image.size(), c.expected) << c.path.toStdString();
        EXPECT_TRUE(isRed(image.pixel(image.width() / 2, image.height() / 2)))
            << c.path.toStdString();
    }
}

TEST(ImageLoader, RefusesBadAndHostileFiles)
{
    QTemporaryDir dir;
    QByteArray png;
    QBuffer buffer(&png);
    ASSERT_TRUE(buffer.open(QIODevice::WriteOnly) && sampleBase().save(&buffer, "PNG"));
    // A bitmap header declaring 1,000,000 x 1,000,000 pixels, 24 bits each: the reader
    // gives no size for it, and nothing is decoded.
    QByteArray bmp;
    QDataStream out(&bmp, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out << quint8('B') << quint8('M') << quint32(54) << quint32(0) << quint32(54) << quint32(40)
        << qint32(1000000) << qint32(1000000) << quint16(1) << quint16(24) << quint32(0)
        << quint32(0) << quint32(0) << quint32(0) << quint32(0) << quint32(0);
    // A 1 x 1 picture on a logical screen 1 pixel wide and 65535 high.
    const QByteArray gif(
        "GIF89a\x01\x00\xff\xff\x00\x00\x00\x2c\x00\x00\x00\x00\x01\x00\x01\x00\x80"
        "\xff\xff\xff\x00\x00\x00\x02\x02\x44\x01\x00\x3b",
        35);
    // A metafile whose header claims a record of 65535 words, more than the file holds.
    QByteArray wmfBomb = makeWmf() + QByteArray(600, '\0');
    wmfBomb[34] = wmfBomb[35] = '\xff';
    QByteArray notWmf = makeWmf(false); // a metafile header with the wrong header size
    notWmf[2] = 8;

    struct Case
    {
        const char *name;
        QByteArray data;
        const char *reason;
    } cases[] = {
        { "truncated.png", png.left(png.size() / 2), "cannot decode" },
        { "notes.txt", "just some text, not a picture", "not an image" },
        { "empty.png", QByteArray(), "empty file" },
        { "huge.bmp", bmp, "does not declare its size" },
        { "huge.gif", gif, "exceeds the limit" },
        { "huge.svg",
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"900000\" height=\"900000\"/>",
            "exceeds the limit" },
        { "broken.wmf", QByteArray("\xd7\xcd\xc6\x9a", 4) + QByteArray(30, '\x7f'), "metafile" },
        { "bomb.wmf", wmfBomb, "record size larger than the file" },
        { "almost.wmf", notWmf, "not an image" },
    };
    CImageLoader loader;
    for (const Case &c : cases) {
        const QString path = writeFile(dir, c.name, c.data);
        QImage image(1, 1, QImage::Format_RGB32);
        EXPECT_FALSE(loader.load(path, image)) << c.name;
        EXPECT_TRUE(image.isNull()) << c.name;
        EXPECT_TRUE(loader.errorString().startsWith(path)) << loader.errorString().toStdString();
        EXPECT_TRUE(loader.errorString().contains(c.reason)) << loader.errorString().toStdString();
    }
    QImage image;
    EXPECT_FALSE(loader.load(dir.filePath("missing.png"), image));
    EXPECT_TRUE(loader.errorString().contains("cannot open"));
    EXPECT_FALSE(loader.loadData(gif, image, QSize(1, 100)))
        << "the natural size (of a GIF, its screen) is checked before scaling";
    loader.setMaximumSize(QSize(32, 32));
    EXPECT_TRUE(loader.loadData(png, image)) << "a limit is inclusive";
    loader.setMaximumSize(QSize(16, 16));
    EXPECT_FALSE(loader.loadData(png, image));
}
