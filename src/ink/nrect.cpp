#include <libutility/ink/nrect.h>

#include <libutility/logging/trace.h>

void CNRect::getCoords(int *x1, int *y1, int *x2, int *y2) const
{
    QRect::getCoords(x1, y1, x2, y2);
    *x2 += 1;
    *y2 += 1;
}

void CNRect::scaleX(float f)
{
    const int w = width();
    QRect::setRight(left() + static_cast<int>(w * f) - 1);
}

void CNRect::scaleY(float f)
{
    const int h = height();
    QRect::setBottom(top() + static_cast<int>(h * f) - 1);
}

CNRect &CNRect::operator&=(const CNRect &r)
{
    QRect::operator=(QRect::operator&(r));
    return *this;
}

CNRect &CNRect::operator|=(const CNRect &r)
{
    QRect::operator=(QRect::operator|(r));
    return *this;
}

bool CNRect::intersects(const CNRect &r) const
{
    TRACE_FUNCTION("nrect", "intersects");
    // Touching counts as intersecting: hit tests and bounds merging rely on it.
    return TRACE_RETURN(
        left() <= r.right() && r.left() <= right() && top() <= r.bottom() && r.top() <= bottom());
}

CNRect Inflate(const CNRect &r, int d)
{
    CNRect result(r);
    result.adjust(-d, -d, d, d);
    return result;
}

void Inflate(CNRect &r, int d) { r.adjust(-d, -d, d, d); }
