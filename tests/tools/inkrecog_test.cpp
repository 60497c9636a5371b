// inkrecog as users meet it: the real program run through QProcess on real files, and
// the ink file check it runs before CScribble::readFrom.
#include "inkbytes.h"
#include "inkcheck.h"

#include <libutility/ink/scribble.h>
#include <libutility/ink/stroke.h>

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <cmath>
#include <sstream>

#include "support/printers.h"

namespace {

// ---------------------------------------------------------------------------------------
// Writing inputs

// A closed regular polygon of n corners, 5 px between points, as one stroke.
QVector<QPoint> polygon(int n, double radius = 100.0, QPoint centre = QPoint(200, 200))
{
    QVector<QPoint> points;
    for (int k = 0; k < n; ++k) {
        const double a0 = 2 * M_PI * k / n - M_PI / 2, a1 = 2 * M_PI * (k + 1) / n - M_PI / 2;
        const QPointF p0 = centre + radius * QPointF(std::cos(a0), std::sin(a0));
        const QPointF p1 = centre + radius * QPointF(std::cos(a1), std::sin(a1));
        const int steps = int(std::hypot(p1.x() - p0.x(), p1.y() - p0.y()) / 5);
        for (int s = 0; s < steps; ++s)
            points << (p0 + (p1 - p0) * s / steps).toPoint();
    }
    points << points.first();
    return points;
}

QByteArray inkBytes(const QVector<QVector<QPoint>> &strokes)
{
    CScribble scribble;
    for (const QVector<QPoint> &points : strokes) {
        CStroke stroke;
        for (const QPoint &p : points)
            stroke.addPoint(p);
        scribble.addStroke(stroke);
    }
    std::ostringstream out;
    scribble.writeTo(out);
    return QByteArray::fromStdString(out.str());
}

QByteArray jsonLine(const QVector<QPoint> &points, const QString &label)
{
    QJsonArray stroke;
    for (const QPoint &p : points)
        stroke.append(QJsonArray { p.x(), p.y() });
    QJsonObject object { { "label", label }, { "strokes", QJsonArray { stroke } } };
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(bytes);
}

// ---------------------------------------------------------------------------------------
// Running the program

struct ToolRun
{
    int status = -1;
    QByteArray out;
    QByteArray err;
    QList<QJsonObject> json() const
    {
        QList<QJsonObject> objects;
        for (const QByteArray &line : out.split('\n'))
            if (!line.isEmpty())
                objects << QJsonDocument::fromJson(line).object();
        return objects;
    }
};

ToolRun inkrecog(const QStringList &arguments, const QByteArray &input = QByteArray(),
    const QString &workingDirectory = QString(), const QStringList &environment = QStringList())
{
    QProcess process;
    process.setProgram(INKRECOG_PATH);
    process.setArguments(arguments);
    if (!workingDirectory.isEmpty())
        process.setWorkingDirectory(workingDirectory);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("LIBUTILITY_LOG_LEVEL");
    for (const QString &entry : environment)
        env.insert(entry.section('=', 0, 0), entry.section('=', 1));
    process.setProcessEnvironment(env);
    process.start();
    process.write(input);
    process.closeWriteChannel();
    ToolRun run;
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        ADD_FAILURE() << "inkrecog did not finish: " << arguments.join(' ').toStdString();
        return run;
    }
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

class InkrecogTest : public ::testing::Test
{
protected:
    QString path(const QString &name) const { return m_dir.filePath(name); }
    QTemporaryDir m_dir;
};

// ---------------------------------------------------------------------------------------
// The check of ink files, on bytes

struct CheckCase
{
    const char *name;
    QByteArray bytes;
    bool ok;
    quint64 offset;
    const char *problem; // a part of the message
};

TEST(InkCheck, FindsTheFirstFaultAndWhereItIs)
{
    inkcheck::InkCheckOptions limits;
    limits.maxStrokes = 100;
    limits.maxPoints = 1000;
    const QByteArray square = inkBytes({ polygon(4) });
    const CheckCase cases[] = {
        { "empty", QByteArray(), false, 0, "empty" },
        { "three bytes", QByteArray(3, '\0'), false, 0, "too short" },
        { "negative stroke count", int32s({ -1 }), false, 0, "negative stroke count -1" },
        { "stroke count cannot fit", int32s({ 3, 0, 0 }), false, 0, "cannot fit" },
        { "huge stroke count", int32s({ 0x7fffffff, 0 }), false, 0, "cannot fit" },
        { "stroke count over the limit", int32s({ 101 }) + QByteArray(404, '\0'), false, 0,
            "limit of 100" },
        { "point count missing", int32s({ 2, 1, 5, 6 }), false, 16,
            "data ends before the point count of stroke 2 of 2" },
        { "negative point count", int32s({ 2, 0, -3 }), false, 8, "negative point count -3" },
        { "lying point count", int32s({ 1, 5, 1, 2, 3, 4 }), false, 4, "needs 40 bytes, 16 left" },
        { "huge point count", int32s({ 1, 0x7fffffff, 1, 2 }), false, 4, "needs" },
        { "points over the limit", int32s({ 1, 1001 }) + QByteArray(8008, '\0'), false, 4,
            "limit of 1000" },
        { "trailing bytes", int32s({ 1, 1, 5, 6, 7 }), false, 16, "4 trailing bytes" },
        { "truncated square", square.left(square.size() - 3), false, 4, "needs" },
        { "no strokes", int32s({ 0 }), true, 0, "" },
        { "empty strokes", int32s({ 2, 0, 0 }), true, 0, "" },
        { "square", square, true, 0, "" },
    };
    for (const CheckCase &c : cases) {
        SCOPED_TRACE(c.name);
        const auto *data = reinterpret_cast<const unsigned char *>(c.bytes.constData());
        const inkcheck::InkCheckResult r = inkcheck::checkInk(data, c.bytes.size(), limits);
        EXPECT_EQ(r.ok, c.ok) << r.problem;
        EXPECT_EQ(r.offset, c.offset);
        EXPECT_NE(r.problem.find(c.problem), std::string::npos) << r.problem;
        EXPECT_EQ(r.problem.empty(), c.ok);
        if (r.ok) {
            EXPECT_EQ(r.used, quint64(c.bytes.size()));
        }

        // The stream form seeks over the points; it must judge exactly as the buffer form,
        // also when the data starts in the middle of a stream.
        std::istringstream in("xyz" + c.bytes.toStdString());
        in.seekg(3);
        const inkcheck::InkCheckResult s = inkcheck::checkInk(in, c.bytes.size(), limits);
        EXPECT_EQ(s.ok, r.ok);
        EXPECT_EQ(s.offset, r.offset);
        EXPECT_EQ(s.problem, r.problem);
    }
}

TEST(InkCheck, AcceptedDataIsExactlyWhatReadFromConsumes)
{
    const QByteArray bytes = inkBytes({ polygon(3), {}, polygon(6) }) + "tail";
    inkcheck::InkCheckOptions options;
    options.allowTrailingBytes = true;
    const auto r = inkcheck::checkInk(
        reinterpret_cast<const unsigned char *>(bytes.constData()), bytes.size(), options);
    ASSERT_TRUE(r.ok) << r.problem;
    EXPECT_EQ(r.strokes, 3u);
    std::istringstream in(bytes.toStdString());
    CScribble scribble;
    scribble.readFrom(in);
    EXPECT_EQ(quint64(in.tellg()), r.used);
    EXPECT_EQ(r.used, quint64(bytes.size() - 4));
    quint64 points = 0;
    for (long i = 0; i < scribble.getStrokeNum(); ++i)
        points += quint64(scribble.getStrokeAt(i).getPointNum());
    EXPECT_EQ(points, r.points);
}

// ---------------------------------------------------------------------------------------
// The program

TEST_F(InkrecogTest, ClassifiesInkFilesAndPrintsAnAlignedTable)
{
    writeFile(path("square.ink"), inkBytes({ polygon(4) }));
    writeFile(path("hexagon.ink"), inkBytes({ polygon(6) }));
    const ToolRun run = inkrecog({ "square.ink", "hexagon.ink" }, {}, m_dir.path());
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.isEmpty()) << run.err.toStdString();
    const QList<QByteArray> lines = run.out.trimmed().split('\n');
    ASSERT_EQ(lines.size(), 3) << run.out.toStdString();
    EXPECT_TRUE(lines[0].startsWith("SOURCE"));
    EXPECT_TRUE(lines[1].startsWith("square.ink ")) << lines[1].toStdString();
    EXPECT_TRUE(lines[1].contains(" 102/4 ") && lines[1].contains(" polygon "));
    EXPECT_TRUE(lines[2].contains(" 102/6 "));
    // Aligned: every column starts at the same place in every line.
    for (const char *column : { "CODE", "NAME", "RECT", "CORNERS" }) {
        const int at = lines[0].indexOf(column);
        EXPECT_EQ(lines[1].at(at - 1), ' ');
        EXPECT_NE(lines[1].at(at), ' ') << column;
        EXPECT_NE(lines[2].at(at), ' ') << column;
    }
}

