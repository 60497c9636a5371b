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
#include <QtEndian>

#include <gtest/gtest.h>
#include <zlib.h>

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
            if (qAbs(qRed(a) - qRed(b)) > 8 || qAbs(qGreen(a) - qGreen(b)) > 8
                || qAbs(qBlue(a) - qBlue(b)) > 8 || qAbs(qAlpha(a) - qAlpha(b)) > 8)
                ++differing;
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

QByteArray pngChunk(const char *type, const QByteArray &payload)
{
    QByteArray chunk(4, '\0');
    qToBigEndian<quint32>(quint32(payload.size()), chunk.data());
    const QByteArray body = QByteArray(type, 4) + payload;
    QByteArray crc(4, '\0');
    qToBigEndian<quint32>(quint32(crc32(0, reinterpret_cast<const Bytef *>(body.constData()),
                                        uInt(body.size()))),
                          crc.data());
    return chunk + body + crc;
}

// A PNG whose header declares the given size, with a valid header checksum.
QByteArray pngDeclaring(quint32 width, quint32 height)
{
    QByteArray ihdr(13, '\0');
    qToBigEndian<quint32>(width, ihdr.data());
    qToBigEndian<quint32>(height, ihdr.data() + 4);
    ihdr[8] = 8; // bit depth
    ihdr[9] = 6; // RGBA
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + pngChunk("IHDR", ihdr)
        + pngChunk("IDAT", QByteArray(16, '\0'));
}

// A small placeable metafile made here, record by record: a 2 x 1 inch picture
// (2000 x 1000 units at 1000 units per inch) holding a red rectangle with a margin.
QByteArray makeWmf()
{
    QByteArray records;
    QDataStream out(&records, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    auto record = [&out](quint16 function, std::initializer_list<quint16> params) {
        out << quint32(3 + params.size()) << function;
        for (quint16 p : params)
            out << p;
    };
    record(0x020B, { 0, 0 });                  // SETWINDOWORG y, x
    record(0x020C, { 1000, 2000 });            // SETWINDOWEXT y, x
    record(0x02FC, { 0, 0x00FF, 0x0000, 0 });  // CREATEBRUSHINDIRECT solid red
    record(0x012D, { 0 });                     // SELECTOBJECT 0
    record(0x041B, { 900, 1900, 100, 100 });   // RECTANGLE bottom, right, top, left
    record(0x0000, {});                        // EOF

    QByteArray file;
    QDataStream head(&file, QIODevice::WriteOnly);
    head.setByteOrder(QDataStream::LittleEndian);
    const quint16 placeable[10] = { 0xCDD7, 0x9AC6, 0, 0, 0, 2000, 1000, 1000, 0, 0 };
    quint16 checksum = 0;
    for (quint16 w : placeable) {
        head << w;
        checksum ^= w;
    }
    head << checksum;
    head << quint16(1) << quint16(9) << quint16(0x0300) << quint32(9 + records.size() / 2)
         << quint16(1) << quint32(7) << quint16(0);
    return file + records;
}

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &data)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(data);
    return path;
}

bool isRed(QRgb p)
{
    return qRed(p) > 200 && qGreen(p) < 60 && qBlue(p) < 60 && qAlpha(p) > 200;
}

} // namespace

TEST(Golden, SwatchesIconsAndCursors)
{
    CSwatchStyle rounded;
    rounded.cornerRadius = 5;
    expectMatchesGolden(CColourSwatch::image(QColor(0, 128, 0, 100), QSize(24, 16), rounded),
                        QStringLiteral("swatch-translucent-rounded"));
    expectMatchesGolden(CColourSwatch::image(QColor(), QSize(16, 16)),
                        QStringLiteral("swatch-no-colour"));
    const QVector<CIconOverlay> overlays { CIconOverlay::colourBar(Qt::red),
                                           CIconOverlay::badge(sampleBase(), Qt::TopRightCorner) };
    for (int size : { 16, 32 })
        expectMatchesGolden(CIconFactory::composePixmap(sampleBase(), overlays, size).toImage(),
                            QStringLiteral("icon-%1").arg(size));
    expectMatchesGolden(CCursorFactory::penPixmap(12, Qt::blue).toImage(),
                        QStringLiteral("cursor-pen-12"));
}

