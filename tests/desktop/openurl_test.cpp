// openURL with real programs on disk: scripts that record how they were started, and
// QDesktopServices URL handlers standing in for the desktop's default applications.
#include <libutility/desktop/openurl.h>
#include <libutility/desktop/windowmanagement.h>
#include <libutility/files/osutil.h>

#include "desktop_test_support.h"
#include "support/printers.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>
#include <QWidget>

#include <gtest/gtest.h>

using namespace desktoptest;

namespace {

class UrlRecorder : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
    QStringList schemes;

public Q_SLOTS:
    void open(const QUrl &url)
    {
        opened << url;
        schemes << url.scheme();
    }
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

class OpenUrl : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        const QString root = m_dir.path();
        m_marker = root + QStringLiteral("/started");
        ASSERT_TRUE(QDir(root).mkpath(QStringLiteral("with space/sub dir")));
        m_script = root + QStringLiteral("/with space/run me.sh");
        ASSERT_TRUE(writeScript(m_script, m_marker));
        m_link = root + QStringLiteral("/link to script");
        ASSERT_TRUE(QFile::link(m_script, m_link));
        m_plain = root + QStringLiteral("/notes.txt");
        QFile plain(m_plain);
        ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
        plain.close();
        for (const char *scheme : { "http", "https", "file" })
            QDesktopServices::setUrlHandler(QString::fromLatin1(scheme), &m_recorder, "open");
    }
    void TearDown() override
    {
        for (const char *scheme : { "http", "https", "file" })
            QDesktopServices::unsetUrlHandler(QString::fromLatin1(scheme));
    }

    QTemporaryDir m_dir;
    QString m_marker, m_script, m_link, m_plain;
    UrlRecorder m_recorder;
};

} // namespace

TEST_F(OpenUrl, ChoosesBetweenWebLocalFileAndProgram)
{
    if (COsUtil::getDesktopEnvironment() == COsUtil::eKdeDesktop)
        GTEST_SKIP() << "a KDE session hands every URL to openurl_externalfile";
    const QString root = m_dir.path();
    const struct
    {
        const char *row;
        QString input;
        QString scheme; // handler expected to receive it; empty: the program is started
        QUrl expected;
    } cases[] = {
        { "http", "http://example.org/a?b=c", "http", QUrl("http://example.org/a?b=c") },
        { "https", "https://example.org/", "https", QUrl("https://example.org/") },
        { "capital HTTP is a local path", "HTTP://example.org/x", "file",
            QUrl::fromLocalFile("HTTP://example.org/x") },
        { "file:// prefix", "file://" + m_plain, "file", QUrl::fromLocalFile(m_plain) },
        { "every file:// removed", "file://" + root + "/file://notes.txt", "file",
            QUrl::fromLocalFile(m_plain) },
        { "plain file", m_plain, "file", QUrl::fromLocalFile(m_plain) },
        { "directory", root + "/with space/sub dir", "file",
            QUrl::fromLocalFile(root + "/with space/sub dir") },
        { "symlink to a program", m_link, "file", QUrl::fromLocalFile(m_link) },
        { "program with spaces in its path", m_script, QString(), QUrl() },
        { "file:// program", "file://" + m_script, QString(), QUrl() },
        { "relative program", "run me.sh", QString(), QUrl() },
    };
    const QString previousDir = QDir::currentPath();
    QDir::setCurrent(root + "/with space");
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.row) + ": " + c.input.toStdString());
        QFile::remove(m_marker);
        m_recorder.opened.clear();
        m_recorder.schemes.clear();
        openURL(c.input);
        if (c.scheme.isEmpty()) {
            EXPECT_TRUE(waitFor([&] { return !readAll(m_marker).isEmpty(); })) << "not started";
            EXPECT_EQ(readAll(m_marker), QByteArray("0\n")) << "started with arguments";
            EXPECT_TRUE(m_recorder.opened.isEmpty());
        } else {
            EXPECT_EQ(m_recorder.schemes, QStringList { c.scheme });
            EXPECT_EQ(m_recorder.opened.value(0), c.expected);
            if (c.input == m_link)
                spin(300); // give a wrongly started script time to leave its marker
            EXPECT_FALSE(QFile::exists(m_marker)) << "a program was started";
        }
    }
    QDir::setCurrent(previousDir);
}

TEST_F(OpenUrl, KdeSessionHandsEveryUrlToTheExternalOpener)
{
    if (!haveX11())
        GTEST_SKIP() << "needs an X display";
    const QString bin = m_dir.path() + QStringLiteral("/bin");
    ASSERT_TRUE(QDir().mkpath(bin));
    const QString kdeMarker = m_dir.path() + QStringLiteral("/external");
    ASSERT_TRUE(writeScript(bin + QStringLiteral("/openurl_externalfile"), kdeMarker));
    const QByteArray previousPath = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(bin) + ':' + previousPath);

    {
        FakeWindowManagerName kwin("KWin");
        ASSERT_EQ(COsUtil::getDesktopEnvironment(), COsUtil::eKdeDesktop);
        for (const QString &url : { QStringLiteral("https://example.org/a b"), m_script }) {
            SCOPED_TRACE(url.toStdString());
            QFile::remove(kdeMarker);
            QFile::remove(m_marker);
            openURL(url);
            EXPECT_TRUE(waitFor([&] { return !readAll(kdeMarker).isEmpty(); }));
            EXPECT_EQ(readAll(kdeMarker), "1\n" + url.toLocal8Bit() + "\n");
            EXPECT_TRUE(m_recorder.opened.isEmpty());
            EXPECT_FALSE(QFile::exists(m_marker)) << "the program itself was started";
        }
    }
    qputenv("PATH", previousPath);
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
    QDesktopServices::setUrlHandler(QStringLiteral("http"), &recorder, "open");
    openURL(QStringLiteral("http://example.org/"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    EXPECT_EQ(recorder.opened, QList<QUrl> { QUrl("http://example.org/") });
}

#include "openurl_test.moc"
