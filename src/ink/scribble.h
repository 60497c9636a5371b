/**
 * \class CScribble
 * CScribble: an ink drawing, the strokes of one scribble in drawing order, with a
 * lazily cached bounding rectangle of the whole.
 *
 * The bound is merged from the strokes' own cached bounds, so recomputing it only
 * touches the points of strokes whose own cache is stale. Every stroke counts,
 * including an empty one, whose bound is CNRect(0, 0, 0, 0): a drawing holding an
 * empty stroke has a bound reaching to the origin. That is the defined behaviour.
 *
 * Who invalidates the cache: the editing operations below say so where they do.
 * addStroke(const CStroke &) deliberately does not (callers that append in a loop
 * call invalidateCache() once themselves); the non-const getStrokeAt() does, since
 * the caller may change the stroke through the reference.
 *
 * Stroke indexes are not checked against getStrokeNum(). Nothing reports errors.
 *
 * Stream form (readFrom / writeTo, see binaryread.h): int32 stroke count, then each
 * stroke as CStroke stores it. Nothing else is stored.
 */
#ifndef LIBUTILITY_INK_SCRIBBLE_H
#define LIBUTILITY_INK_SCRIBBLE_H

#include <libutility/ink/nrect.h>
#include <libutility/ink/stroke.h>
#include <libutility/utility_export.h>

#include <QPoint>
#include <QSize>

#include <iosfwd>
#include <vector>

class UTILITY_EXPORT CScribble
{
public:
    /// No strokes, bound CNRect(0, 0, 0, 0) (valid).
    CScribble();
    /// Copies the strokes (their points stay shared until changed), the bound and both
    /// flags.
    /// \param other drawing to copy
    CScribble(const CScribble &other);
    /// Copies as the copy constructor does.
    /// \param other drawing to copy
    /// \return this drawing
    CScribble &operator=(const CScribble &other);
    virtual ~CScribble();

    /// False for null, true for this object; otherwise true when both hold the same
    /// number of strokes and stroke i equals stroke i (CStroke::equals) for every i.
    /// \param other drawing to compare with; may be null
    /// \return true when the drawings hold equal strokes in the same order
    virtual bool equals(const CScribble *other) const;

    /// The number of strokes.
    /// \return the number of strokes, 0 for an empty drawing
    long getStrokeNum() const { return static_cast<long>(m_strokes.size()); }
    /// Stroke i (unchecked).
    /// \param i index of the stroke, 0 .. getStrokeNum() - 1
    /// \return a reference into the drawing, valid until strokes are added or removed
    const CStroke &getStrokeAt(long i) const { return m_strokes[static_cast<size_t>(i)]; }
    /// Invalidates the bound, then hands out the stroke for changing.
    /// \param i index of the stroke, 0 .. getStrokeNum() - 1
    /// \return a reference into the drawing, valid until strokes are added or removed
    CStroke &getStrokeAt(long i);

    /// Marks the cached bound stale; the next getRectBound() recomputes it.
    void invalidateCache() { m_rectBoundValid = false; }

    /// Appends a copy of s. Leaves the cached bound alone (see the class comment).
    /// \param s stroke to append; its points are shared until either copy changes
    void addStroke(const CStroke &s);
    /// Appends n empty strokes and invalidates the bound; n <= 0 does nothing.
    /// \param n number of empty strokes to append
    void addStroke(long n);
    /// Removes the strokes from through to, both included.
    /// \param from index of the first stroke removed
    /// \param to index of the last stroke removed, not below from
    void removeStroke(int from, int to);
    /// Keeps only the strokes from through to, both included. When to is not below
    /// getStrokeNum() nothing at all changes, not even the cache.
    /// \param from index of the first stroke kept
    /// \param to index of the last stroke kept, not below from
    void extract(long from, long to);
    /// Appends copies of all of other's strokes.
    /// \param other drawing whose strokes are appended; may be this drawing itself
    void merge(const CScribble &other);

    /// Recomputes the bound from the strokes' bounds.
    void updateRectBound() const;
    /// The bound, recomputed first if stale.
    /// \return a reference to the drawing's cached rectangle, refreshed by the next call
    ///     after a change
    const CNRect &getRectBound() const;

    /// Moves every stroke by offset.
    /// \param offset added to x (width) and y (height); coordinates wrap at the int range
    void move(const QSize &offset);
    /// Adds d to both x and y of every point: a single offset moves the drawing
    /// diagonally. The bound is recomputed at once.
    /// \param d added to both coordinates; they wrap at the int range
    void shiftPoints(int d);
    /// Scales the drawing about the centre M of its bound and moves M to center. Each
    /// stroke is scaled about its own centre c and placed at center + trunc((c - M) *
    /// scale), so the result can differ by rounding from scaling every point about M.
    /// \param center where the centre of the bound goes
    /// \param scaleX horizontal scale factor
    /// \param scaleY vertical scale factor
    void setPos(const QPoint &center, double scaleX, double scaleY);
    /// Fits the drawing into rect (scales as CStroke::setPos(const CNRect &) chooses
    /// them). Afterwards getRectBound() returns rect itself, not a bound recomputed from
    /// the points, even where rounding left points slightly inside or outside it.
    /// \param rect rectangle to fit into, right and bottom exclusive; becomes the new bound
    void setPos(const CNRect &rect);

    /// Replaces the strokes with those read from in and recomputes the bound. The
    /// stream is not checked; strokes it cannot supply are empty. The count is used as
    /// an unsigned size: a negative count throws std::length_error (the strokes are then
    /// already removed).
    /// \param in binary stream positioned at the stroke count
    void readFrom(std::istream &in);
    /// Writes the stream form that readFrom reads. A drawing of more than INT_MAX
    /// strokes cannot be counted in the format: nothing is written and failbit is set.
    /// \param out binary stream to write to; failures show in its state only
    void writeTo(std::ostream &out) const;

    /// For the application (-1: no limit). The library never reads or writes it.
    static long ms_maxPointsPerLine;

protected:
    /// The strokes in drawing order.
    std::vector<CStroke> m_strokes;
    /// The cached bounding rectangle of all strokes.
    mutable CNRect m_rectBound;
    /// True while m_rectBound is up to date.
    mutable bool m_rectBoundValid;
    /// For the application and derived classes: copied with the drawing, otherwise
    /// never read or written by the library.
    bool m_applicationFlag;
};

#endif
