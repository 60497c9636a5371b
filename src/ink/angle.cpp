#include <libutility/ink/angle.h>

#include <libutility/geometry/geometry.h>
#include <libutility/ink/binaryread.h>
#include <libutility/logging/trace.h>

#include <cfloat>
#include <cmath>

namespace {

constexpr double kTwoPi = 6.283185307179586;

// The turn count in single precision, as stored angles have always been folded.
// A quotient beyond the float range (or NaN) has no such count.
bool turns(double quotient, float *k)
{
    if (!(quotient <= static_cast<double>(FLT_MAX)))
        return false;
    *k = std::ceil(static_cast<float>(quotient));
    return true;
}

} // namespace

CAngle::CAngle(double radians)
    : m_angle(radians)
{
    normalise();
}

void CAngle::setAngle(double radians)
{
    TRACE_FUNCTION("angle", "setAngle");
    m_angle = radians;
    normalise();
    TRACE_EXIT();
}

void CAngle::addAngle(double radians)
{
    TRACE_FUNCTION("angle", "addAngle");
    m_angle += radians;
    normalise();
    TRACE_EXIT();
}

void CAngle::subAngle(double radians)
{
    TRACE_FUNCTION("angle", "subAngle");
    m_angle -= radians;
    normalise();
    TRACE_EXIT();
}

bool CAngle::approximatelyEqualTo(const CAngle &other) const
{
    return Util::isEqual(m_angle, other.m_angle, 0.0);
}

bool CAngle::approximatelyEqualTo(double radians) const
{
    return Util::isEqual(radians, m_angle, 0.0);
}

void CAngle::normalise()
{
    TRACE_FUNCTION("angle", "normalise");
    float k = 0.0f;
    if (m_angle < 0.0) {
        m_angle = turns(std::fabs(m_angle) / kTwoPi, &k) ? m_angle + kTwoPi * k : 0.0;
    } else if (m_angle > kTwoPi) {
        m_angle = turns((m_angle - kTwoPi) / kTwoPi, &k) ? m_angle - kTwoPi * k : 0.0;
    }
    // Exactly 2π is kept; only what the single-precision count leaves outside the turn,
    // and NaN, becomes 0.
    if (!(m_angle >= 0.0 && m_angle <= kTwoPi))
        m_angle = 0.0;
    TRACE_EXIT();
}

void CAngle::readFrom(std::istream &in)
{
    TRACE_FUNCTION("angle", "readFrom");
    binaryRead(in, m_angle);
    normalise();
    TRACE_EXIT();
}
