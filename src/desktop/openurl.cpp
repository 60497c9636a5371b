#include <libutility/desktop/openurl.h>
#include <libutility/files/osutil.h>

#include <QDesktopServices>
#include <QFileInfo>
#include <QProcess>
#include <QStringList>
#include <QUrl>

void openURL(const QString &url)
{
    if (COsUtil::getDesktopEnvironment() == COsUtil::eKdeDesktop) {
        QProcess::startDetached(QStringLiteral("openurl_externalfile"), QStringList { url });
        return;
    }
    // Case-sensitive on purpose: "HTTP://" falls through to the local-path branch.
    if (url.startsWith(QLatin1String("http://")) || url.startsWith(QLatin1String("https://"))) {
        QDesktopServices::openUrl(QUrl(url));
        return;
    }
    QString path = url;
    if (path.startsWith(QLatin1String("file://")))
        path.replace(QLatin1String("file://"), QString());
    const QFileInfo info(path);
    // A symbolic link to a program is opened, not run: only a real executable file is
    // started.
    if (info.isExecutable() && info.isFile() && !info.isSymLink()) {
        // The program-plus-arguments form keeps a path with spaces in one piece, and the
        // absolute path keeps a bare name from being looked up on PATH.
        QProcess::startDetached(info.absoluteFilePath(), QStringList());
        return;
    }
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}
