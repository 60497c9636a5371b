#include <libutility/files/filehandler.h>
#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>

#include "support/logcapture.h"
#include "support/printers.h"

#include <gtest/gtest.h>

#include <memory>

using namespace basic_logging;

namespace {

QString trimmed(const QByteArray &line) { return QString::fromLatin1(line).trimmed(); }

// Images group (members PNG and JPEG) followed by a plain Text handler. The functors
// record "suffix:file" for each call and hold a share of `alive` until deleted.
struct Registry
{
    QStringList calls;
    std::shared_ptr<int> alive = std::make_shared<int>();
    QVector<CFileHandler *> list;
    CFileHandlerGroup *images = nullptr;

    explicit Registry(CFileHandler::EGroupListingMethod method = CFileHandler::eGroupAndMembers)
    {
        images = new CFileHandlerGroup(QStringLiteral("Images"), method, nullptr);
        images->addHandler(new CFileHandlerSingle("PNG image", ".png", record("png"), nullptr));
        images->m_handlers.append(
            new CFileHandlerSingle("JPEG image", ".jpg .jpeg", record("jpg"), nullptr));
        list << images << new CFileHandlerSingle("Text", ".txt", record("txt"), nullptr);
    }
    ~Registry() { CFileHandler::destroy(list); }
    IFunctorP1R<const QString &, bool> *record(const QString &tag, bool result = true)
    {
        return makeFileFunctor([this, tag, result, token = alive](const QString &file) {
            calls << tag + ':' + file;
            return result;
        });
    }
    CFileHandler *handler(const char *name) { return CFileHandler::getHandlerByName(list, name); }
};

} // namespace

TEST(FileHandlerFilter, BuildsEntriesExactly)
{
    // Two blanks keep an empty suffix, shown as a lone "*"; the trim takes the name's
    // leading blanks too.
    CFileHandlerSingle odd("  Any ", ".a  .b", nullptr, nullptr);
    EXPECT_EQ(odd.getFilter(), QString("Any  (*.a * *.b)"));
    EXPECT_EQ(odd.getSuffixes(), QStringList({ ".a", "", ".b" }));
    EXPECT_EQ(odd.getSuffix(), QString(".a.b"));
    EXPECT_FALSE(odd.exec("x.a")) << "no functor";
    EXPECT_EQ(CFileHandler::filtersToString({}), QString());
    EXPECT_EQ(CFileHandler::filtersToString(Registry().list),
        QString("Images (*.png *.jpg *.jpeg);;PNG image (*.png);;JPEG image (*.jpg *.jpeg);;"
                "Text (*.txt)"));
    EXPECT_EQ(CFileHandler::filtersToString(Registry(CFileHandler::eGroupOnly).list),
        QString("Images (*.png *.jpg *.jpeg);;Text (*.txt)"));
}

TEST(FileHandlerLookup, FindsRunsAndWarnsWordForWord)
{
    Registry r;
    CFileHandler *png = r.handler("png IMAGE");
    CFileHandler *jpeg = r.handler("JPEG image");
    ASSERT_NE(png, nullptr);
    EXPECT_EQ(r.handler("Images"), nullptr) << "a group's own name is not compared";
    EXPECT_EQ(CFileHandler::getHandlerForSuffix(r.list, "png"), nullptr) << "the dot belongs to it";
    const std::pair<const char *, CFileHandler *> cases[] = { { "IMAGE.PNG", png },
        { "a.tar.jpg", jpeg }, { "a.jpg.gz", nullptr }, { "trailing.", nullptr } };
    for (const auto &[file, expected] : cases)
        EXPECT_EQ(CFileHandler::getHandlerForFile(r.list, file), expected) << file;

    LogCapture<warnlevel> warnings(QStringLiteral("WARN"), trimmed);
    EXPECT_FALSE(CFileHandler::exec(r.list, "README"));
    EXPECT_EQ(CFileHandler::getHandlerForFilter(r.list, "Images (*.png *.jpg)"), png);
    EXPECT_EQ(CFileHandler::getHandlerForFilter(r.list, "Text (*.txt)"), r.handler("Text"));
    EXPECT_EQ(warnings.lines,
        QStringList({ "Cannot identify file extension from: README",
            "More than one filter present. There are actually: 2" }));

    EXPECT_TRUE(CFileHandler::exec(r.list, "/tmp/x.JPG"));
    EXPECT_FALSE(r.images->exec("z.txt")) << "the group asks its members only";
    EXPECT_TRUE(r.images->exec("png")) << "in a group a name without a dot is its own suffix";
    EXPECT_EQ(r.calls, QStringList({ "jpg:/tmp/x.JPG", "png:png" }));
    EXPECT_FALSE(CFileHandlerSingle("F", ".f", r.record("f", false), nullptr).exec("a.f"));
    EXPECT_EQ(r.alive.use_count(), 4) << "a handler deletes its functor";
    CFileHandler::destroy(r.list);
    EXPECT_TRUE(r.list.isEmpty());
    EXPECT_EQ(r.alive.use_count(), 1) << "a group deletes its members";
}
