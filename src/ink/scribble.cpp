#include <libutility/ink/scribble.h>

#include "stroke_p.h"

#include <libutility/ink/binaryread.h>
#include <libutility/logging/trace.h>

#include <algorithm>
#include <climits>
#include <istream>
#include <ostream>

using namespace ink_detail;

long CScribble::ms_maxPointsPerLine = -1;

CScribble::CScribble()
    : m_rectBound(0, 0, 0, 0)
    , m_rectBoundValid(true)
    , m_applicationFlag(false)
{ }

CScribble::CScribble(const CScribble &other) = default;
CScribble &CScribble::operator=(const CScribble &other) = default;
CScribble::~CScribble() = default;

bool CScribble::equals(const CScribble *other) const
{
    TRACE_FUNCTION("scribble", "equals");
    if (!other)
        return TRACE_RETURN(false);
    if (other == this)
        return TRACE_RETURN(true);
    if (other->m_strokes.size() != m_strokes.size())
        return TRACE_RETURN(false);
    for (size_t i = 0; i < m_strokes.size(); ++i) {
        if (!m_strokes[i].equals(&other->m_strokes[i]))
            return TRACE_RETURN(false);
    }
    return TRACE_RETURN(true);
}

CStroke &CScribble::getStrokeAt(long i)
{
    invalidateCache();
    return m_strokes[static_cast<size_t>(i)];
}

void CScribble::addStroke(const CStroke &s)
{
    TRACE_FUNCTION("scribble", "addStroke");
    m_strokes.push_back(s);
    TRACE_EXIT();
}

void CScribble::addStroke(long n)
{
    TRACE_FUNCTION("scribble", "addStroke");
    if (n <= 0) {
        TRACE_EXIT();
        return;
    }
    // Copies of one new stroke share its (still empty) reserved storage until each is
    // written to, so appending many costs no point storage up front.
    m_strokes.insert(m_strokes.end(), static_cast<size_t>(n), CStroke());
    invalidateCache();
    TRACE_EXIT();
}

void CScribble::removeStroke(int from, int to)
{
    TRACE_FUNCTION("scribble", "removeStroke");
    m_strokes.erase(m_strokes.begin() + from, m_strokes.begin() + to + 1);
    invalidateCache();
    TRACE_EXIT();
}

void CScribble::extract(long from, long to)
{
    TRACE_FUNCTION("scribble", "extract");
    const long count = getStrokeNum();
    if (to >= count) {
        TRACE_EXIT();
        return;
    }
    if (to < count - 1)
        m_strokes.erase(m_strokes.begin() + to + 1, m_strokes.end());
    if (from != 0)
        m_strokes.erase(m_strokes.begin(), m_strokes.begin() + from);
    invalidateCache();
    TRACE_EXIT();
}

void CScribble::merge(const CScribble &other)
{
    TRACE_FUNCTION("scribble", "merge");
    if (&other == this) {
        // Appending a range of the vector to itself would read moved storage.
        const std::vector<CStroke> copy = m_strokes;
        m_strokes.insert(m_strokes.end(), copy.begin(), copy.end());
    } else {
        m_strokes.insert(m_strokes.end(), other.m_strokes.begin(), other.m_strokes.end());
    }
    invalidateCache();
    TRACE_EXIT();
}

void CScribble::updateRectBound() const
{
    TRACE_FUNCTION("scribble", "updateRectBound");
    if (m_strokes.empty()) {
        m_rectBound = CNRect(0, 0, 0, 0);
        m_rectBoundValid = true;
        TRACE_EXIT();
        return;
    }
    CNRect bound = m_strokes.front().getRectBound();
    for (size_t i = 1; i < m_strokes.size(); ++i) {
        // Empty strokes take part with CNRect(0, 0, 0, 0), pulling the bound to the
        // origin: the defined behaviour.
        const CNRect &b = m_strokes[i].getRectBound();
        bound.setLeft(std::min(bound.left(), b.left()));
        bound.setTop(std::min(bound.top(), b.top()));
        bound.setRight(std::max(bound.right(), b.right()));
        bound.setBottom(std::max(bound.bottom(), b.bottom()));
    }
    m_rectBound = bound;
    m_rectBoundValid = true;
    TRACE_EXIT();
}

const CNRect &CScribble::getRectBound() const
{
    if (!m_rectBoundValid)
        updateRectBound();
    return m_rectBound;
}

void CScribble::move(const QSize &offset)
{
    TRACE_FUNCTION("scribble", "move");
    for (CStroke &stroke : m_strokes)
        stroke.move(offset);
    invalidateCache();
    TRACE_EXIT();
}

void CScribble::shiftPoints(int d)
{
    TRACE_FUNCTION("scribble", "shiftPoints");
    for (CStroke &stroke : m_strokes) {
        const long n = stroke.getPointNum();
        for (long i = 0; i < n; ++i) {
            const QPoint &p = stroke.getPointAt(i);
            // The same d on both axes: the drawing moves diagonally, by design.
            stroke.setPointAt(i, QPoint(wrapAdd(p.x(), d), wrapAdd(p.y(), d)));
        }
    }
    m_rectBoundValid = false;
    updateRectBound();
    TRACE_EXIT();
}

void CScribble::setPos(const QPoint &center, double scaleX, double scaleY)
{
    TRACE_FUNCTION("scribble", "setPos");
    const QPoint m = getRectBound().center();
    for (CStroke &stroke : m_strokes) {
        const QPoint c = stroke.getRectBound().center();
        const QPoint placed(wrapAdd(center.x(), truncToInt(wrapSub(c.x(), m.x()) * scaleX)),
            wrapAdd(center.y(), truncToInt(wrapSub(c.y(), m.y()) * scaleY)));
        stroke.setPos(placed, scaleX, scaleY);
    }
    invalidateCache();
    TRACE_EXIT();
}

void CScribble::setPos(const CNRect &rect)
{
    TRACE_FUNCTION("scribble", "setPos");
    const CNRect b = getRectBound();
    const double scaleX = fitScale(rect.right() - rect.left(), b.right() - b.left());
    const double scaleY = fitScale(rect.bottom() - rect.top(), b.bottom() - b.top());
    setPos(rect.center(), scaleX, scaleY);
    // The requested rectangle is the bound from now on, verbatim.
    m_rectBound = rect;
    m_rectBoundValid = true;
    TRACE_EXIT();
}

void CScribble::readFrom(std::istream &in)
{
    TRACE_FUNCTION("scribble", "readFrom");
    int count = 0;
    binaryRead(in, count);
    m_strokes.clear();
    // The count is taken as an unsigned size on purpose: a negative one fails here
    // with std::length_error. The new strokes share one empty storage until read.
    m_strokes.resize(static_cast<size_t>(count), CStroke());
    for (int i = 0; i < count; ++i)
        m_strokes[static_cast<size_t>(i)].readFrom(in);
    updateRectBound();
    TRACE_EXIT();
}

void CScribble::writeTo(std::ostream &out) const
{
    TRACE_FUNCTION("scribble", "writeTo");
    if (m_strokes.size() > static_cast<size_t>(INT_MAX)) {
        out.setstate(std::ios_base::failbit);
        TRACE_EXIT();
        return;
    }
    binaryWrite(out, static_cast<int>(m_strokes.size()));
    for (const CStroke &stroke : m_strokes)
        stroke.writeTo(out);
    TRACE_EXIT();
}