TEST_F(InkrecogTest, JsonOutputCarriesCategoryRectAndEachCornerOnce)
{
    writeFile(path("square.ink"), inkBytes({ polygon(4) }));
    writeFile(path("line.ink"), inkBytes({ { QPoint(10, 50), QPoint(100, 52), QPoint(200, 51) } }));
    QVector<QPoint> oval; // 200 x 100 about (150, 120), turned by -30 degrees
    for (int i = 0; i <= 72; ++i) {
        const double t = 2 * 3.14159265358979323846 * i / 72, a = -30 * 3.14159265358979323846 / 180;
        const double x = 100 * std::cos(t), y = 50 * std::sin(t);
        oval << QPoint(qRound(150 + std::cos(a) * x - std::sin(a) * y),
            qRound(120 + std::sin(a) * x + std::cos(a) * y));
    }
    writeFile(path("oval.ink"), inkBytes({ oval }));
    const ToolRun run = inkrecog({ "--json", path("square.ink"), path("line.ink"), path("oval.ink") });
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    const QList<QJsonObject> objects = run.json();
    ASSERT_EQ(objects.size(), 3) << run.out.toStdString();

    const QJsonObject square = objects[0];
    EXPECT_EQ(square["source"].toString(), path("square.ink"));
    EXPECT_EQ(square["category"].toInt(), 102);
    EXPECT_EQ(square["name"].toString(), "polygon");
    const QJsonArray corners = square["corners"].toArray();
    ASSERT_EQ(corners.size(), 4);
    const QJsonArray rect = square["rect"].toArray();
    ASSERT_EQ(rect.size(), 4);
    for (const QJsonValue &corner : corners) {
        const double x = corner.toArray()[0].toDouble(), y = corner.toArray()[1].toDouble();
        EXPECT_GE(x, rect[0].toDouble() - 1e-6);
        EXPECT_LE(x, rect[0].toDouble() + rect[2].toDouble() + 1e-6);
        EXPECT_GE(y, rect[1].toDouble() - 1e-6);
        EXPECT_LE(y, rect[1].toDouble() + rect[3].toDouble() + 1e-6);
    }
    EXPECT_NE(corners.first(), corners.last()) << "the closing copy of the start is dropped";

    EXPECT_EQ(objects[1]["category"].toInt(), 205);
    EXPECT_FALSE(objects[1].contains("corners"));
    EXPECT_FALSE(square.contains("ellipse") || objects[1].contains("ellipse"));

    // A closed curve comes with the ellipse fitted to its ink.
    EXPECT_EQ(objects[2]["category"].toInt(), 101);
    const QJsonObject ellipse = objects[2]["ellipse"].toObject();
    const struct
    {
        const char *key;
        double value;
    } fit[] = { { "cx", 150 }, { "cy", 120 }, { "rx", 100 }, { "ry", 50 }, { "angle", -30 } };
    for (const auto &f : fit)
        EXPECT_NEAR(ellipse[f.key].toDouble(), f.value, 1.5) << f.key;
}

