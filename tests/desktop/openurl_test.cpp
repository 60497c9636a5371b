// openURL with real programs on disk: scripts that record how they were started, and
// QDesktopServices URL handlers standing in for the desktop's default applications.
#include <libutility/desktop/openurl.h>
#include <libutility/desktop/windowmanagement.h>
#include <libutility/files/osutil.h>

#include "support/printers.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>
#include <QWidget>

#include <gtest/gtest.h>

// Xlib last: its macros (None, Bool, Status) clash with the headers above.
#include "desktop_test_support.h"

#include <memory>

using namespace desktoptest;

namespace {

// Stands in for the desktop's default applications of the schemes it is installed for.
class UrlRecorder : public QObject
{
    Q_OBJECT
public:
    UrlRecorder()
    {
        for (const char *scheme : { "http", "https", "file" })
            QDesktopServices::setUrlHandler(scheme, this, "open");
    }
    ~UrlRecorder() override
    {
        for (const char *scheme : { "http", "https", "file" })
            QDesktopServices::unsetUrlHandler(scheme);
    }
    QList<QUrl> opened;

public Q_SLOTS:
    void open(const QUrl &url) { opened << url; }
};

bool writeScript(const QString &path, const QString &marker)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write("#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" > '" + marker.toLocal8Bit() + "'\n");
    file.close();
    return file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner
        | QFileDevice::ExeOwner | QFileDevice::ReadGroup | QFileDevice::ExeGroup);
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

// Under X the fake window-manager name "KWin" makes a KDE session: then every input goes
// to the external opener instead.
TEST(OpenUrl, ChoosesBetweenWebLocalFileAndProgramOrHandsAllToTheKdeOpener)
{
    if (COsUtil::getDesktopEnvironment() == COsUtil::eKdeDesktop)
        GTEST_SKIP() << "a KDE session hands every URL to openurl_externalfile";
    QTemporaryDir dir;
    const QString root = dir.path(), marker = root + "/started", external = root + "/external";
    const QString script = root + "/with space/run me.sh", link = root + "/link to script";
    const QString plain = root + "/notes.txt";
    ASSERT_TRUE(QDir(root).mkpath("with space/sub dir") && QDir(root).mkpath("bin"));
    ASSERT_TRUE(writeScript(script, marker) && QFile::link(script, link)
        && writeScript(root + "/bin/openurl_externalfile", external)
        && QFile(plain).open(QIODevice::WriteOnly));
    const struct
    {
        const char *row;
        QString input;
        QUrl expected; // what the desktop is asked to open; empty: the program is started
    } cases[] = {
        { "http", "http://example.org/a?b=c", QUrl("http://example.org/a?b=c") },
        { "https", "https://example.org/a b", QUrl("https://example.org/a b") },
        { "capital HTTP is a local path", "HTTP://example.org/x",
            QUrl::fromLocalFile("HTTP://example.org/x") },
        { "file:// prefix", "file://" + plain, QUrl::fromLocalFile(plain) },
        { "every file:// removed", "file://" + root + "/file://notes.txt",
            QUrl::fromLocalFile(plain) },
        { "directory", root + "/with space/sub dir",
            QUrl::fromLocalFile(root + "/with space/sub dir") },
        { "symlink to a program", link, QUrl::fromLocalFile(link) },
        { "program with spaces in its path", script, QUrl() },
        { "file:// program", "file://" + script, QUrl() },
        { "relative program", "run me.sh", QUrl() },
    };
    const QString previousDir = QDir::currentPath();
    const QByteArray previousPath = qgetenv("PATH");
    QDir::setCurrent(root + "/with space");
    qputenv("PATH", QFile::encodeName(root + "/bin") + ':' + previousPath);
    for (const bool kde : { false, true }) {
        std::unique_ptr<FakeWindowManagerName> kwin;
        if (kde && haveX11())
            kwin = std::make_unique<FakeWindowManagerName>("KWin");
        EXPECT_EQ(COsUtil::getDesktopEnvironment() == COsUtil::eKdeDesktop, bool(kwin));
        for (const auto &c : cases) {
            if (kde && !kwin)
                break;
            SCOPED_TRACE(std::string(kde ? "KDE, " : "") + c.row + ": " + c.input.toStdString());
            QFile::remove(marker);
            QFile::remove(external);
            UrlRecorder recorder;
            openURL(c.input);
            if (kde) {
                EXPECT_TRUE(waitFor([&] { return !readAll(external).isEmpty(); }));
                EXPECT_EQ(readAll(external), "1\n" + c.input.toLocal8Bit() + "\n");
            } else if (c.expected.isEmpty()) {
                EXPECT_TRUE(waitFor([&] { return !readAll(marker).isEmpty(); })) << "not started";
                EXPECT_EQ(readAll(marker), QByteArray("0\n")) << "started with arguments";
                continue;
            }
            EXPECT_EQ(recorder.opened, kde ? QList<QUrl>() : QList<QUrl> { c.expected });
            if (c.input == link)
                spin(300); // give a wrongly started script time to leave its marker
            EXPECT_FALSE(QFile::exists(marker)) << "a program was started";
        }
    }
    qputenv("PATH", previousPath);
    QDir::setCurrent(previousDir);
    EXPECT_NE(COsUtil::getDesktopEnvironment(), COsUtil::eKdeDesktop);
}

// Without an X display (offscreen platform) window management does nothing and never
// crashes, and openURL takes the non-KDE road. Under X the test runs itself again in an
// offscreen child process.
TEST(DesktopWithoutDisplay, NothingIsRaisedAndWebAddressesStillOpen)
{
    if (haveX11()) {
        QString output;
        const QString name = QStringLiteral("DesktopWithoutDisplay.*");
        EXPECT_EQ(runOffscreenChild(name, &output), 0) << output.toStdString();
        EXPECT_TRUE(output.contains(QLatin1String("[  PASSED  ] 1 test"))) << output.toStdString();
        return;
    }
    QWidget parent;
    QWidget widget(&parent, Qt::Window);
    parent.show();
    widget.show();
    CWindowManagement keeper(&widget, 1, true, QString());
    spin(30);
    keeper.update_window();
    keeper.raiseQtWindowTop(widget.winId());

    EXPECT_EQ(COsUtil::getDesktopEnvironment(), COsUtil::eUnknownDesktop);
    UrlRecorder recorder;
    openURL(QStringLiteral("http://example.org/"));
    EXPECT_EQ(recorder.opened, QList<QUrl> { QUrl("http://example.org/") });
}

#include "openurl_test.moc"
