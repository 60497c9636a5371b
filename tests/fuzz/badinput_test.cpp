// Bad input across the library's readers, with the results the library promises for it
// (the fuzz targets only check that nothing breaks; these pin what comes out).
#include "support/printers.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#ifdef LIBUTILITY_FUZZ_HAVE_variant_xml
#include <libutility/variant/variantutil.h>
#endif
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

#ifdef LIBUTILITY_FUZZ_HAVE_variant_xml
QString nested(int depth)
{
    return QStringLiteral("<value><array><data>").repeated(depth)
        + QStringLiteral("</data></array></value>").repeated(depth);
}

TEST(BadInputVariantXml, MalformedOrHostileTextReadsAsInvalidOrBoundedValue)
{
    const QString laughs = QStringLiteral("<!DOCTYPE v [<!ENTITY a \"aaaaaaaaaa\">"
                                          "<!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;\">"
                                          "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;\">"
                                          "<!ENTITY d \"&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;\">"
                                          "<!ENTITY e \"&d;&d;&d;&d;&d;&d;&d;&d;&d;&d;\">"
                                          "<!ENTITY f \"&e;&e;&e;&e;&e;&e;&e;&e;&e;&e;\">"
                                          "<!ENTITY g \"&f;&f;&f;&f;&f;&f;&f;&f;&f;&f;\">]>"
                                          "<value>&g;</value>");
    const struct
    {
        const char *what;
        QString fragment;
        QVariant::Type type; // Invalid: the whole value is refused
    } cases[] = {
        { "empty text", QString(), QVariant::Invalid },
        { "unclosed element", QStringLiteral("&lt;value&gt;&lt;int&gt;1"), QVariant::Invalid },
        { "two roots", QStringLiteral("<value/><value/>"), QVariant::Invalid },
        { "unknown type tag", QStringLiteral("<value><float>1</float></value>"),
            QVariant::Invalid },
        { "nesting at the limit", nested(CVariantUtil::MAX_NESTING_DEPTH - 1), QVariant::List },
        { "nesting past the limit", nested(CVariantUtil::MAX_NESTING_DEPTH + 1),
            QVariant::Invalid },
        { "very deep nesting", nested(100000), QVariant::Invalid },
        { "entity expansion bomb", laughs, QVariant::Invalid },
        { "unparsable int", QStringLiteral("<value><int>4x2</int></value>"), QVariant::Int },
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(CVariantUtil::variantFromXMLFragment(c.fragment).type(), c.type);
    }
}
#endif

#ifdef LIBUTILITY_FUZZ_HAVE_image_loader
TEST(BadInputImageLoader, RefusesBrokenAndOversizedImagesWithAMessage)
{
    const QByteArray png = readCorpus("image_loader", "rgb_4x3.png");
    ASSERT_FALSE(png.isEmpty());
    const struct
    {
        const char *what;
        QByteArray data;
        const char *reason; // when set, the message must name it
    } cases[] = {
        { "no bytes", QByteArray(), nullptr },
        { "PNG signature only", png.left(8), nullptr },
        { "PNG cut in the pixel data", png.left(png.size() - 20), nullptr },
        { "100000 x 100000 declared", readCorpus("image_loader", "huge_declared.png"), nullptr },
        { "SVG without an end", QByteArray("<svg xmlns='http://www.w3.org/2000/svg'><rect"),
            nullptr },
        { "gzip of nothing", QByteArray::fromHex("1f8b0800000000000003030000000000000000"),
            nullptr },
        { "placeable WMF key alone", QByteArray::fromHex("d7cdc69a"), nullptr },
        // An 80-byte metafile whose header declares 3.6 GB records: refused before the
        // metafile reader allocates its record buffer (found by fuzz_image_loader).
        { "WMF record size beyond the file",
            readCorpus("image_loader", "regressions/wmf-max-record-size-allocates-gigabytes.wmf"),
            "record size" },
        { "text", QByteArray("not an image at all"), nullptr },
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
TEST(BadInputUnzip, HostileArchivesAreRefusedAndNothingLeavesTheTarget)
{
    QTemporaryDir work;
    ASSERT_TRUE(work.isValid());
    const struct
    {
        const char *what;
        QByteArray data;
        bool opens;
        bool extracts;
    } cases[] = {
        { "empty file", QByteArray(), false, false },
        { "zeros", QByteArray(64, '\0'), false, false },
        { "end record of an empty archive", readCorpus("unzip", "empty_archive"), true, true },
        { "archive cut in half",
            readCorpus("unzip", "zip_program").left(readCorpus("unzip", "zip_program").size() / 2),
            false, false },
        { "entry climbing out", readCorpus("unzip", "traversal"), true, false },
        { "symbolic link entry", readCorpus("unzip", "symlink_then_file"), true, false },
        { "16 MiB of zeros over a 1 MiB cap", readCorpus("unzip", "bomb"), true, false },
        { "encrypted, no password", readCorpus("unzip", "zip_program_encrypted"), true, false },
    };
    int row = 0;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const QString base = work.path() + QStringLiteral("/%1").arg(row++);
        ASSERT_TRUE(QDir().mkpath(base));
        QFile file(base + QStringLiteral("/in.zip"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(c.data);
        file.close();
        UnzipFile archive;
        archive.setExtractLimit(1024 * 1024);
        ASSERT_EQ(archive.open(file.fileName()), c.opens);
        if (!c.opens)
            continue;
        EXPECT_EQ(archive.extractAll(base + QStringLiteral("/out")), c.extracts);
        if (!c.extracts) {
            EXPECT_FALSE(archive.errorString().isEmpty());
        }
        QStringList left
            = QDir(base).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
        left.removeOne(QStringLiteral("out"));
        EXPECT_EQ(left, QStringList { QStringLiteral("in.zip") });
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