TEST_F(InkrecogTest, CornerLimitAndNormalisationOptionsReachTheRecogniser)
{
    writeFile(path("hexagon.ink"), inkBytes({ polygon(6) }));
    EXPECT_EQ(inkrecog({ "--json", path("hexagon.ink") }).json().value(0)["category"].toInt(), 102);
    EXPECT_EQ(inkrecog({ "--json", "--corner-limit", "5", path("hexagon.ink") })
                  .json()
                  .value(0)["category"]
                  .toInt(),
        101);

    // A slightly skewed square is snapped to a square only when normalising.
    QVector<QPoint> rough;
    const QPoint corners[] = { { 100, 100 }, { 306, 94 }, { 309, 301 }, { 97, 296 }, { 100, 100 } };
    for (int k = 0; k < 4; ++k)
        for (int s = 0; s < 40; ++s)
            rough << corners[k] + (corners[k + 1] - corners[k]) * s / 40;
    rough << rough.first();
    writeFile(path("rough.ink"), inkBytes({ rough }));
    const QJsonObject snapped = inkrecog({ "--json", path("rough.ink") }).json().value(0);
    const QJsonObject raw
        = inkrecog({ "--json", "--no-normalize", path("rough.ink") }).json().value(0);
    ASSERT_EQ(snapped["category"].toInt(), 102);
    ASSERT_EQ(raw["category"].toInt(), 102);
    EXPECT_NE(snapped["corners"], raw["corners"]);
    const QJsonArray square = snapped["corners"].toArray();
    ASSERT_EQ(square.size(), 4);
    EXPECT_NEAR(square[0].toArray()[0].toDouble(), square[1].toArray()[0].toDouble(), 1e-6)
        << "snapped to an axis-aligned square";
}