TEST(ColourSwatch, CheckerboardOnlyBehindTranslucentColours)
{
    CSwatchStyle plain;
    plain.border = QColor();
    plain.checkerSize = 4;
    const QImage clear = CColourSwatch::image(QColor(255, 0, 0, 0), QSize(16, 16), plain);
    EXPECT_EQ(clear.pixelColor(1, 1), CColourSwatch::checkerLight());
    EXPECT_EQ(clear.pixelColor(5, 1), CColourSwatch::checkerDark());
    EXPECT_EQ(clear.pixelColor(1, 5), CColourSwatch::checkerDark());
    EXPECT_EQ(clear.pixelColor(5, 5), CColourSwatch::checkerLight());

    const QImage opaque = CColourSwatch::image(QColor(10, 20, 30), QSize(16, 16), plain);
    EXPECT_EQ(opaque.pixelColor(5, 1), QColor(10, 20, 30));

    CSwatchStyle bordered;
    bordered.border = Qt::black;
    const QImage framed = CColourSwatch::image(Qt::white, QSize(16, 16), bordered, 2.0);
    EXPECT_EQ(framed.size(), QSize(32, 32));
    EXPECT_EQ(framed.devicePixelRatio(), 2.0);
    EXPECT_EQ(framed.pixelColor(0, 16), QColor(Qt::black));
    EXPECT_EQ(framed.pixelColor(16, 16), QColor(Qt::white));

    CSwatchStyle round;
    round.cornerRadius = 6;
    EXPECT_EQ(qAlpha(CColourSwatch::image(Qt::blue, QSize(16, 16), round).pixel(0, 0)), 0);
    EXPECT_TRUE(CColourSwatch::image(Qt::blue, QSize(0, 16)).isNull());
}

TEST(IconFactory, EverySizeAndModeWithTheirLooks)
{
    const QIcon icon = CIconFactory::composeIcon(sampleBase(), { CIconOverlay::text("3") });
    for (QIcon::Mode mode : { QIcon::Normal, QIcon::Disabled, QIcon::Active, QIcon::Selected }) {
        QList<int> sides;
        for (const QSize &size : icon.availableSizes(mode))
            sides << size.width();
        EXPECT_EQ(sides, CIconFactory::standardSizes()) << "mode " << mode;
    }

    const QImage normal = CIconFactory::composePixmap(sampleBase(), {}, 32).toImage();
    const QImage disabled
        = CIconFactory::composePixmap(sampleBase(), {}, 32, 1.0, QIcon::Disabled).toImage();
    const QImage active
        = CIconFactory::composePixmap(sampleBase(), {}, 32, 1.0, QIcon::Active).toImage();
    const QRgb n = normal.pixel(16, 16), dis = disabled.pixel(16, 16), act = active.pixel(16, 16);
    EXPECT_EQ(qRed(dis), qGreen(dis));
    EXPECT_EQ(qGreen(dis), qBlue(dis));
    EXPECT_LT(qAlpha(dis), qAlpha(n));
    EXPECT_GT(qRed(act) + qGreen(act) + qBlue(act), qRed(n) + qGreen(n) + qBlue(n));

    const QImage labelled
        = CIconFactory::composePixmap(sampleBase(), { CIconOverlay::text("8", Qt::black) }, 32)
              .toImage();
    int changed = 0;
    for (int y = 16; y < 32; ++y)
        for (int x = 16; x < 32; ++x)
            changed += labelled.pixel(x, y) != normal.pixel(x, y);
    EXPECT_GT(changed, 10) << "the label is drawn bottom right";

    const QPixmap hidpi = CIconFactory::composePixmap(sampleBase(), {}, 24, 2.0);
    EXPECT_EQ(hidpi.size(), QSize(48, 48));
    EXPECT_EQ(hidpi.devicePixelRatio(), 2.0);
    EXPECT_TRUE(CIconFactory::composePixmap(sampleBase(), {}, 0).isNull());
}

