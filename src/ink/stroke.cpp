#include <libutility/ink/stroke.h>

#include "binaryread_p.h"
#include "stroke_p.h"

#include <libutility/geometry/geometry.h>
#include <libutility/ink/binaryread.h>
#include <libutility/logging/trace.h>

#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <istream>
#include <ostream>

using namespace ink_detail;

namespace {

constexpr int kReservedPoints = 512;
constexpr int kPointBytes = 8;
// Points decoded or encoded per pass of the bulk stream paths.
constexpr int kChunkPoints = 4096;

// Same result as binaryRead of each point in turn, read a chunk at a time with the run
// reader. The vector grows with the data that actually arrives; what the stream cannot
// supply is zero, as a point-by-point read would leave it, and the stroke ends with
// count points either way.
void readPointsBulk(std::istream &in, QVector<QPoint> &points, int count)
{
    points.reserve(count);
    for (int done = 0; done < count;) {
        const int chunk = std::min(kChunkPoints, count - done);
        points.resize(done + chunk);
        binaryRead(in, points.data() + done, chunk);
        done += chunk;
        if (!in.good())
            break;
    }
    points.resize(count);
}

} // namespace

CStroke::CStroke()
    : m_rectBound(0, 0, 0, 0)
    , m_rectBoundValid(true)
    , m_shapeCache(0)
    , m_shapeCacheValid(true)
{
    // reserve() also marks the capacity as fixed: removals never give it back.
    m_points.reserve(kReservedPoints);
}

CStroke::CStroke(const CStroke &other) = default;

CStroke &CStroke::operator=(const CStroke &other)
{
    if (this != &other) {
        m_points = other.m_points;
        m_rectBound = other.m_rectBound;
        m_rectBoundValid = other.m_rectBoundValid;
        m_shapeCache = other.m_shapeCache;
        m_shapeCacheValid = other.m_shapeCacheValid;
    }
    return *this;
}

CStroke::~CStroke() = default;

bool CStroke::equals(const CStroke *other) const
{
    TRACE_FUNCTION("stroke", "equals");
    if (!other)
        return TRACE_RETURN(false);
    if (other == this)
        return TRACE_RETURN(true);
    return TRACE_RETURN(m_points == other->m_points);
}

double CStroke::getLength2(const QPoint &a, const QPoint &b) const { return squaredDistance(a, b); }

double CStroke::getDistance(const QPoint &p) const
{
    TRACE_FUNCTION("stroke", "getDistance");
    const int n = m_points.size();
    const QPoint *pts = m_points.constData();
    if (n == 0)
        return TRACE_RETURN(0.0);
    if (n == 1)
        return TRACE_RETURN(std::sqrt(squaredDistance(pts[0], p)));

    // The segment whose endpoints are nearest in sum; the first one wins ties.
    double previous = squaredDistance(pts[0], p);
    double bestSum = 0.0;
    int best = -1;
    for (int k = 0; k + 1 < n; ++k) {
        const double next = squaredDistance(pts[k + 1], p);
        const double sum = previous + next;
        if (best < 0 || sum < bestSum) {
            bestSum = sum;
            best = k;
        }
        previous = next;
    }

    // Only that segment is examined, deliberately: the result is the distance to it,
    // not the minimum over the stroke.
    const QPoint &a = pts[best];
    const QPoint &b = pts[best + 1];
    if (dot(wrapSub(p, a), wrapSub(a, b)) >= 0)
        return TRACE_RETURN(std::sqrt(squaredDistance(p, a)));
    if (dot(wrapSub(p, b), wrapSub(b, a)) >= 0)
        return TRACE_RETURN(std::sqrt(squaredDistance(p, b)));

    const int ca = wrapSub(b.y(), a.y());
    const int cb = wrapSub(a.x(), b.x());
    double len2 = static_cast<double>(ca) * ca + static_cast<double>(cb) * cb;
    if (len2 < 1.0)
        len2 = 1.0;
    const int c = wrapSub(wrapMul(a.y(), b.x()), wrapMul(b.y(), a.x()));
    const double num = static_cast<double>(p.x()) * ca + static_cast<double>(p.y()) * cb + c;
    return TRACE_RETURN(std::fabs(num) / std::sqrt(len2));
}

const CNRect &CStroke::getRectBound() const
{
    if (!m_rectBoundValid)
        updateRectBound();
    return m_rectBound;
}

void CStroke::updateRectBound() const
{
    TRACE_FUNCTION("stroke", "updateRectBound");
    const int n = m_points.size();
    if (n == 0) {
        // The flag is left as it was: a stale empty stroke recomputes every time.
        m_rectBound = CNRect(0, 0, 0, 0);
        TRACE_EXIT();
        return;
    }
    const QPoint *pts = m_points.constData();
    int minX = pts[0].x();
    int maxX = minX;
    int minY = pts[0].y();
    int maxY = minY;
    for (int i = 1; i < n; ++i) {
        minX = std::min(minX, pts[i].x());
        maxX = std::max(maxX, pts[i].x());
        minY = std::min(minY, pts[i].y());
        maxY = std::max(maxY, pts[i].y());
    }
    // The largest coordinates become the exclusive edges, so a single point has
    // width and height 0.
    m_rectBound = CNRect(QPoint(minX, minY), QPoint(maxX, maxY));
    m_rectBoundValid = true;
    TRACE_EXIT();
}