// Every kind of bad file is reported as "file: byte offset: what", skipped, and the run
// goes on with the next input; the status says some were bad.
TEST_F(InkrecogTest, BadInkFilesAreReportedAndSkipped)
{
    const QByteArray square = inkBytes({ polygon(4) });
    struct Bad
    {
        const char *file;
        QByteArray bytes;
        QByteArray report;
    };
    const Bad bad[] = {
        { "empty.ink", QByteArray(), "empty.ink: 0: empty" },
        { "truncated.ink", square.left(square.size() / 2), "truncated.ink: 4: point count" },
        { "lying.ink", int32s({ 1000000, 0 }), "lying.ink: 0: stroke count 1000000 cannot fit" },
        { "trailing.ink", square + "x",
            "trailing.ink: " + QByteArray::number(square.size()) + ": 1 trailing bytes" },
        { "text.ink", "this is not ink at all\n", "text.ink: 0: " },
        { "picture.dat", QByteArray::fromHex("89504e470d0a1a0a0000000d49484452"),
            "picture.dat: 0: " },
    };
    QStringList arguments { "--json" };
    for (const Bad &b : bad) {
        writeFile(path(b.file), b.bytes);
        arguments << b.file;
    }
    writeFile(path("good.ink"), square);
    arguments << "good.ink";
    const ToolRun run = inkrecog(arguments, {}, m_dir.path());
    EXPECT_EQ(run.status, 1);
    const QList<QJsonObject> objects = run.json();
    ASSERT_EQ(objects.size(), 1) << run.out.toStdString();
    EXPECT_EQ(objects[0]["source"].toString(), "good.ink");
    for (const Bad &b : bad) {
        SCOPED_TRACE(b.file);
        EXPECT_TRUE(run.err.contains(QByteArray("inkrecog: ") + b.report)) << run.err.toStdString();
    }
    EXPECT_EQ(run.err.count('\n'), int(std::size(bad))) << run.err.toStdString();
}

TEST_F(InkrecogTest, DrawsOnePicturePerScribbleAndAContactSheet)
{
    writeFile(path("in/square.ink"), inkBytes({ polygon(4) }));
    writeFile(path("in/sub/square.ink"), inkBytes({ polygon(4) }));
    writeFile(path("in/set.jsonl"), jsonLine(polygon(3), "triangle") + jsonLine(polygon(5), "p"));
    const ToolRun run
        = inkrecog({ "--png", path("png"), "--sheet", path("sheet.png"), path("in") });
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.isEmpty()) << run.err.toStdString();
    QStringList pictures = QDir(path("png")).entryList(QDir::Files, QDir::Name);
    EXPECT_EQ(pictures, QStringList({ "set-1.png", "set-2.png", "square-2.png", "square.png" }));
    for (const QString &picture : pictures)
        EXPECT_FALSE(QImage(path("png/") + picture).isNull()) << picture.toStdString();
    EXPECT_FALSE(QImage(path("sheet.png")).isNull());

    const ToolRun unwritable = inkrecog({ "--sheet", path("no/such/dir/sheet.png"), path("in") });
    EXPECT_EQ(unwritable.status, 1);
    EXPECT_TRUE(unwritable.err.contains("cannot write the contact sheet"));
}

