#include <libutility/files/filehandler.h>
#include <libutility/logging/logstream.h>
#include <libutility/logging/logsystem.h>

#include "support/logcapture.h"
#include "support/printers.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QTranslator>

#include <gtest/gtest.h>

#include <memory>

using namespace basic_logging;

namespace {

// Collects the lines of one log stream while alive.
template <class Level> struct Capture : LogCapture<Level>
{
    explicit Capture(const QString &level = QStringLiteral("WARN"))
        : LogCapture<Level>(
            level, [](const QByteArray &line) { return QString::fromLatin1(line).trimmed(); })
    { }
};

// Images group (members PNG and JPEG) followed by a plain Text handler. Each functor
// records the files it was called with and holds a share of `alive` until deleted.
struct Registry
{
    QStringList png, jpeg, text;
    std::shared_ptr<int> alive = std::make_shared<int>();
    QVector<CFileHandler *> list;
    CFileHandlerGroup *images = nullptr;

    explicit Registry(CFileHandler::EGroupListingMethod method = CFileHandler::eGroupAndMembers)
    {
        images = new CFileHandlerGroup(QStringLiteral("Images"), method, nullptr);
        images->addHandler(new CFileHandlerSingle("PNG image", ".png", record(&png), nullptr));
        images->m_handlers.append(
            new CFileHandlerSingle("JPEG image", ".jpg .jpeg", record(&jpeg), nullptr));
        list << images << new CFileHandlerSingle("Text", ".txt", record(&text), nullptr);
    }
    ~Registry() { CFileHandler::destroy(list); }
    IFunctorP1R<const QString &, bool> *record(QStringList *files, bool result = true)
    {
        return makeFileFunctor([files, result, token = alive](const QString &file) {
            *files << file;
            return result;
        });
    }
    CFileHandler *handler(const char *name) { return CFileHandler::getHandlerByName(list, name); }
};

} // namespace

TEST(FileHandlerFilter, BuildsEntriesExactly)
{
    struct Case
    {
        const char *name;
        const char *suffixes;
        const char *filter;
        QStringList list;
    } cases[] = {
        { "PNG image", ".png", "PNG image (*.png)", { ".png" } },
        { "JPEG image", ".jpg .jpeg", "JPEG image (*.jpg *.jpeg)", { ".jpg", ".jpeg" } },
        // Two blanks keep an empty suffix, shown as a lone "*".
        { "Any", ".a  .b", "Any (*.a * *.b)", { ".a", "", ".b" } },
        { "  Padded  ", ".x", "Padded   (*.x)", { ".x" } },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        CFileHandlerSingle handler(c.name, c.suffixes, nullptr, nullptr);
        EXPECT_EQ(handler.getFilter(), QString(c.filter));
        EXPECT_EQ(handler.getSuffixes(), c.list);
        EXPECT_EQ(handler.getSuffix(), c.list.join(QString()));
        EXPECT_FALSE(handler.exec("x.png")) << "no functor";
    }

    EXPECT_EQ(CFileHandler::filtersToString({}), QString());
    Registry members;
    EXPECT_EQ(CFileHandler::filtersToString(members.list),
        QString("Images (*.png *.jpg *.jpeg);;PNG image (*.png);;JPEG image (*.jpg *.jpeg);;"
                "Text (*.txt)"));
    EXPECT_EQ(members.images->getSuffix(), QString());
    Registry only(CFileHandler::eGroupOnly);
    EXPECT_EQ(CFileHandler::filtersToString(only.list),
        QString("Images (*.png *.jpg *.jpeg);;Text (*.txt)"));
}

TEST(FileHandlerFilter, TranslatesNameInItsContext)
{
    struct Upper : QTranslator
    {
        QString translate(const char *context, const char *source, const char *, int) const override
        {
            return QString(context) == "Formats" ? QString(source).toUpper() : QString();
        }
    } translator;
    QCoreApplication::installTranslator(&translator);
    CFileHandlerSingle translated("Png image", ".png", nullptr, "Formats");
    CFileHandlerSingle plain("Png image", ".png", nullptr, nullptr);
    CFileHandlerGroup group("Pictures", CFileHandler::eGroupOnly, "Formats");
    group.addHandler(new CFileHandlerSingle("Gif", ".gif", nullptr, nullptr));
    EXPECT_EQ(translated.getFilter(), QString("PNG IMAGE (*.png)"));
    EXPECT_EQ(plain.getFilter(), QString("Png image (*.png)"));
    EXPECT_EQ(group.getFilter(), QString("PICTURES (*.gif)"));
    QCoreApplication::removeTranslator(&translator);
}

