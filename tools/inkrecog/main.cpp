// inkrecog: classifies scribbles with the figure recogniser.
//
//   inkrecog [options] INPUT...
//
// INPUT is an ink file, a JSON-lines file, a directory (searched at any depth) or "-"
// for standard input. Per scribble it prints the category, its name, the rectangle and,
// for polygons, the corners: as an aligned table, or as JSON lines with --json.
// --summary prints a per-label score table instead; --png and --sheet draw pictures.
// Run inkrecog --help for the options, and see README.md.
//
// Exit status: 0 when every input was read (and every picture written), 1 when some
// were not (each reported on standard error, the rest still done), 2 for usage errors.
#include "contactsheet.h"
#include "evaluation.h"
#include "inputs.h"
#include "progress.h"
#include "scribbleset.h"

#include <libutility/logging/logsystem.h>
#include <libutility/recognition/figurerecogniser.h>

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTextStream>

#include <cmath>
#include <cstdio>
#include <memory>

namespace {

enum ExitStatus { eAllRead = 0, eSomeBad = 1, eUsage = 2 };

const char *const kEpilog = R"(
Inputs:
  An ink file (.ink) holds one scribble in the library's binary form; it is checked
  against its size before it is read, and a damaged file is reported as
  "file: byte offset: what is wrong". A JSON-lines file (.jsonl, .ndjson, .json) holds
  one scribble per line: {"strokes": [[[x, y], ...], ...], "label": ...}; a bad line is
  reported as "file:line: what is wrong". Other names and "-" are recognised by their
  first bytes unless --format says what they are. Directories are searched at any depth
  for files with those suffixes.

Exit status:
  0  every input was read and every picture written
  1  some inputs were bad or missing, or a picture could not be written (each is
     reported on standard error; everything else is still done)
  2  usage error

Environment:
  LIBUTILITY_LOG_LEVEL=TRACE  writes the library's trace lines to standard error.
)";

QString number(double value) { return QString::number(std::round(value * 10.0) / 10.0, 'g', 12); }

QString rectText(const QRectF &rect)
{
    if (rect.isNull())
        return QStringLiteral("-");
    return QStringLiteral("%1,%2 %3x%4")
        .arg(number(rect.x()), number(rect.y()), number(rect.width()), number(rect.height()));
}

QString cornersText(const Outcome &outcome)
{
    if (outcome.category == CFigureRecogniser::cCLOSED_CURVE)
        return ellipseText(outcome);
    if (outcome.category != CFigureRecogniser::cPOLYGON)
        return QStringLiteral("-");
    QStringList corners;
    for (const QPointF &p : outcome.result)
        corners << QStringLiteral("(%1,%2)").arg(number(p.x()), number(p.y()));
    return corners.join(' ');
}