// Inputs, options and their failures: each row is one run, with the status, the sources
// of the JSON answers in order, and texts its output and its errors must contain.
TEST_F(InkrecogTest, RunsReportWhatTheyReadAndWhyTheyStopped)
{
    writeFile(path("square.ink"), inkBytes({ polygon(4) }));
    // Blank lines do not count as scribbles; bad lines are reported and skipped.
    writeFile(path("set.jsonl"),
        jsonLine(polygon(3), "triangle") + "\n{\"strokes\": [[[1, 2], [3]]]}\nnot json\n"
            + jsonLine(polygon(4), "triangle"));
    // Directories are searched at any depth in path order, for .ink and .jsonl only.
    writeFile(path("dir/b.ink"), inkBytes({ polygon(4) }));
    writeFile(path("dir/a/deep/c.jsonl"), jsonLine(polygon(3), "triangle"));
    writeFile(path("dir/notes.txt"), "not an input");
    writeFile(path("dir/.hidden/d.ink"), "broken");
    const struct
    {
        QStringList arguments;
        QByteArray input;
        int status;
        QStringList sources;
        QByteArray out, err;
        QStringList environment = {};
    } runs[] = {
        { { "--json", "set.jsonl" }, {}, 1, { "set.jsonl:1", "set.jsonl:5" },
            "\"category\":102,", "set.jsonl:3: point 2 of stroke 1" },
        { { "--json", "set.jsonl" }, {}, 1, { "set.jsonl:1", "set.jsonl:5" },
            "\"label\":\"triangle\"", "set.jsonl:4: not JSON" },
        { { "--json", "dir" }, {}, 0, { "dir/a/deep/c.jsonl:1", "dir/b.ink" }, "", "" },
        // Standard input is read as ink or as JSON lines by its content.
        { { "--json", "-" }, inkBytes({ polygon(4) }), 0, { "(standard input)" }, "102", "" },
        { { "--json", "-" }, jsonLine(polygon(3), "t"), 0, { "(standard input):1" }, "", "" },
        { { "--json", "-" }, int32s({ 5, 100 }), 1, {}, "", "inkrecog: (standard input): 0: " },
        // Usage errors exit with 2 and read nothing; a missing input is skipped with 1.
        { {}, {}, 2, {}, "", "no input" },
        { { "--bogus", "square.ink" }, {}, 2, {}, "", "bogus" },
        { { "--corner-limit", "many", "square.ink" }, {}, 2, {}, "", "--corner-limit" },
        { { "--max-points", "0", "square.ink" }, {}, 2, {}, "", "--max-points" },
        { { "--format", "xml", "square.ink" }, {}, 2, {}, "", "--format" },
        { { "--json", "--summary", "square.ink" }, {}, 2, {}, "", "cannot be combined" },
        { { "-", "-" }, {}, 2, {}, "", "only once" },
        { { "--json", "missing.ink", "square.ink" }, {}, 1, { "square.ink" }, "",
            "missing.ink: no such file" },
        { { "--help" }, {}, 0, {}, "Exit status", "" },
        // The summary scores labelled input by label.
        { { "--summary", "set.jsonl" }, {}, 1, {}, " 50.0%", "" },
        { { "--summary", "set.jsonl" }, {}, 1, {}, "102/3:1 102/4:1", "" },
        // Trace lines are switched on from the environment.
        { { "square.ink" }, {}, 0, {}, "square.ink ", "", {} },
        { { "square.ink" }, {}, 0, {}, "", "figurerecogniser\t", { "LIBUTILITY_LOG_LEVEL=TRACE" } },
        { { "square.ink" }, {}, 0, {}, "", "Enter classifyScribble",
            { "LIBUTILITY_LOG_LEVEL=TRACE" } },
    };
    for (const auto &r : runs) {
        SCOPED_TRACE(r.arguments.join(' ').toStdString());
        const ToolRun run = inkrecog(r.arguments, r.input, m_dir.path(), r.environment);
        EXPECT_EQ(run.status, r.status) << run.err.toStdString();
        if (r.arguments.contains("--json")) {
            QStringList sources;
            for (const QJsonObject &object : run.json())
                sources << object["source"].toString();
            EXPECT_EQ(sources, r.sources);
        }
        EXPECT_TRUE(run.out.contains(r.out)) << run.out.toStdString();
        EXPECT_TRUE(run.err.contains(r.err)) << run.err.toStdString();
        EXPECT_EQ(run.err.contains("Enter"), !r.environment.isEmpty());
        if (r.status == 2)
            EXPECT_FALSE(run.out.contains("square.ink")) << "a usage error reads nothing";
    }
}

} // namespace