bool CStroke::hitTest(const CNRect &rect) const
{
    TRACE_FUNCTION("stroke", "hitTest");
    const int n = m_points.size();
    if (n == 0)
        return TRACE_RETURN(false);
    if (!rect.intersects(getRectBound()))
        return TRACE_RETURN(false);
    // Vertices only, by design. The test is rect.contains(point, false), with its
    // limits worked out once instead of per point: QRect::contains swaps the stored
    // edges of an inverted rectangle (x2 < x1 - 1), and so do we.
    int x1, y1, x2, y2;
    static_cast<const QRect &>(rect).getCoords(&x1, &y1, &x2, &y2);
    const int l = x2 < x1 - 1 ? x2 : x1;
    const int r = x2 < x1 - 1 ? x1 : x2;
    const int t = y2 < y1 - 1 ? y2 : y1;
    const int b = y2 < y1 - 1 ? y1 : y2;
    const QPoint *pts = m_points.constData();
    for (int i = 0; i < n; ++i) {
        if (pts[i].x() >= l && pts[i].x() <= r && pts[i].y() >= t && pts[i].y() <= b)
            return TRACE_RETURN(true);
    }
    return TRACE_RETURN(false);
}

void CStroke::addPoint(const QPoint &p)
{
    TRACE_FUNCTION("stroke", "addPoint");
    m_points.append(p);
    m_rectBoundValid = false;
    m_shapeCacheValid = false;
    TRACE_EXIT();
}

void CStroke::setPointAt(long index, const QPoint &p)
{
    TRACE_FUNCTION("stroke", "setPointAt");
    m_points.data()[index] = p;
    m_rectBoundValid = false;
    m_shapeCacheValid = false;
    TRACE_EXIT();
}

void CStroke::removePoints(long from, long to)
{
    TRACE_FUNCTION("stroke", "removePoints");
    m_points.remove(static_cast<int>(from), static_cast<int>(to - from + 1));
    m_rectBoundValid = false;
    m_shapeCacheValid = false;
    TRACE_EXIT();
}

void CStroke::move(const QSize &offset)
{
    TRACE_FUNCTION("stroke", "move");
    QPoint *pts = m_points.data();
    const int n = m_points.size();
    for (int i = 0; i < n; ++i)
        pts[i] = QPoint(wrapAdd(pts[i].x(), offset.width()), wrapAdd(pts[i].y(), offset.height()));
    // A translation keeps the shape: only the rectangle goes stale.
    m_rectBoundValid = false;
    TRACE_EXIT();
}

void CStroke::setPos(const QPoint &center, double scaleX, double scaleY)
{
    TRACE_FUNCTION("stroke", "setPos");
    const QPoint c = getRectBound().center();
    const bool unitX = Util::isEqual(scaleX, 1.0, 0.0);
    const bool unitY = Util::isEqual(scaleY, 1.0, 0.0);
    QPoint *pts = m_points.data();
    const int n = m_points.size();
    for (int i = 0; i < n; ++i) {
        const int dx = wrapSub(pts[i].x(), c.x());
        const int dy = wrapSub(pts[i].y(), c.y());
        pts[i].setX(wrapAdd(center.x(), unitX ? dx : truncToInt(dx * scaleX)));
        pts[i].setY(wrapAdd(center.y(), unitY ? dy : truncToInt(dy * scaleY)));
    }
    m_rectBoundValid = false;
    m_shapeCacheValid = false;
    TRACE_EXIT();
}

void CStroke::setPos(const CNRect &rect)
{
    TRACE_FUNCTION("stroke", "setPos");
    const CNRect b = getRectBound();
    const double scaleX = fitScale(rect.right() - rect.left(), b.right() - b.left());
    const double scaleY = fitScale(rect.bottom() - rect.top(), b.bottom() - b.top());
    setPos(rect.center(), scaleX, scaleY);
    TRACE_EXIT();
}

void CStroke::readFrom(std::istream &in)
{
    TRACE_FUNCTION("stroke", "readFrom");
    int count = 0;
    binaryRead(in, count);
    m_points.clear();
    if (count > 0) {
        if (basic_logging::traceEnabled()) {
            // Point by point, so that the trace shows every value read.
            m_points.resize(count);
            QPoint *pts = m_points.data();
            for (int i = 0; i < count; ++i)
                binaryRead(in, pts[i]);
        } else {
            readPointsBulk(in, m_points, count);
        }
    }
    m_rectBoundValid = false;
    m_shapeCacheValid = false;
    TRACE_EXIT();
}

void CStroke::writeTo(std::ostream &out) const
{
    TRACE_FUNCTION("stroke", "writeTo");
    const int count = m_points.size();
    binaryWrite(out, count);
    const QPoint *pts = m_points.constData();
    if (basic_logging::traceEnabled()) {
        for (int i = 0; i < count; ++i)
            binaryWrite(out, pts[i]);
        TRACE_EXIT();
        return;
    }
    uchar buffer[kChunkPoints * kPointBytes];
    for (int done = 0; done < count;) {
        const int chunk = std::min(kChunkPoints, count - done);
        for (int i = 0; i < chunk; ++i) {
            uchar *rec = buffer + i * kPointBytes;
            qToLittleEndian<qint32>(pts[done + i].x(), rec);
            qToLittleEndian<qint32>(pts[done + i].y(), rec + 4);
        }
        writeBytes(out, reinterpret_cast<const char *>(buffer),
            static_cast<std::streamsize>(chunk) * kPointBytes);
        done += chunk;
    }
    TRACE_EXIT();
}