QByteArray jsonLine(const Sample &sample, const Outcome &outcome)
{
    QJsonObject object;
    object["source"] = sample.source;
    if (!sample.label.isEmpty())
        object["label"] = sample.label;
    object["category"] = outcome.category;
    object["name"] = categoryName(outcome.category);
    if (outcome.rect.isNull())
        object["rect"] = QJsonValue::Null;
    else
        object["rect"] = QJsonArray { outcome.rect.x(), outcome.rect.y(), outcome.rect.width(),
            outcome.rect.height() };
    if (outcome.category == CFigureRecogniser::cPOLYGON) {
        QJsonArray corners;
        for (const QPointF &p : outcome.result)
            corners.append(QJsonArray { p.x(), p.y() });
        object["corners"] = corners;
    }
    if (outcome.category == CFigureRecogniser::cCLOSED_CURVE && outcome.ellipse.ok) {
        const CFigureRecogniser::CEllipseFit &e = outcome.ellipse;
        object["ellipse"] = QJsonObject { { "cx", e.cx }, { "cy", e.cy }, { "rx", e.rx },
            { "ry", e.ry }, { "angle", e.angle } };
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// Columns padded to their widest cell; the last column is not padded.
void printTable(QTextStream &out, const QVector<QStringList> &rows)
{
    QVector<int> widths;
    for (const QStringList &row : rows)
        for (int c = 0; c < row.size(); ++c) {
            if (widths.size() <= c)
                widths.append(0);
            widths[c] = std::max(widths[c], int(row[c].size()));
        }
    for (const QStringList &row : rows) {
        QString line;
        for (int c = 0; c < row.size(); ++c)
            line += c + 1 < row.size() ? row[c].leftJustified(widths[c] + 2) : row[c];
        out << line << '\n';
    }
}

bool parseCount(const QString &text, qint64 low, qint64 &value)
{
    bool ok = false;
    value = text.toLongLong(&ok);
    return ok && value >= low;
}

// The next free file name for a picture of `name` in dir.
QString pictureName(const QString &name, QSet<QString> &taken)
{
    QString base = name;
    base.replace('/', '_');
    QString candidate = base;
    for (int n = 2; taken.contains(candidate); ++n)
        candidate = QStringLiteral("%1-%2").arg(base).arg(n);
    taken.insert(candidate);
    return candidate + QStringLiteral(".png");
}

QtMessageHandler defaultMessageHandler = nullptr;

// The offscreen platform warns when XDG_RUNTIME_DIR is unset, as it routinely is for
// batch jobs; it has no bearing on drawing into images and would read like a fault.
void filterMessages(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")))
        return;
    defaultMessageHandler(type, context, message);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication::setApplicationName("inkrecog");
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0"));
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    QTextStream out(stdout);
    QTextStream err(stderr);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Classifies scribbles with the figure recogniser and prints, per scribble, the\n"
        "category code and name, the rectangle and, for polygons (102), the corners;\n"
        "for closed curves (101), the ellipse fitted to the ink.");
    const QCommandLineOption help({ "h", "help" }, "Show this help and exit.");
    const QCommandLineOption version("version", "Show the version and exit.");
    const QCommandLineOption json("json", "Print one JSON object per scribble instead of a table.");
    const QCommandLineOption summary("summary",
        "Print a per-label table instead: how each label was classified and the share "
        "matching what a good recogniser answers.");
    const QCommandLineOption png(
        "png", "Write one picture per scribble into DIR (ink and recognised figure).", "DIR");
    const QCommandLineOption sheet(
        "sheet", "Write a contact sheet of all scribbles to FILE (PNG).", "FILE");
    const QCommandLineOption cornerLimit(
        "corner-limit", "Largest corner count of a polygon; more is a closed curve (6).", "N", "6");
    const QCommandLineOption noNormalize(
        "no-normalize", "Keep polygons as drawn instead of snapping them to regular forms.");
    const QCommandLineOption format("format",
        "Read every input as ink, jsonl or auto: by suffix, then by content (auto).", "FORMAT",
        "auto");
    const QCommandLineOption maxStrokes(
        "max-strokes", "Refuse scribbles of more than N strokes (20000).", "N", "20000");
    const QCommandLineOption maxPoints(
        "max-points", "Refuse scribbles of more than N points in all (5000000).", "N", "5000000");
    const QCommandLineOption perLabel(
        "per-label", "Sheet: samples per label row for labelled sets (10).", "N", "10");
    const QCommandLineOption labels(
        "labels", "Sheet: only these labels (comma separated).", "LIST");
    const QCommandLineOption failures("failures", "Sheet: only samples with an unexpected answer.");
    parser.addOptions({ help, version, json, summary, png, sheet, cornerLimit, noNormalize, format,
        maxStrokes, maxPoints, perLabel, labels, failures });
    parser.addPositionalArgument(
        "INPUT", "Ink file, JSON-lines file, directory, or - .", "INPUT...");

    auto usageError = [&](const QString &message) {
        err << "inkrecog: " << message << "\nTry 'inkrecog --help'.\n";
        return eUsage;
    };
    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (parser.isSet(help)) {
        const QCoreApplication app(argc, argv); // the usage line names the program from it
        out << parser.helpText() << kEpilog;
        return eAllRead;
    }
    if (parser.isSet(version)) {
        out << "inkrecog " << QCoreApplication::applicationVersion() << '\n';
        return eAllRead;
    }

    Settings settings;
    InputOptions inputOptions;
    qint64 value = 0;
    if (!parseCount(parser.value(cornerLimit), 0, value) || value > 1000000)
        return usageError("--corner-limit needs a number of corners");
    settings.cornerLimit = int(value);
    settings.normalize = !parser.isSet(noNormalize);
    settings.keepPrepared = parser.isSet(png) || parser.isSet(sheet);
    if (!parseCount(parser.value(maxStrokes), 1, value))
        return usageError("--max-strokes needs a positive number");
    inputOptions.limits.maxStrokes = std::uint64_t(value);
    if (!parseCount(parser.value(maxPoints), 1, value))
        return usageError("--max-points needs a positive number");
    inputOptions.limits.maxPoints = std::uint64_t(value);
    qint64 sheetPerLabel = 0;
    if (!parseCount(parser.value(perLabel), 1, sheetPerLabel) || sheetPerLabel > 10000)
        return usageError("--per-label needs a positive number");
    const QString formatName = parser.value(format);
    if (formatName == "ink")
        inputOptions.format = InputFormat::Ink;
    else if (formatName == "jsonl" || formatName == "json")
        inputOptions.format = InputFormat::JsonLines;
    else if (formatName != "auto")
        return usageError("--format is ink, jsonl or auto, not '" + formatName + "'");
    if (parser.isSet(json) && parser.isSet(summary))
        return usageError("--json and --summary cannot be combined");
    if (parser.positionalArguments().isEmpty())
        return usageError("no input given");
    if (parser.positionalArguments().count(QStringLiteral("-")) > 1)
        return usageError("standard input (-) can be read only once");

    // Only pictures need the GUI side of Qt (fonts for the captions); it draws into
    // images, never onto a screen.
    std::unique_ptr<QCoreApplication> app;
    if (parser.isSet(png) || parser.isSet(sheet)) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        defaultMessageHandler = qInstallMessageHandler(filterMessages);
        app.reset(new QGuiApplication(argc, argv));
    } else {
        app.reset(new QCoreApplication(argc, argv));
    }
    CLogSystem::configureFromEnvironment();

    const QStringList inputs = expandInputs(parser.positionalArguments());
    qint64 totalBytes = 0;
    for (const QString &input : inputs) {
        if (input == QLatin1String("-"))
            totalBytes = -1;
        else if (totalBytes >= 0)
            totalBytes += std::max<qint64>(0, inputSize(input));
    }
    Progress progress(totalBytes, Progress::stderrIsTerminal());

    bool allRead = true;
    auto fault = [&](const QString &message) {
        progress.clear();
        err << "inkrecog: " << message << '\n';
        err.flush();
        allRead = false;
    };

    const QString pngDir = parser.value(png);
    bool writePictures = parser.isSet(png);
    if (writePictures && !QDir().mkpath(pngDir)) {
        fault(pngDir + ": cannot create the directory");
        writePictures = false;
    }
    QSet<QString> pictureNames;

    const bool keepSamples = parser.isSet(summary) || parser.isSet(sheet);
    QVector<Sample> samples;
    QVector<Outcome> outcomes;
    QVector<QStringList> rows;
    rows.append({ "SOURCE", "LABEL", "CODE", "NAME", "RECT", "CORNERS/ELLIPSE" });

    qint64 bytesBefore = 0;
    InputCallbacks callbacks;
    callbacks.fault = fault;
    callbacks.progress = [&](qint64 bytes) { progress.setBytes(bytesBefore + bytes); };
    callbacks.sample = [&](Sample &sample) {
        const Outcome outcome = recognise(sample, settings);
        progress.addScribble();
        if (parser.isSet(json)) {
            progress.clear();
            out << jsonLine(sample, outcome) << '\n';
        } else if (!parser.isSet(summary)) {
            rows.append(
                { sample.source, sample.label.isEmpty() ? "-" : sample.label, answerKey(outcome),
                    categoryName(outcome.category), rectText(outcome.rect), cornersText(outcome) });
        }
        if (writePictures) {
            const QString path = pngDir + '/' + pictureName(sample.name, pictureNames);
            if (!drawScribblePicture(sample, outcome, 320).save(path, "PNG"))
                fault(path + ": cannot write the picture");
        }
        if (keepSamples) {
            samples.append(std::move(sample));
            outcomes.append(outcome);
        }
    };

    for (const QString &input : inputs) {
        readInput(input, inputOptions, callbacks);
        const qint64 size = inputSize(input);
        if (size > 0)
            bytesBefore += size;
        progress.setBytes(bytesBefore);
    }
    progress.clear();

    if (parser.isSet(summary))
        printSummary(out, samples, outcomes, settings);
    else if (!parser.isSet(json))
        printTable(out, rows);
    out.flush();

    if (parser.isSet(sheet)) {
        QVector<Sample> shown;
        QVector<Outcome> shownOutcomes;
        bool anyInk = false;
        const QStringList wanted = parser.value(labels).split(',', Qt::SkipEmptyParts);
        for (int i = 0; i < samples.size(); ++i) {
            if (parser.isSet(failures)
                && matches(samples[i], expectationFor(samples[i].label), outcomes[i]))
                continue;
            if (wanted.isEmpty() || wanted.contains(samples[i].label)) {
                shown << samples[i];
                shownOutcomes << outcomes[i];
                anyInk = anyInk || samples[i].fromInk;
            }
        }
        const QImage image = anyInk ? drawGridSheet(shown, shownOutcomes, 8)
                                    : drawContactSheet(shown, shownOutcomes, int(sheetPerLabel));
        if (!image.save(parser.value(sheet), "PNG"))
            fault(parser.value(sheet) + ": cannot write the contact sheet");
    }
    return allRead ? eAllRead : eSomeBad;
}
