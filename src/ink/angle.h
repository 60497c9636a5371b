/**
 * \class CAngle
 * CAngle: a direction angle in radians, kept within one turn.
 *
 * Every operation that sets the value folds it into [0, 2π], both ends included:
 * exactly 2π stays 2π (it is not folded to 0), 4π becomes 2π, -2π becomes 0, -0.5
 * becomes 2π - 0.5. The number of turns to remove is computed in single precision
 * (ceilf), and whatever that rounding leaves outside [0, 2π] becomes 0; for very large
 * magnitudes the result is therefore 0 rather than the exact remainder. This is the
 * defined behaviour, not an accident. Values that cannot be folded at all (NaN,
 * infinities) also become 0.
 *
 * Comparisons are on the raw radians: an angle just above 0 and one just below 2π
 * are not close.
 */
#ifndef LIBUTILITY_INK_ANGLE_H
#define LIBUTILITY_INK_ANGLE_H

#include <libutility/utility_export.h>

#include <iosfwd>

class UTILITY_EXPORT CAngle
{
public:
    /// 0 radians.
    CAngle() = default;
    /// radians, folded into [0, 2π].
    /// \param radians the angle in radians, any value
    CAngle(double radians);
    /// Copies the value.
    CAngle(const CAngle &) = default;
    /// Copies the value.
    /// \return this angle
    CAngle &operator=(const CAngle &) = default;

    /// The stored radians, within [0, 2π].
    /// \return the angle in radians, 0 to 2π
    double getAngle() const { return m_angle; }
    /// Sets the value to radians, folded into [0, 2π].
    /// \param radians the new angle in radians, any value
    void setAngle(double radians);
    /// Adds radians, then folds the sum into [0, 2π].
    /// \param radians radians to add, any value
    void addAngle(double radians);
    /// Subtracts radians, then folds the difference into [0, 2π].
    /// \param radians radians to subtract, any value
    void subAngle(double radians);

    /// Util::isEqual(this value, other's value, 0.0): relative to this value.
    /// \param other angle to compare with
    /// \return true when other lies within rounding error of this value
    bool approximatelyEqualTo(const CAngle &other) const;
    /// Util::isEqual(radians, this value, 0.0): relative to radians.
    /// \param radians angle in radians to compare with, not folded
    /// \return true when this value lies within rounding error of radians
    bool approximatelyEqualTo(double radians) const;

    /// Radians to degrees.
    /// \param radians angle in radians, not folded
    /// \return the angle in degrees
    static double radToDeg(double radians) { return radians * 57.29577951308232; }
    /// Degrees to radians.
    /// \param degrees angle in degrees, not folded
    /// \return the angle in radians
    static double degToRad(double degrees) { return degrees * 0.017453292519943295; }

    /// Folds the stored value into [0, 2π] (see the class comment).
    void normalise();

    /// Reads the value as a little-endian IEEE double (binaryRead), then folds it. The
    /// stream is not checked: after a short read the value is what binaryRead left.
    /// \param in binary stream positioned at the eight bytes of the value
    void readFrom(std::istream &in);

private:
    double m_angle = 0.0;
};

#endif
