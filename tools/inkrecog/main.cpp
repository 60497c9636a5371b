// inkrecog: runs the figure recogniser over labelled scribble sets.
//
//   inkrecog [--corner-limit N] [--no-normalize] --summary FILE.jsonl [--summary ...]
//            [--sheet OUT.png] [--per-label N] [--labels a,b,...] [--failures]
//
// --summary prints, per label, how the samples were classified and the share that
// matches what a good recogniser should answer. --sheet draws a contact sheet of the
// same samples (restricted to --labels when given).
#include "contactsheet.h"
#include "evaluation.h"
#include "scribbleset.h"

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QTextStream>

#include <cstdio>

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QCoreApplication::setApplicationName("inkrecog");

    QCommandLineParser parser;
    parser.setApplicationDescription("Classifies labelled scribbles with the figure recogniser.");
    parser.addHelpOption();
    const QCommandLineOption summary(
        "summary", "Classify every sample of FILE (JSON lines).", "FILE");
    const QCommandLineOption sheet("sheet", "Write a contact sheet to OUT (PNG).", "OUT");
    const QCommandLineOption cornerLimit(
        "corner-limit", "Largest polygon corner count (6).", "N", "6");
    const QCommandLineOption noNormalize("no-normalize", "Do not snap polygons to regular forms.");
    const QCommandLineOption perLabel(
        "per-label", "Samples per label on the sheet (10).", "N", "10");
    const QCommandLineOption labels(
        "labels", "Only these labels on the sheet (comma separated).", "LIST");
    const QCommandLineOption failures(
        "failures", "Only samples with an unexpected answer on the sheet.");
    parser.addOptions({ summary, sheet, cornerLimit, noNormalize, perLabel, labels, failures });
    parser.process(app);

    QTextStream out(stdout);
    QTextStream err(stderr);
    if (!parser.isSet(summary)) {
        err << "inkrecog: give at least one --summary FILE.jsonl\n";
        return 2;
    }
    Settings settings;
    bool ok = false;
    settings.cornerLimit = parser.value(cornerLimit).toInt(&ok);
    if (!ok || settings.cornerLimit < 0) {
        err << "inkrecog: --corner-limit needs a number of corners\n";
        return 2;
    }
    settings.normalize = !parser.isSet(noNormalize);

    QVector<Sample> samples;
    for (const QString &path : parser.values(summary)) {
        QString error;
        if (!loadSamples(path, samples, &error)) {
            err << "inkrecog: " << error << '\n';
            return 1;
        }
    }
    const QVector<Outcome> outcomes = printSummary(out, samples, settings);
    out.flush();

    if (parser.isSet(sheet)) {
        QVector<Sample> shown;
        QVector<Outcome> shownOutcomes;
        const QStringList wanted = parser.value(labels).split(',', Qt::SkipEmptyParts);
        for (int i = 0; i < samples.size(); ++i) {
            if (parser.isSet(failures)
                && matches(samples[i], expectationFor(samples[i].label), outcomes[i]))
                continue;
            if (wanted.isEmpty() || wanted.contains(samples[i].label)) {
                shown << samples[i];
                shownOutcomes << outcomes[i];
            }
        }
        const QImage image = drawContactSheet(shown, shownOutcomes, parser.value(perLabel).toInt());
        if (!image.save(parser.value(sheet), "PNG")) {
            err << "inkrecog: cannot write " << parser.value(sheet) << '\n';
            return 1;
        }
    }
    return 0;
}
