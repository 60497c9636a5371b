// Bad input across the library's readers, with the results the library promises for it
// (the fuzz targets only check that nothing breaks; these pin what comes out).
#include "support/printers.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#ifdef LIBUTILITY_FUZZ_HAVE_image_loader
#include <libutility/imaging/imageloader.h>
#endif
#ifdef LIBUTILITY_FUZZ_HAVE_unzip
#include <libutility/archive/ziputil.h>
#endif
#ifdef LIBUTILITY_FUZZ_HAVE_file_handler
#include <libutility/files/filehandler.h>
#endif

namespace {

QByteArray readCorpus(const char *target, const char *name)
{
    QFile file(QStringLiteral(LIBUTILITY_FUZZ_CORPUS_DIR "/%1/%2").arg(target, name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

#ifdef LIBUTILITY_FUZZ_HAVE_image_loader
TEST(BadInputImageLoader, RefusesBrokenAndOversizedImagesWithAMessage)
{
    // Truncated, empty, oversized and textual files are covered in the imaging suite.
    const QByteArray png = readCorpus("image_loader", "rgb_4x3.png");
    ASSERT_FALSE(png.isEmpty());
    const struct
    {
        const char *what;
        QByteArray data;
        const char *reason; // when set, the message must name it
    } cases[] = {
        { "PNG signature only", png.left(8), nullptr },
        { "SVG without an end", QByteArray("<svg xmlns='http://www.w3.org/2000/svg'><rect"),
            nullptr },
        { "gzip of nothing", QByteArray::fromHex("1f8b0800000000000003030000000000000000"),
            nullptr },
        // An 80-byte metafile whose header declares 3.6 GB records: refused before the
        // metafile reader allocates its record buffer (found by fuzz_image_loader).
        { "WMF record size beyond the file",
            readCorpus("image_loader", "regressions/wmf-max-record-size-allocates-gigabytes.wmf"),
            "record size" },
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        CImageLoader loader;
        QImage image(1, 1, QImage::Format_ARGB32);
        EXPECT_FALSE(loader.loadData(c.data, image, QSize(), QStringLiteral("sample")));
        EXPECT_TRUE(image.isNull());
        EXPECT_TRUE(loader.errorString().contains(QLatin1String("sample")))
            << loader.errorString().toStdString();
        if (c.reason) {
            EXPECT_TRUE(loader.errorString().contains(QLatin1String(c.reason)))
                << loader.errorString().toStdString();
        }
    }
}
#endif

#ifdef LIBUTILITY_FUZZ_HAVE_unzip
// Hostile entries, junk and empty archives are covered in the archive suite; here, an
// archive cut short and inputs that are all zeros.
TEST(BadInputUnzip, DamagedArchivesDoNotOpen)
{
    QTemporaryDir work;
    const QByteArray whole = readCorpus("unzip", "zip_program");
    ASSERT_FALSE(whole.isEmpty());
    for (const QByteArray &data :
        { QByteArray(), QByteArray(64, '\0'), whole.left(whole.size() / 2) }) {
        QFile file(work.filePath(QStringLiteral("in.zip")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(data) == data.size());
        file.close();
        EXPECT_FALSE(UnzipFile(file.fileName()).isOpen()) << data.size();
    }
}
#endif

#ifdef LIBUTILITY_FUZZ_HAVE_file_handler
TEST(BadInputFileHandler, MalformedFiltersAndNamesFindNothing)
{
    QVector<CFileHandler *> list { new CFileHandlerSingle(QStringLiteral("PNG image"),
        QStringLiteral(".png"), makeFileFunctor([](const QString &) { return true; }), nullptr) };
    const char *filters[] = { "", "(", ")", ")(", "()", "(*)", "((((" };
    for (const char *filter : filters) {
        SCOPED_TRACE(filter);
        EXPECT_EQ(CFileHandler::getHandlerForFilter(list, QString::fromLatin1(filter)), nullptr);
    }
    const char *files[] = { "", ".", "png", "a.", "a.png.", "a.png/" };
    for (const char *file : files) {
        SCOPED_TRACE(file);
        EXPECT_EQ(CFileHandler::getHandlerForFile(list, QString::fromLatin1(file)), nullptr);
    }
    CFileHandler::destroy(list);
}
#endif

} // namespace
