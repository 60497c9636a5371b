#include "inktest.h"

#include <libutility/ink/angle.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {
constexpr double T = 6.283185307179586;
}

TEST(Angle, FoldsIntoOneTurnWithSinglePrecisionTurnCount)
{
    struct Case
    {
        double in;
        double expected;
    } cases[] = {
        { 0.0, 0.0 },
        { -0.5, T - 0.5 },
        { -1.0, T - 1.0 },
        { T, T }, // exactly one turn stays one turn
        { 2 * T, T },
        { 4 * T, T },
        { -T, 0.0 },
        { -2 * T, 0.0 },
        { 7.0, 7.0 - T },
        // The turn count 2^24 + 0.5 rounds to 2^24 in single precision; what is left
        // exceeds one turn and becomes 0 (exact arithmetic would give 0.5 T).
        { T * 16777217.5, 0.0 },
        { 1e30, 0.0 },
        { -1e300, 0.0 },
        { std::numeric_limits<double>::infinity(), 0.0 },
        { std::numeric_limits<double>::quiet_NaN(), 0.0 },
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.in);
        const double got = CAngle(c.in).getAngle();
        EXPECT_NEAR(got, c.expected, 1e-9);
        CAngle set;
        set.setAngle(c.in);
        EXPECT_EQ(set.getAngle(), got);
    }
    // Moderate values fold exactly as the double arithmetic gives them.
    EXPECT_EQ(CAngle(-0.5).getAngle(), -0.5 + T);
    EXPECT_EQ(CAngle(7.0).getAngle(), 7.0 - T);
}

TEST(Angle, ArithmeticFoldsAndComparesRawValues)
{
    CAngle a(T - 0.5);
    a.addAngle(1.0);
    EXPECT_NEAR(a.getAngle(), 0.5, 1e-12);
    CAngle b(0.5);
    b.subAngle(1.0);
    EXPECT_NEAR(b.getAngle(), T - 0.5, 1e-12);
    EXPECT_NEAR(CAngle::radToDeg(CAngle::degToRad(90.0)), 90.0, 1e-12);
    EXPECT_TRUE(CAngle(1.0).approximatelyEqualTo(CAngle(1.0)));
    EXPECT_TRUE(CAngle(1.0).approximatelyEqualTo(1.0));
    EXPECT_FALSE(CAngle(1.0).approximatelyEqualTo(1.0 + 1e-9));
    // Near 0 and near one turn are far apart in raw radians.
    EXPECT_FALSE(CAngle(0.0).approximatelyEqualTo(CAngle(T)));
}

TEST(Angle, ReadFromFoldsTheStoredDouble)
{
    std::istringstream in(inktest::bytes({ 0, 0, 0, 0, 0, 0, 0xF0, 0xBF })); // -1.0
    CAngle a;
    a.readFrom(in);
    EXPECT_EQ(a.getAngle(), T - 1.0);
}
