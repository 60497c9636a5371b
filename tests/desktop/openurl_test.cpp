// Deferred logic, and openURL with real programs on disk: a script that records how it
// was started, and QDesktopServices URL handlers standing in for the desktop's default
// applications.
#include <libutility/desktop/deferredlogic.h>
#include <libutility/desktop/openurl.h>

#include "support/printers.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>
#include <qtestsupport_core.h>

#include <gtest/gtest.h>

namespace {

struct CountingLogic : CDeferredLogic
{
    using CDeferredLogic::CDeferredLogic;
    void execute() override { ++runs; }
    static int runs;
};
int CountingLogic::runs = 0;

// Stands in for the desktop's default applications of the schemes it is installed for.
struct UrlRecorder : QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
public Q_SLOTS:
    void open(const QUrl &url) { opened << url; }
};

} // namespace

TEST(DeferredLogic, RunsOnceWhenTheEventLoopRegainsControlAfterItsDelayThenDeletesItself)
{
    // -1: the default constructor. A negative delay must not leave the object alive.
    for (const int delayMs : { -1, 400, 0, -5 }) {
        SCOPED_TRACE(delayMs);
        CountingLogic::runs = 0;
        QPointer<CountingLogic> logic
            = delayMs == -1 ? new CountingLogic() : new CountingLogic(delayMs);
        QThread::msleep(50); // past a short delay, but the event loop has not run
        if (delayMs == 400)
            QTest::qWait(150);
        EXPECT_EQ(CountingLogic::runs, 0);
        EXPECT_TRUE(QTest::qWaitFor([&] { return logic.isNull(); }));
        EXPECT_EQ(CountingLogic::runs, 1);
    }
}

// Outside a KDE session (the test's X server runs another window manager).
TEST(OpenUrl, ChoosesBetweenWebLocalFileAndProgram)
{
    QTemporaryDir dir;
    const QString root = dir.path(), marker = root + "/started", plain = root + "/notes.txt";
    const QString script = root + "/with space/run me.sh", link = root + "/link to script";
    QFile program(script);
    ASSERT_TRUE(QDir(root).mkpath("with space/sub dir") && program.open(QIODevice::WriteOnly));
    program.write("#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" > '" + marker.toLocal8Bit() + "'\n");
    program.close();
    ASSERT_TRUE(program.setPermissions(QFileDevice::ReadOwner | QFileDevice::ExeOwner)
        && QFile::link(script, link) && QFile(plain).open(QIODevice::WriteOnly));
    const struct
    {
        const char *row;
        QString input;
        QList<QUrl> expected; // what the desktop is asked to open; none: the program is started
    } cases[] = {
        { "http", "http://example.org/a?b=c", { QUrl("http://example.org/a?b=c") } },
        { "https", "https://example.org/a b", { QUrl("https://example.org/a b") } },
        { "capital HTTP is a local path", "HTTP://example.org/x",
            { QUrl::fromLocalFile("HTTP://example.org/x") } },
        { "every file:// removed", "file://" + root + "/file://notes.txt",
            { QUrl::fromLocalFile(plain) } },
        { "directory", root + "/with space/sub dir",
            { QUrl::fromLocalFile(root + "/with space/sub dir") } },
        { "symlink to a program", link, { QUrl::fromLocalFile(link) } },
        { "file:// program with spaces in its path", "file://" + script, {} },
        { "relative program", "run me.sh", {} },
    };
    UrlRecorder recorder;
    for (const char *scheme : { "http", "https", "file" })
        QDesktopServices::setUrlHandler(scheme, &recorder, "open");
    const QString previousDir = QDir::currentPath();
    QDir::setCurrent(root + "/with space");
    QFile started(marker);
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.row) + ": " + c.input.toStdString());
        started.remove();
        recorder.opened.clear();
        openURL(c.input);
        if (c.expected.isEmpty())
            EXPECT_TRUE(QTest::qWaitFor([&] { return started.size() > 0; })) << "not started";
        else if (c.input == link)
            QTest::qWait(300); // give a wrongly started script time to leave its marker
        EXPECT_EQ(recorder.opened, c.expected);
        // The script records its argument count: a program is started without arguments.
        EXPECT_EQ(started.open(QIODevice::ReadOnly) ? started.readAll() : "not started",
            c.expected.isEmpty() ? "0\n" : "not started");
        started.close();
    }
    QDir::setCurrent(previousDir); // the handlers go with the recorder
}

#include "openurl_test.moc"