TEST(FileHandlerLookup, FindsBySuffixNameFileAndFilterAndWarnsWordForWord)
{
    Registry r;
    CFileHandler *png = r.handler("png IMAGE");
    CFileHandler *jpeg = r.handler("JPEG image");
    ASSERT_NE(png, nullptr);
    EXPECT_EQ(r.handler("Images"), nullptr) << "a group's own name is not compared";
    EXPECT_EQ(CFileHandler::getHandlerForSuffix(r.list, ".PNG"), png);
    EXPECT_EQ(CFileHandler::getHandlerForSuffix(r.list, "png"), nullptr) << "the dot belongs to it";

    struct Case
    {
        const char *file;
        CFileHandler *expected;
    } cases[] = { { "IMAGE.PNG", png }, { "photo.Jpeg", jpeg }, { "a.tar.jpg", jpeg },
        { "a.jpg.gz", nullptr }, { "trailing.", nullptr } };
    for (const Case &c : cases)
        EXPECT_EQ(CFileHandler::getHandlerForFile(r.list, c.file), c.expected) << c.file;

    Capture<warnlevel> warnings;
    EXPECT_EQ(CFileHandler::getHandlerForFile(r.list, "README"), nullptr);
    EXPECT_FALSE(CFileHandler::exec(r.list, "README"));
    EXPECT_EQ(
        CFileHandler::getHandlerForFilter(r.list, "Images (*.png *.jpg)"), r.handler("PNG image"));
    EXPECT_EQ(CFileHandler::getHandlerForFilter(r.list, "JPEG image (*.jpg *.jpeg)"),
        r.handler("JPEG image"));
    EXPECT_EQ(warnings.lines,
        QStringList({ "Cannot identify file extension from: README",
            "Cannot identify file extension from: README",
            "More than one filter present. There are actually: 2",
            "More than one filter present. There are actually: 2" }));
    warnings.lines.clear();
    EXPECT_EQ(CFileHandler::getHandlerForFilter(r.list, "Text (*.txt)"), r.handler("Text"));
    EXPECT_TRUE(warnings.lines.isEmpty());
}

TEST(FileHandlerExec, RunsTheMatchingFunctorAndOwnsIt)
{
    Registry r;
    EXPECT_TRUE(CFileHandler::exec(r.list, "/tmp/x.JPG"));
    EXPECT_TRUE(r.images->exec("y.png"));
    EXPECT_FALSE(r.images->exec("z.txt")) << "the group asks its members only";
    EXPECT_FALSE(CFileHandler::exec(r.list, "png"));
    EXPECT_TRUE(r.images->exec("png")) << "in a group a name without a dot is its own suffix";
    EXPECT_EQ(r.jpeg, QStringList("/tmp/x.JPG"));
    EXPECT_EQ(r.png, QStringList({ "y.png", "png" }));
    EXPECT_TRUE(r.text.isEmpty());
    {
        QStringList calls;
        CFileHandlerSingle failing("F", ".f", r.record(&calls, false), nullptr);
        EXPECT_FALSE(failing.exec("a.f"));
        EXPECT_EQ(r.alive.use_count(), 5);
    }
    EXPECT_EQ(r.alive.use_count(), 4) << "a handler deletes its functor";
    CFileHandler::destroy(r.list);
    EXPECT_TRUE(r.list.isEmpty());
    EXPECT_EQ(r.alive.use_count(), 1) << "a group deletes its members";
}

TEST(FileHandlerTrace, WritesEnterAndExitUnderFileName)
{
    Registry r;
    Capture<tracelevel> trace(QStringLiteral("TRACE"));
    CFileHandler::getHandlerForFile(r.list, "README");
    ASSERT_EQ(trace.lines.size(), 2);
    EXPECT_EQ(trace.lines[0].section('\t', 0, 0) + trace.lines[0].section('\t', 2),
        "filehandlerEnter getHandlerForFile");
    EXPECT_EQ(trace.lines[1].section('\t', 0, 0) + trace.lines[1].section('\t', 2),
        "filehandlerExit getHandlerForFile");
    EXPECT_NE(trace.lines[0].section('\t', 1, 1), trace.lines[1].section('\t', 1, 1))
        << "the exit line carries the line of the return taken";
}

// A real (non-native) file dialog takes our filter list and hands back entries that
// map to the right handlers.
TEST(FileHandlerDialog, AcceptsFilterStrings)
{
    Registry r;
    const QString filters = CFileHandler::filtersToString(r.list);
    QFileDialog dialog;
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setNameFilter(filters);
    EXPECT_EQ(dialog.nameFilters(), filters.split(";;"));
    const char *expected[] = { "PNG image", "PNG image", "JPEG image", "Text" };
    for (int i = 0; i < dialog.nameFilters().size(); ++i) {
        dialog.selectNameFilter(dialog.nameFilters().at(i));
        EXPECT_EQ(CFileHandler::getHandlerForFilter(r.list, dialog.selectedNameFilter()),
            r.handler(expected[i]))
            << i;
    }
}
