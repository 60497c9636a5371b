// Integer helpers shared by stroke and scribble. Not installed.
//
// Coordinate arithmetic is 32-bit and wraps on overflow, as stored drawings have
// always been measured; the wrapping is done on unsigned values so that it is defined.
#ifndef LIBUTILITY_INK_STROKE_P_H
#define LIBUTILITY_INK_STROKE_P_H

#include <QPoint>

#include <cmath>
#include <limits>

namespace ink_detail {

inline int wrapSub(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}

inline int wrapAdd(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

inline int wrapMul(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}

inline QPoint wrapSub(const QPoint &a, const QPoint &b)
{
    return QPoint(wrapSub(a.x(), b.x()), wrapSub(a.y(), b.y()));
}

inline int dot(const QPoint &a, const QPoint &b)
{
    return wrapAdd(wrapMul(a.x(), b.x()), wrapMul(a.y(), b.y()));
}

// Differences in 32-bit integers, squares and sum in double.
inline double squaredDistance(const QPoint &a, const QPoint &b)
{
    const double dx = wrapSub(a.x(), b.x());
    const double dy = wrapSub(a.y(), b.y());
    return dx * dx + dy * dy;
}

// Rounds toward zero. Beyond the int range the result saturates and NaN gives 0, so
// that absurd scale factors give a defined (if useless) placement.
inline int truncToInt(double v)
{
    if (std::isnan(v))
        return 0;
    if (v >= static_cast<double>(std::numeric_limits<int>::max()))
        return std::numeric_limits<int>::max();
    if (v <= static_cast<double>(std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    return static_cast<int>(v);
}

// The scale that fits an extent into a target extent: 1 for a zero extent, and
// exactly 1 within one per cent either way (bounds excluded), so that fitting a
// drawing into nearly its own size moves no point by rounding.
inline double fitScale(int target, int extent)
{
    if (extent == 0)
        return 1.0;
    const double scale = static_cast<double>(target) / extent;
    return (scale > 0.99 && scale < 1.01) ? 1.0 : scale;
}

} // namespace ink_detail

#endif