TEST(CursorFactory, PenEraserAndHotspots)
{
    const QCursor pen = CCursorFactory::penCursor(20, Qt::red);
    EXPECT_EQ(pen.hotSpot(), QPoint(pen.pixmap().width() / 2, pen.pixmap().height() / 2));
    const QImage picture = pen.pixmap().toImage();
    bool white = false, black = false;
    for (int x = 0; x < picture.width(); ++x) {
        const QRgb p = picture.pixel(x, picture.height() / 2);
        white |= qAlpha(p) == 255 && qGray(p) > 230;
        black |= qAlpha(p) == 255 && qGray(p) < 25;
    }
    EXPECT_TRUE(white && black) << "visible on light and dark backgrounds";
    EXPECT_EQ(CCursorFactory::penPixmap(1, Qt::red).width(), 9);
    EXPECT_LE(CCursorFactory::penPixmap(100000, Qt::red).width(), CCursorFactory::cMaxCursorSize + 5);
    EXPECT_EQ(CCursorFactory::eraserPixmap(16).size(), QSize(18, 18));

    const QCursor clamped = CCursorFactory::fromPixmap(sampleBase(), QPoint(100, -3));
    EXPECT_EQ(clamped.hotSpot(), QPoint(31, 0));
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
        "height=\"50\" viewBox=\"0 0 100 50\"><rect width=\"100\" height=\"50\" fill=\"red\"/></svg>");
    const QString wmf = writeFile(dir, "metafile.img", makeWmf());

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
    };
    CImageLoader loader;
    for (const Case &c : cases) {
        QFile file(c.path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(CImageLoader::detectFormat(file.readAll()), c.format) << c.path.toStdString();
        QImage image;
        ASSERT_TRUE(loader.load(c.path, image, c.requested)) << loader.errorString().toStdString();
        EXPECT_EQ(image.size(), c.expected) << c.path.toStdString();
        EXPECT_TRUE(isRed(image.pixel(image.width() / 2, image.height() / 2))) << c.path.toStdString();
    }
}

TEST(ImageLoader, RefusesBadAndHostileFiles)
{
    QTemporaryDir dir;
    QImage source(64, 64, QImage::Format_RGB32);
    source.fill(Qt::green);
    QByteArray png;
    {
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        source.save(&buffer, "PNG");
    }
    // A bitmap header declaring 1,000,000 x 1,000,000 pixels, 24 bits each.
    QByteArray bmp;
    {
        QDataStream out(&bmp, QIODevice::WriteOnly);
        out.setByteOrder(QDataStream::LittleEndian);
        out << quint8('B') << quint8('M') << quint32(54) << quint32(0) << quint32(54) << quint32(40)
            << qint32(1000000) << qint32(1000000) << quint16(1) << quint16(24) << quint32(0)
            << quint32(0) << quint32(0) << quint32(0) << quint32(0) << quint32(0);
    }

    struct Case
    {
        const char *name;
        QByteArray data;
        const char *reason;
    } cases[] = {
        { "truncated.png", png.left(png.size() / 2), "cannot decode" },
        { "notes.txt", "just some text, not a picture", "not an image" },
        { "empty.png", QByteArray(), "empty file" },
        { "huge.png", pngDeclaring(100000, 100000), "exceeds the limit" },
        { "huge.bmp", bmp, "size" },
        { "huge.svg", "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"900000\" height=\"900000\"/>",
          "exceeds the limit" },
        { "broken.wmf", QByteArray("\xd7\xcd\xc6\x9a", 4) + QByteArray(30, '\x7f'), "metafile" },
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
    loader.setMaximumSize(QSize(32, 32));
    EXPECT_FALSE(loader.loadData(png, image));
    EXPECT_TRUE(loader.loadData(png, image, QSize(16, 16)) == false)
        << "the natural size is checked before scaling";
}
