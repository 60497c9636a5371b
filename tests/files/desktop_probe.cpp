// Prints what COsUtil::getDesktopEnvironment() answers on the display given by the
// environment (QT_QPA_PLATFORM=xcb, DISPLAY), twice, to show the X error handler
// survives a call.
#include <libutility/files/osutil.h>

#include <QApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const int first = COsUtil::getDesktopEnvironment();
    const int second = COsUtil::getDesktopEnvironment();
    std::printf("%d %d\n", first, second);
    return 0;
}
