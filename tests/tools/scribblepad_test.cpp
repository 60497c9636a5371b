// The pad as a user meets it: a real X server and window manager, the pointer and the
// keyboard driven with xdotool. The pad's report file (--report-file) tells what it
// holds after each classification, so the checks look at its state, not at pixels.
#include "inkbytes.h"
#include "support/printers.h"

#include <libutility/ink/scribble.h>

#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <random>

namespace {

bool run(const QString &program, const QStringList &args)
{
    QProcess p;
    p.start(program, args);
    return p.waitForFinished(30000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

class Pad
{
public:
    explicit Pad(const QStringList &args)
    {
        m_reportPath = m_dir.filePath("report.jsonl");
        m_process.setProcessChannelMode(QProcess::ForwardedChannels);
        m_process.start(SCRIBBLEPAD_PATH, QStringList { "--report-file", m_reportPath } + args);
        m_process.waitForStarted(10000);
    }
    ~Pad()
    {
        m_process.kill();
        m_process.waitForFinished(5000);
    }

    // Waits for the next report line of the given event, up to timeoutMs.
    QJsonObject waitFor(const QString &event, int timeoutMs = 15000)
    {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < timeoutMs && m_process.state() == QProcess::Running) {
            QFile file(m_reportPath);
            if (file.open(QIODevice::ReadOnly)) {
                const QList<QByteArray> lines = file.readAll().split('\n');
                for (int i = m_seen; i < lines.size(); ++i) {
                    if (!lines[i].endsWith('}'))
                        break;
                    m_seen = i + 1;
                    const QJsonObject o = QJsonDocument::fromJson(lines[i]).object();
                    if (o["event"].toString() == event) {
                        if (event == "ready") {
                            const QJsonArray c = o["canvas"].toArray();
                            m_canvas = QPoint(c[0].toInt(), c[1].toInt());
                        }
                        return o;
                    }
                }
            }
            QThread::msleep(50);
        }
        return QJsonObject();
    }

    // Draws one stroke through the canvas points, with the pointer held down.
    void draw(const QVector<QPointF> &points)
    {
        QStringList args;
        for (int i = 0; i < points.size(); ++i) {
            const QPoint p = m_canvas + points[i].toPoint();
            args << "mousemove" << QString::number(p.x()) << QString::number(p.y());
            args << (i == 0 ? QStringList { "mousedown", "1" } : QStringList { "sleep", "0.01" });
        }
        args << "mouseup"
             << "1";
        ASSERT_TRUE(run("xdotool", args));
    }

    void key(const QString &keys) { ASSERT_TRUE(run("xdotool", { "key", keys })); }

    QString dir() const { return m_dir.path(); }
    bool running() const { return m_process.state() == QProcess::Running; }

private:
    QTemporaryDir m_dir;
    QString m_reportPath;
    QProcess m_process;
    int m_seen = 0;
    QPoint m_canvas;
};

// A polyline as a hand would move the mouse along it: points about 8 pixels apart,
// a pixel or two off the line (fixed seed).
QVector<QPointF> byHand(const QVector<QPointF> &corners, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> jitter(-1.5, 1.5);
    QVector<QPointF> out { corners.first() };
    for (int i = 1; i < corners.size(); ++i) {
        const QPointF d = corners[i] - corners[i - 1];
        const int steps = std::max(2, int(std::hypot(d.x(), d.y()) / 8));
        for (int s = 1; s <= steps; ++s)
            out << corners[i - 1] + d * (double(s) / steps) + QPointF(jitter(rng), jitter(rng));
    }
    return out;
}

class ScribblePad : public testing::Test
{
protected:
    void SetUp() override
    {
        if (QGuiApplication::platformName() != "xcb")
            GTEST_SKIP() << "needs an X server (xcb platform)";
        if (QStandardPaths::findExecutable("xdotool").isEmpty())
            GTEST_SKIP() << "needs xdotool";
    }
};

} // namespace

TEST_F(ScribblePad, RoughFiguresBecomeCleanFiguresAndUndoBringsTheInkBack)
{
    // An oval of 240 x 120 pixels about (320, 270), turned by 20 degrees.
    QVector<QPointF> oval;
    for (int i = 0; i <= 40; ++i) {
        const double t = 2 * 3.14159265358979323846 * (i + 0.3) / 40, a = 20 * 3.14159265358979323846 / 180;
        const QPointF p(120 * std::cos(t), 60 * std::sin(t));
        oval << QPointF(320 + std::cos(a) * p.x() - std::sin(a) * p.y(),
            270 + std::sin(a) * p.x() + std::cos(a) * p.y());
    }
    const struct
    {
        const char *name;
        QVector<QPointF> stroke;
        QString status; // how the status line starts
        int corners; // polygons
    } cases[] = {
        { "square", byHand({ { 200, 150 }, { 452, 146 }, { 455, 400 }, { 197, 404 }, { 203, 160 } }, 7),
            "Polygon (102), 4 corners", 4 },
        { "oval", byHand(oval, 5), "Closed curve (101), ellipse ", 0 },
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Pad pad({});
        ASSERT_FALSE(pad.waitFor("ready").isEmpty());
        pad.draw(c.stroke);

        const QJsonObject done = pad.waitFor("classified");
        ASSERT_FALSE(done.isEmpty()) << "no classification after the pause";
        EXPECT_TRUE(done["status"].toString().startsWith(c.status))
            << done["status"].toString().toStdString();
        const QJsonArray scribbles = done["scribbles"].toArray();
        ASSERT_EQ(scribbles.size(), 1);
        const QJsonObject figure = scribbles[0].toObject();
        EXPECT_EQ(figure["state"].toString(), "figure");
        if (c.corners > 0) {
            EXPECT_EQ(figure["corners"].toInt(), c.corners);
        } else {
            // The ink gives way to the fitted ellipse, in canvas coordinates.
            const QJsonObject e = figure["ellipse"].toObject();
            EXPECT_NEAR(e["cx"].toDouble(), 320, 3);
            EXPECT_NEAR(e["cy"].toDouble(), 270, 3);
            EXPECT_NEAR(e["rx"].toDouble(), 120, 4);
            EXPECT_NEAR(e["ry"].toDouble(), 60, 4);
            EXPECT_NEAR(e["angle"].toDouble(), 20, 3);
        }

        pad.key("ctrl+z");
        const QJsonObject undone = pad.waitFor("undo");
        ASSERT_FALSE(undone.isEmpty());
        const QJsonObject ink = undone["scribbles"].toArray()[0].toObject();
        EXPECT_EQ(ink["state"].toString(), "ink") << "undo restores the original ink";
        EXPECT_EQ(ink["strokes"].toInt(), 1);
    }
}

TEST_F(ScribblePad, HandwritingStaysInkAndNewStrokesStartANewScribble)
{
    Pad pad({});
    ASSERT_FALSE(pad.waitFor("ready").isEmpty());
    pad.draw(byHand({ { 100, 300 }, { 130, 200 }, { 160, 300 }, { 190, 210 }, { 220, 300 },
                        { 250, 220 }, { 280, 290 }, { 300, 240 } },
        3));
    const QJsonObject first = pad.waitFor("classified");
    EXPECT_EQ(first["status"].toString(), "Handwriting (0)");
    EXPECT_EQ(first["scribbles"].toArray()[0].toObject()["state"].toString(), "ink");

    pad.draw(byHand({ { 150, 450 }, { 500, 452 } }, 4));
    const QJsonObject second = pad.waitFor("classified");
    EXPECT_EQ(second["status"].toString(), "Horizontal line (205)");
    const QJsonArray scribbles = second["scribbles"].toArray();
    ASSERT_EQ(scribbles.size(), 2);
    EXPECT_EQ(scribbles[0].toObject()["state"].toString(), "ink");
    EXPECT_EQ(scribbles[1].toObject()["state"].toString(), "figure");
}

TEST_F(ScribblePad, TheClassifyKeyDoesNotWaitForTheLongPauseAndTwoStrokesMakeOneFigure)
{
    Pad pad({ "--pause", "10" });
    ASSERT_FALSE(pad.waitFor("ready").isEmpty());
    pad.draw(byHand({ { 150, 150 }, { 400, 400 } }, 5));
    pad.draw(byHand({ { 400, 150 }, { 150, 400 } }, 6));
    pad.key("space");
    const QJsonObject done = pad.waitFor("classified", 5000);
    ASSERT_FALSE(done.isEmpty()) << "space classifies at once";
    EXPECT_EQ(done["status"].toString(), "Two-stroke figure (206)");
    const QJsonArray scribbles = done["scribbles"].toArray();
    ASSERT_EQ(scribbles.size(), 1);
    EXPECT_EQ(scribbles[0].toObject()["lines"].toInt(), 2);
}

TEST_F(ScribblePad, OpensASampleAndSavesTheCleanFigure)
{
    Pad pad({ "--no-normalize", LIBUTILITY_EXAMPLES_DIR "/triangle.ink" });
    const QJsonObject opened = pad.waitFor("opened");
    EXPECT_EQ(opened["status"].toString(), "Polygon (102), 3 corners");
    ASSERT_FALSE(pad.waitFor("ready").isEmpty());

    const QString saved = pad.dir() + "/saved.ink";
    pad.key("ctrl+s");
    QThread::msleep(1500); // the file dialog opens with the name field focused
    ASSERT_TRUE(run("xdotool", { "type", "--delay", "20", saved }));
    pad.key("Return");
    ASSERT_FALSE(pad.waitFor("saved").isEmpty());

    std::ifstream in(saved.toStdString(), std::ios::binary);
    CScribble scribble;
    scribble.readFrom(in);
    ASSERT_EQ(scribble.getStrokeNum(), 1);
    const CStroke &outline = scribble.getStrokeAt(0);
    ASSERT_EQ(outline.getPointNum(), 4) << "three corners and the closing point";
    EXPECT_EQ(outline.getPointAt(0), outline.getPointAt(3));
}

TEST_F(ScribblePad, ADamagedFileIsRefusedWithoutACrash)
{
    QTemporaryDir dir;
    QFile bad(dir.filePath("bad.ink"));
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write(int32s({ 1, 2147483647 })); // 2^31 - 1 points, none there
    bad.close();
    Pad pad({ bad.fileName() });
    ASSERT_FALSE(pad.waitFor("ready").isEmpty());
    EXPECT_TRUE(pad.waitFor("opened", 1000).isEmpty());
    EXPECT_TRUE(pad.running());
}
