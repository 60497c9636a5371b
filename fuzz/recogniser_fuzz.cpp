// CFigureRecogniser::classifyScribble on strokes decoded from the input.
//
// Input layout (all little-endian):
//   byte 0   bits 0-3 corner limit (0..15), bit 4 normalise, bit 5 ask for the prepared
//            strokes, bits 6-7 coordinate encoding:
//              0  int16 x, int16 y, divided by 4 (pen coordinates)
//              1  float32 x, y (any bit pattern: NaN and infinities included)
//              2  float64 x, y (any bit pattern)
//              3  int8 dx, dy relative to the previous point (pen-like strokes)
//   byte 1   stroke count, modulo 9
//   then per stroke: one byte point count, then the points. A stroke the input cannot
//   complete ends where the input does. At most cMaxPoints points in all.
//
// Invariants: the category is one of the documented codes; the caller's strokes are not
// changed; result is written only for a polygon, which then has 3 to corner-limit corners
// inside the returned rectangle; a non-finite coordinate gives 0 with result and prepared
// untouched. The ellipse fit of every stroke holds only finite numbers: a proper ellipse
// (rx >= ry > 0, angle in (-90, 90]) or, when it fails, zeros.
#include "fuzztarget.h"

#include <libutility/recognition/figurerecogniser.h>

#include <QPointF>
#include <QRectF>
#include <QVector>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr int cMaxPoints = 4096;

class Reader
{
public:
    Reader(const uint8_t *data, size_t size)
        : m_data(data)
        , m_size(size)
    { }
    bool has(size_t n) const { return m_size - m_pos >= n; }
    uint64_t take(size_t n)
    {
        uint64_t value = 0;
        for (size_t i = 0; i < n; ++i)
            value |= uint64_t(m_data[m_pos + i]) << (8 * i);
        m_pos += n;
        return value;
    }

private:
    const uint8_t *m_data;
    size_t m_size;
    size_t m_pos = 0;
};

bool readPoint(Reader &in, int encoding, const QPointF &previous, QPointF &point)
{
    static const size_t widths[] = { 4, 8, 16, 2 };
    if (!in.has(widths[encoding]))
        return false;
    switch (encoding) {
    case 0:
        point.setX(int16_t(in.take(2)) / 4.0);
        point.setY(int16_t(in.take(2)) / 4.0);
        break;
    case 1:
    case 2:
        for (int axis = 0; axis < 2; ++axis) {
            double value;
            if (encoding == 1) {
                const uint32_t bits = uint32_t(in.take(4));
                float single;
                std::memcpy(&single, &bits, sizeof single);
                value = single;
            } else {
                const uint64_t bits = in.take(8);
                std::memcpy(&value, &bits, sizeof value);
            }
            (axis == 0 ? point.rx() : point.ry()) = value;
        }
        break;
    default:
        point.setX(previous.x() + int8_t(in.take(1)));
        point.setY(previous.y() + int8_t(in.take(1)));
        break;
    }
    return true;
}

bool sameBits(const QVector<QVector<QPointF>> &a, const QVector<QVector<QPointF>> &b)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i) {
        if (a[i].size() != b[i].size()
            || std::memcmp(a[i].constData(), b[i].constData(), sizeof(QPointF) * a[i].size()) != 0)
            return false;
    }
    return true;
}

int fuzzRecogniser(const uint8_t *data, size_t size)
{
    Reader in(data, size);
    if (!in.has(2))
        return 0;
    const int flags = int(in.take(1));
    const int cornerLimit = flags & 0x0f;
    const bool normalize = flags & 0x10;
    const bool wantPrepared = flags & 0x20;
    const int encoding = flags >> 6;
    const int strokeCount = int(in.take(1) % 9);

    QVector<QVector<QPointF>> strokes;
    bool allFinite = true;
    int points = 0;
    for (int s = 0; s < strokeCount && in.has(1); ++s) {
        QVector<QPointF> stroke;
        const int count = int(in.take(1));
        QPointF point(100, 100);
        for (int i = 0; i < count && points < cMaxPoints; ++i, ++points) {
            if (!readPoint(in, encoding, point, point))
                break;
            allFinite = allFinite && std::isfinite(point.x()) && std::isfinite(point.y());
            stroke.append(point);
        }
        strokes.append(stroke);
    }

    const QVector<QVector<QPointF>> original = strokes;
    const QVector<QPointF> sentinel { QPointF(-7, 7) };
    const QVector<QVector<QPointF>> preparedSentinel { sentinel };
    QRectF rect;
    QVector<QPointF> result = sentinel;
    QVector<QVector<QPointF>> prepared = preparedSentinel;
    const int category = CFigureRecogniser::classifyScribble(
        strokes, rect, result, cornerLimit, normalize, wantPrepared ? &prepared : nullptr);

    static const int known[] = { 0, 101, 102, 103, 114, 115, 203, 204, 205, 206 };
    FUZZ_CHECK(std::find(std::begin(known), std::end(known), category) != std::end(known));
    FUZZ_CHECK(sameBits(strokes, original));
    if (!allFinite || strokes.isEmpty()) {
        FUZZ_CHECK(category == CFigureRecogniser::cHANDWRITE_DATA);
        FUZZ_CHECK(sameBits({ result }, { sentinel }));
        FUZZ_CHECK(sameBits(prepared, preparedSentinel));
    }
    if (category == CFigureRecogniser::cPOLYGON) {
        FUZZ_CHECK(result.size() >= 3 && result.size() <= cornerLimit);
        // Width and height are differences of doubles: allow their rounding.
        const double slack = 1e-9
            * std::max(1.0,
                std::abs(rect.x()) + std::abs(rect.y()) + std::abs(rect.width())
                    + std::abs(rect.height()));
        const QRectF bounds = rect.adjusted(-slack, -slack, slack, slack);
        for (const QPointF &corner : result)
            FUZZ_CHECK(bounds.contains(corner) || !std::isfinite(corner.x() + corner.y()));
    } else {
        FUZZ_CHECK(sameBits({ result }, { sentinel }));
    }
    if (!wantPrepared)
        FUZZ_CHECK(sameBits(prepared, preparedSentinel));

    // The ellipse fit of each stroke: finite numbers always, a proper ellipse or zeros.
    for (const QVector<QPointF> &stroke : original) {
        const CFigureRecogniser::CEllipseFit fit = CFigureRecogniser::fitEllipse(stroke);
        for (double v : { fit.cx, fit.cy, fit.rx, fit.ry, fit.angle, fit.residual })
            FUZZ_CHECK(std::isfinite(v) && (fit.ok || v == 0.0));
        if (fit.ok)
            FUZZ_CHECK(fit.rx >= fit.ry && fit.ry > 0.0 && fit.angle > -90.0 && fit.angle <= 90.0
                && fit.residual >= 0.0);
    }
    return 0;
}

} // namespace

UTILITY_FUZZ_TARGET("recogniser", fuzzRecogniser);
