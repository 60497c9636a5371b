// A minimal application of the installed library: includes the umbrella header,
// builds a drawing with the ink model, writes and reads it back in the binary ink
// format, and hands its strokes to the figure recogniser.
#include <libutility/libutility.h>

#include <cstdio>
#include <sstream>

int main()
{
    CLogSystem::theRootInstance().setLevel(QStringLiteral("INFO"));
    std::printf("libutility %s\n", LIBUTILITY_VERSION_STRING);

    // A square drawn as one closed stroke.
    CStroke stroke;
    for (const QPoint &corner : { QPoint(0, 0), QPoint(100, 0), QPoint(100, 100), QPoint(0, 100) })
        stroke.addPoint(corner);
    for (int i = 0; i < 4; ++i) {
        const QPoint a = stroke.getPointAt(i), b = stroke.getPointAt((i + 1) % 4);
        for (int k = 1; k <= 10; ++k)
            stroke.addPoint(a + (b - a) * k / 10);
    }
    CScribble scribble;
    scribble.addStroke(stroke);

    std::stringstream file;
    scribble.writeTo(file);
    CScribble copy;
    copy.readFrom(file);
    std::printf("round trip %s\n", copy.equals(&scribble) ? "equal" : "DIFFERENT");

    QVector<QVector<QPointF>> strokes(1);
    const CStroke &read = copy.getStrokeAt(0);
    for (long i = 4; i < read.getPointNum(); ++i)
        strokes[0].append(QPointF(read.getPointAt(i)));
    QRectF rect;
    QVector<QPointF> corners;
    const int category = CFigureRecogniser::classifyScribble(strokes, rect, corners, 6, true);
    std::printf("category %d, %d corners, length %.1f\n", category, int(corners.size()),
                Util::calcStrokeLength(strokes[0]));
    return category == 102 && corners.size() == 4 ? 0 : 1;
}
