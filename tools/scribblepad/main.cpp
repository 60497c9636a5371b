// scribblepad: draw with the mouse or a tablet pen; figures are recognised as you draw.
// See README.md beside this file.
#include "padwindow.h"

#include <libutility/logging/logsystem.h>

#include <QApplication>
#include <QCommandLineParser>

#include <cstdio>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName("scribblepad");
    CLogSystem::configureFromEnvironment();

    QCommandLineParser parser;
    parser.setApplicationDescription(
        "A drawing pad that replaces recognised figures by clean shapes.");
    parser.addHelpOption();
    const QCommandLineOption pause(
        "pause", "Seconds without drawing before classifying (0.6).", "SECONDS", "0.6");
    const QCommandLineOption cornerLimit(
        "corner-limit", "Largest polygon corner count (6).", "N", "6");
    const QCommandLineOption noNormalize("no-normalize", "Do not snap polygons to regular forms.");
    const QCommandLineOption reportFile("report-file",
        "Append the pad's state as JSON lines to FILE after every classification (for tests).",
        "FILE");
    parser.addOptions({ pause, cornerLimit, noNormalize, reportFile });
    parser.addPositionalArgument("file", "An .ink file to open.", "[FILE.ink]");
    parser.process(app);

    PadOptions options;
    bool ok = false;
    const double seconds = parser.value(pause).toDouble(&ok);
    if (!ok || seconds < 0.1 || seconds > 10.0) {
        std::fprintf(stderr, "scribblepad: --pause needs seconds from 0.1 to 10\n");
        return 2;
    }
    options.pauseMs = int(seconds * 1000.0 + 0.5);
    options.cornerLimit = parser.value(cornerLimit).toInt(&ok);
    if (!ok || options.cornerLimit < 3 || options.cornerLimit > 64) {
        std::fprintf(stderr, "scribblepad: --corner-limit needs a number from 3 to 64\n");
        return 2;
    }
    options.normalize = !parser.isSet(noNormalize);
    options.reportFile = parser.value(reportFile);
    if (parser.positionalArguments().size() > 1) {
        std::fprintf(stderr, "scribblepad: give at most one file\n");
        return 2;
    }

    PadWindow window(options);
    window.show();
    if (!parser.positionalArguments().isEmpty())
        window.openFile(parser.positionalArguments().first());
    return app.exec();
}
